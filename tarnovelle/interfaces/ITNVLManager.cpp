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

ETarnovelleErrors ITNVLMAddArchive(CTarnovelleArchive* handle, const char* path, TNARCHIVE_MODE mode, uint32_t size,
                                   CTarnovelleArchiveFolder** folder) {
    return TNFrameCall("ITNVLMAddArchive", handle, [&] {
        CTarnovelleArchiveFolder* added = handle->AddArchive(TNFrameText(path), mode, size);
        if (folder) *folder = added;
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLMGetActiveFolder(CTarnovelleArchive* handle, CTarnovelleArchiveFolder** folder) {
    return TNFrameCall("ITNVLMGetActiveFolder", handle, [&] {
        CTarnovelleArchiveFolder* active = handle->GetActiveArchiveFolder();
        if (folder) *folder = active;
        return TNE_OK;
    });
}

const std::vector<CTarnovelleArchiveFolder*>& ITNVLMGetArrayOfArchiveFolders(CTarnovelleArchive* handle) {
    return handle->GetArrayOfArchiveFolders();
}

ETarnovelleErrors ITNVLMSwitchArchiveActivation(CTarnovelleArchive* handle, CTarnovelleArchiveFolder* from,
                                                CTarnovelleArchiveFolder* to) {
    return TNFrameCall("ITNVLMSwitchArchiveActivation", handle,
                       [&] { return handle->SwitchArchiveActivation(from, to); });
}

ETarnovelleErrors ITNVLMCheckConfiguration(CTarnovelleArchive* handle) {
    return TNFrameCall("ITNVLMCheckConfiguration", handle,
                       [&] { return handle->CheckConfiguration() ? TNE_OK : TNE_CONFIGURATION_INVALID; });
}

ETarnovelleErrors ITNVLMSerialize_0(CTarnovelleArchive* handle, CArchive& archive) {
    return TNFrameCall("ITNVLMSerialize_0", handle, [&] {
        handle->Serialize(archive);
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLMSerialize_1(CTarnovelleArchive* handle, int32_t storing, const char* file) {
    return TNFrameCall("ITNVLMSerialize_1", handle, [&] {
        handle->Serialize(storing, file);
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLMAddSample(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                  CTarnovelleSampleArray& samples) {
    return TNFrameCallTyped("ITNVLMAddSample", handle, TNE_EXCEPTION,
                            [&] { return handle->SaveSamples(guid, channel, samples); });
}

ETarnovelleErrors ITNVLMAddMessageBinaryByte(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                             const SBinary_BYTE& message) {
    return TNFrameCallTyped("ITNVLMAddMessageBinaryByte", handle, TNE_EXCEPTION,
                            [&] { return handle->SaveMessage(guid, channel, message); });
}

ETarnovelleErrors ITNVLMAddMessageBinaryText(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                             const SBinary_Text& message) {
    return TNFrameCallTyped("ITNVLMAddMessageBinaryText", handle, TNE_EXCEPTION,
                            [&] { return handle->SaveMessage(guid, channel, message); });
}

ETarnovelleErrors ITNVLMSetParameterSet(CTarnovelleArchive* handle, const GUID& guid, const CTNUTCTimeStamp& time,
                                        CTarnovelleParameterSet& set) {
    return TNFrameCall("ITNVLMSetParameterSet", handle, [&] { return handle->SaveParameterSet(guid, time, set); });
}

ETarnovelleErrors ITNVLMSetParameterProgramInfo(CTarnovelleArchive* handle, const GUID& guid,
                                                const SProgramInfo& info) {
    return TNFrameCall("ITNVLMSetParameterProgramInfo", handle, [&] { return handle->SetParameter(guid, info); });
}

ETarnovelleErrors ITNVLMSetMeasuringPointName(CTarnovelleArchive* handle, const GUID& guid, const char* name) {
    return TNFrameCall("ITNVLMSetMeasuringPointName", handle,
                       [&] { return handle->SetMeasuringPointName(guid, TNFrameText(name)); });
}

ETarnovelleErrors ITNVLMRemoveMeasuringPoint(CTarnovelleArchive* handle, GUID guid) {
    return TNFrameCall("ITNVLMRemoveMeasuringPoint", handle, [&] { return handle->RemoveMeasuringPoint(guid); });
}
