#include "tarnovelle/interfaces/ITNVLWriter.h"

#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/internal/TNFrame.h"

CTarnovelleArchive* ITNVLWCreateInstance() { return ITNVLMCreateInstance(); }

ETarnovelleErrors ITNVLWInitInstance(CTarnovelleArchive* handle, const char* file) {
    return TNFrameCall("ITNVLWInitInstance", handle, [&] { return handle->Init(TNFrameText(file)); });
}

ETarnovelleErrors ITNVLWDestroyInstance(CTarnovelleArchive* handle) {
    return TNFrameCall("ITNVLWDestroyInstance", handle, [&] {
        delete handle;
        return TNE_OK;
    });
}
