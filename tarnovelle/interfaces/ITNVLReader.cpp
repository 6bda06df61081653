#include "tarnovelle/interfaces/ITNVLReader.h"

#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/internal/TNFrame.h"

#include <algorithm>
#include <memory>
#include <vector>

CTarnovelleArchive* ITNVLRCreateInstance() { return ITNVLMCreateInstance(); }

ETarnovelleErrors ITNVLRInitInstance(CTarnovelleArchive* handle, const char* file) {
    return TNFrameCall("ITNVLRInitInstance", handle, [&] { return handle->Init(TNFrameText(file)); });
}

ETarnovelleErrors ITNVLRDestroyInstance(CTarnovelleArchive* handle) {
    return TNFrameCall("ITNVLRDestroyInstance", handle, [&] {
        delete handle;
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLRGetArchiveFilePath(CTarnovelleArchive* handle, std::string& path) {
    return TNFrameCall("ITNVLRGetArchiveFilePath", handle, [&] {
        path = handle->GetArchiveFileName();
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLRRefresh(CTarnovelleArchive* handle) {
    return TNFrameCall("ITNVLRRefresh", handle, [&] {
        handle->Refresh();
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLRGetActiveFolderPath(CTarnovelleArchive* handle, std::string& path) {
    return TNFrameCall("ITNVLRGetActiveFolderPath", handle, [&] {
        path = handle->GetActiveArchiveFolder()->GetPath();
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLRGetChannelIDs(CTarnovelleArchive* handle, const GUID& guid, SChannelID*& ids,
                                      uint32_t& count) {
    return TNFrameCall("ITNVLRGetChannelIDs", handle, [&] {
        std::vector<SChannelID> found;
        const ETarnovelleErrors result = handle->GetArrayChannelsIDs(guid, found);
        if (result != TNE_OK) return result;
        count = static_cast<uint32_t>(found.size());
        if (found.empty()) {
            ids = nullptr;
            return TNE_OK;
        }
        ids = new SChannelID[found.size()];
        std::copy(found.begin(), found.end(), ids);
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLRGetMeasuringPointTimeRange(CTarnovelleArchive* handle, const GUID& guid,
                                                   CTNUTCTimeStamp& from, CTNUTCTimeStamp& to) {
    return TNFrameCall("ITNVLRGetMeasuringPointTimeRange", handle, [&] { return handle->GetTimeRange(guid, from, to); });
}

ETarnovelleErrors ITNVLRGetChannelTimeRange(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                            CTNUTCTimeStamp& from, CTNUTCTimeStamp& to) {
    return TNFrameCall("ITNVLRGetChannelTimeRange", handle,
                       [&] { return handle->GetTimeRange(guid, channel, from, to); });
}

ETarnovelleErrors ITNVLRIsMeasuringPointEmpty(CTarnovelleArchive* handle, const GUID& guid,
                                              const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                              int32_t& empty) {
    return TNFrameCall("ITNVLRIsMeasuringPointEmpty", handle, [&] { return handle->IsEmpty(guid, from, to, empty); });
}

ETarnovelleErrors ITNVLRGetSamples(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                   const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                   CTarnovelleSample*& samples, uint32_t& count) {
    return TNFrameCall("ITNVLRGetSamples", handle, [&] {
        CTarnovelleSampleArray found;
        const ETarnovelleErrors result = handle->GetSamplesForTimeRange(guid, channel, from, to, found);
        if (result != TNE_OK) return result;
        count = static_cast<uint32_t>(found.GetSize());
        if (count == 0) {
            samples = nullptr;
            return TNE_OK;
        }
        // Deep copies: each returned sample owns its values.
        auto copies = std::make_unique<CTarnovelleSample[]>(count);
        for (uint32_t i = 0; i < count; ++i) {
            if (found[static_cast<int32_t>(i)]) copies[i] = *found[static_cast<int32_t>(i)];
        }
        samples = copies.release();
        return TNE_OK;
    });
}
