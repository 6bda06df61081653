// What the connectors of measuring points and channels need of the archive
// that owns them: its folders, its read locks, and the measuring-point
// objects it keeps. The archive sits above this layer and implements it; the
// connectors hold a plain pointer to it and never own it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tarnovelle/support/GUID.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/SChannelID.h"

class CTarnovelleFile;
class CTarnovelleMeasuringPoint;
class CTarnovelleParameterSet;
class CTarnovelleSampleArray;

// The paths of the archive's folder array, index for index; a hole is empty.
using TNFolderPaths = std::vector<std::optional<std::string>>;

class TNVL_EXPORT CTNConnectorOwner {
public:
    virtual ~CTNConnectorOwner();

    virtual TNFolderPaths GetFolderPaths() = 0;
    // The path of the active folder; false when there is none.
    virtual bool GetActiveFolderPath(std::string& path) = 0;
    // One read lock per folder, in array order (see the archive).
    virtual ETarnovelleErrors CreateReadLock(std::vector<CTarnovelleFile*>& handles) = 0;
    virtual void RemoveReadLock(std::vector<CTarnovelleFile*>& handles) = 0;
    // The measuring point of `guid` in the folder `path`, through its connector.
    virtual CTarnovelleMeasuringPoint* GetMeasuringPoint(const GUID& guid, const std::string& path) = 0;
    // The archive's own object for `guid` in `path`, made if missing.
    virtual CTarnovelleMeasuringPoint* CreateMeasuringPoint(const GUID& guid, const std::string& path) = 0;
    virtual void DeleteMeasuringPoint(CTarnovelleMeasuringPoint* point) = 0;
    // Storing into the active folder, for an export that has this archive as its target.
    virtual ETarnovelleErrors SaveParameterSet(const GUID& guid, const CTNUTCTimeStamp& time,
                                               CTarnovelleParameterSet& set) = 0;
    virtual ETarnovelleErrors SaveSamples(const GUID& guid, const SChannelID& channel,
                                          CTarnovelleSampleArray& samples) = 0;
};
