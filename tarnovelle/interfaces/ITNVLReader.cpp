#include "tarnovelle/interfaces/ITNVLReader.h"

#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/internal/TNFrame.h"

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
