#include "tarnovelle/interfaces/ITNVLManager.h"

#include <new>

#include "tarnovelle/interfaces/internal/TNFrame.h"

CTarnovelleArchive* ITNVLMCreateInstance() { return new (std::nothrow) CTarnovelleArchive(); }

ETarnovelleErrors ITNVLMInitInstance(CTarnovelleArchive* handle, const char* file) {
    return TNFrameCall("ITNVLMInitInstance", handle, [&] { return handle->Init(TNFrameText(file)); });
}

ETarnovelleErrors ITNVLMSetArchiveFilePath(CTarnovelleArchive* handle, const char* file) {
    return TNFrameCall("ITNVLMSetArchiveFilePath", handle, [&] {
        handle->SetArchiveFileName(TNFrameText(file));
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLMSetArchiveName(CTarnovelleArchive* handle, const char* name) {
    return TNFrameCall("ITNVLMSetArchiveName", handle, [&] {
        handle->SetName(TNFrameText(name));
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLMSetRoundTripArchive(CTarnovelleArchive* handle, int32_t roundTrip) {
    return TNFrameCall("ITNVLMSetRoundTripArchive", handle, [&] {
        handle->SetRoundTripArchive(roundTrip != 0);
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLMDestroyInstance(CTarnovelleArchive* handle) {
    return TNFrameCall("ITNVLMDestroyInstance", handle, [&] {
        delete handle;
        return TNE_OK;
    });
}
