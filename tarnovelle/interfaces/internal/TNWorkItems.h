// The items the writer family posts to the working thread, one record per
// kind. The worker releases an item once it has handled it.
#pragma once

#include <cstdint>
#include <memory>

#include "tarnovelle/measuring/CTarnovelleParameterSet.h"
#include "tarnovelle/storage/CTarnovelleSampleArray.h"
#include "tarnovelle/support/GUID.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/SBinary_BYTE.h"
#include "tarnovelle/values/SBinary_Text.h"
#include "tarnovelle/values/SChannelID.h"

struct STNByteMessageItem {
    GUID guid;
    SChannelID channel;
    SBinary_BYTE message;
};

struct STNTextMessageItem {
    GUID guid;
    SChannelID channel;
    SBinary_Text message;
};

struct STNSampleItem {
    GUID guid;
    SChannelID channel;
    std::unique_ptr<CTarnovelleSampleArray> samples;
};

struct STNParameterSetItem {
    GUID guid;
    CTNUTCTimeStamp time;
    std::unique_ptr<CTarnovelleParameterSet> set;
};

// Releases an item of `kind` that will not be handled (no thread to take
// it, or the archiving stopped); an unknown kind is left alone.
void TNReleaseWorkItem(uint32_t kind, void* item);
