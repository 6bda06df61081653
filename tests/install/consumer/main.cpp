// A program outside the source tree that uses the installed library: it
// stores one block of means into a channel and reads it back.
#include <tarnovelle/tarnovelle.h>

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

int main() {
    char pattern[] = "/tmp/tnvl-consumer-XXXXXX";
    if (!mkdtemp(pattern)) return 1;
    const std::string root = pattern;

    const GUID point = CreateGuid();
    const SChannelID means(CT_VOLTAGE, PH_L1, MVT_MEAN);
    const float values[3] = {230.0f, 231.0f, 232.0f};
    const CTNUTCTimeStamp start = CTNUTCTimeStamp::CreateUTCTimeStamp2000();
    int rc = 0;
    {
        CTarnovelleChannel channel;
        CTarnovelleSample sample(start, CTNMSecTimeSpan(1, 0), 3, values);
        if (channel.Create(root, point, means, "consumer", 1, 0, 0, 0) != TNE_OK || sample.Save(channel) != TNE_OK ||
            channel.Close() != TNE_OK)
            rc = 2;
    }
    if (rc == 0) {
        CTarnovelleChannel channel;
        CTarnovelleSample back;
        if (channel.Init(root, point, means, "consumer", 1, 0, 0, 0) != TNE_OK ||
            back.Init(channel, 0) != TNE_OK || back.GetNrOfValues() != 3 || back.GetFLOATArray()[2] != 232.0f)
            rc = 3;
    }
    std::filesystem::remove_all(root);
    if (rc == 0) std::printf("tarnovelle consumer ok\n");
    return rc;
}
