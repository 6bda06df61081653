// What every measuring point of an archive folder has: its folder's path, its
// GUID, and the path of its parameter file "<root>/<GUID text>/ConfData.Inf".
// Loading and saving are the derived class's; this base knows the key form
// of the oldest file version, whose lines are "key=value" with keys
//   "TIME%08lx_CHANNEL%08lx_PARAMETER%d"
// (time and channel as exactly eight lower-case hexadecimal digits, then the
// parameter number), and reads such a file into a string map.
//
// Init makes the measuring point's directory when there is no parameter file
// yet (success or not: a missing directory shows at the first Save) and loads
// the file when there is one, returning what Load returns.
//
// Not thread-safe; one measuring point belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "tarnovelle/support/GUID.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/EChannelParameter.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/SChannelID.h"

class TNVL_EXPORT CTarnovelleMeasuringPointBase {
public:
    using StringMap = std::map<std::string, std::string>;

    CTarnovelleMeasuringPointBase();
    virtual ~CTarnovelleMeasuringPointBase();
    CTarnovelleMeasuringPointBase(const CTarnovelleMeasuringPointBase&) = delete;
    CTarnovelleMeasuringPointBase& operator=(const CTarnovelleMeasuringPointBase&) = delete;

    virtual ETarnovelleErrors Init(const ::GUID& guid, const std::string& rootPath);
    virtual ETarnovelleErrors Save() = 0;

    const std::string& GetRootPath() const { return RootPath; }
    const ::GUID& GetGUID() const { return GUID; }
    const std::string& GetFilePath() const { return FilePath; }

protected:
    virtual ETarnovelleErrors Load() = 0;

    // Reads a file of the oldest version, by FilePath, into `pairs` (key to
    // value; a value still ends in its line break). TNE_FILE_NOT_PARSED when
    // the first two lines are not the head and the count, or a counted line
    // has no "="; a file that can't be opened throws the file layer's
    // exception. Lines are read as a 255-byte line buffer reads them: a
    // longer line is cut, and its rest is taken for the next line.
    ETarnovelleErrors LoadVersion0(StringMap& pairs);
    // Splits a key of the oldest version; TNE_NO_OBJECT when its fixed parts
    // are not in their places. Parameter numbers 0 to 3 name "???",
    // "IntervalTimeInMSec", "NominalValue" and "Unit"; any other number gives
    // the empty name, and still TNE_OK.
    static ETarnovelleErrors ParseParameterPath(const std::string& key, uint32_t& time, SChannelID& channel,
                                                std::string& name);
    static std::string CreateParameterPath(const uint32_t& time, const SChannelID& channel,
                                           EChannelParameter parameter);

    std::string RootPath;
    ::GUID GUID;
    std::string FilePath;
};
