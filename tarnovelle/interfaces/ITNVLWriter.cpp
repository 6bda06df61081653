#include "tarnovelle/interfaces/ITNVLWriter.h"

#include "tarnovelle/interfaces/CTarnovelleWorkingThread.h"
#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/internal/TNWorkItems.h"
#include "tarnovelle/support/ReportException.h"
#include "tarnovelle/support/TNApplicationLog.h"

#include <cstdio>
#include <memory>
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

void TNReleaseWorkItem(uint32_t kind, void* item) {
    switch (kind) {
        case EEXECUTEMESSAGE_BYTEMESSAGE: delete static_cast<STNByteMessageItem*>(item); break;
        case EEXECUTEMESSAGE_TEXTMESSAGE: delete static_cast<STNTextMessageItem*>(item); break;
        case EEXECUTEMESSAGE_SAMPLE: delete static_cast<STNSampleItem*>(item); break;
        case EEXECUTEMESSAGE_PARAMETERSET: delete static_cast<STNParameterSetItem*>(item); break;
        default: break;
    }
}

ETarnovelleErrors ITNVLWIsArchiveLocked(CTarnovelleArchive* handle, int32_t& locked) {
    return TNFrameCall("ITNVLWIsArchiveLocked", handle, [&] {
        locked = handle->IsLockedForWriting() ? 1 : 0;
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLWSetArchiveLock(CTarnovelleArchive* handle, int32_t lock, CTNNotifySink* window,
                                       uint32_t message) {
    return TNFrameCallTyped("ITNVLWSetArchiveLock", handle, lock ? TNE_ARCHIVE_LOCK_FAILED : TNE_ARCHIVE_NOT_LOCKED,
                            [&] {
                                if (lock) {
                                    const ETarnovelleErrors started = CTarnovelleWorkingThread::StartWorkingThread(handle);
                                    if (started != TNE_OK) return started;
                                    return handle->LockForWriting(window, message, 0);
                                }
                                // Not running is no failure here: the lock goes all the same.
                                CTarnovelleWorkingThread::StopWorkingThread();
                                return handle->RemoveLockForWriting();
                            });
}

ETarnovelleErrors ITNVLWAddMessageBinaryByte(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                             const SBinary_BYTE& message) {
    return TNFrameCall("ITNVLWAddMessageBinaryByte", handle, [&] {
        CTarnovelleWorkingThread::PostToWorkingThread(EEXECUTEMESSAGE_BYTEMESSAGE,
                                                      new STNByteMessageItem{guid, channel, message});
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLWAddMessageBinaryText(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                             const SBinary_Text& message) {
    return TNFrameCall("ITNVLWAddMessageBinaryText", handle, [&] {
        CTarnovelleWorkingThread::PostToWorkingThread(EEXECUTEMESSAGE_TEXTMESSAGE,
                                                      new STNTextMessageItem{guid, channel, message});
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLWAddSample(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                  CTarnovelleSampleArray& samples) {
    if (samples.IsEmpty()) return TNE_NO_OBJECT;
    return TNFrameCall("ITNVLWAddSample", handle, [&] {
        auto item = std::make_unique<STNSampleItem>(STNSampleItem{guid, channel, std::make_unique<CTarnovelleSampleArray>()});
        // The pointers move; the samples are the library's from here on.
        *item->samples = std::move(samples);
        samples.RemoveAll();
        CTarnovelleWorkingThread::PostToWorkingThread(EEXECUTEMESSAGE_SAMPLE, item.release());
        return TNE_OK;
    });
}

ETarnovelleErrors ITNVLWSetParameterSet(CTarnovelleArchive* handle, const GUID& guid, const CTNUTCTimeStamp& time,
                                        CTarnovelleParameterSet& set) {
    if (!set.IsValid()) return TNE_NO_OBJECT;
    return TNFrameCall("ITNVLWSetParameterSet", handle, [&] {
        auto copy = std::make_unique<CTarnovelleParameterSet>(CTarnovelleParameterSet::CreateParameterSet());
        copy->CopyContents(set);
        copy->SetTimeOfValidity(set.GetTimeOfValidity());
        CTarnovelleWorkingThread::PostToWorkingThread(EEXECUTEMESSAGE_PARAMETERSET,
                                                      new STNParameterSetItem{guid, time, std::move(copy)});
        return TNE_OK;
    });
}

namespace {

const char* KindName(uint32_t kind) {
    switch (kind) {
        case EEXECUTEMESSAGE_BYTEMESSAGE: return "EEXECUTEMESSAGE_BYTEMESSAGE";
        case EEXECUTEMESSAGE_TEXTMESSAGE: return "EEXECUTEMESSAGE_TEXTMESSAGE";
        case EEXECUTEMESSAGE_SAMPLE: return "EEXECUTEMESSAGE_SAMPLE";
        case EEXECUTEMESSAGE_PARAMETERSET: return "EEXECUTEMESSAGE_PARAMETERSET";
        default: return nullptr;
    }
}

ETarnovelleErrors Store(CTarnovelleArchive& archive, uint32_t kind, void* item) {
    switch (kind) {
        case EEXECUTEMESSAGE_BYTEMESSAGE: {
            auto* byte = static_cast<STNByteMessageItem*>(item);
            return archive.SaveMessage(byte->guid, byte->channel, byte->message);
        }
        case EEXECUTEMESSAGE_TEXTMESSAGE: {
            auto* text = static_cast<STNTextMessageItem*>(item);
            return archive.SaveMessage(text->guid, text->channel, text->message);
        }
        case EEXECUTEMESSAGE_SAMPLE: {
            auto* sample = static_cast<STNSampleItem*>(item);
            return archive.SaveSamples(sample->guid, sample->channel, *sample->samples);
        }
        case EEXECUTEMESSAGE_PARAMETERSET: {
            auto* set = static_cast<STNParameterSetItem*>(item);
            return archive.SaveParameterSet(set->guid, set->time, *set->set);
        }
        default: return TNE_OK;
    }
}

}  // namespace

void ITNVLWExecuteMessage(CTarnovelleArchive* archive, uint32_t kind, void* item) {
    if (!CTarnovelleWorkingThread::TakeOnePending()) {
        TNApplicationLogError("CTarnovelleException", "Timeout in ITNVLWExecuteMessage");
        if (archive) archive->PostMessageA(TNE_FAILED, TNMSG_ARCHIVING_STOPPED);
        return;
    }
    // After a failure everything queued is dropped until the lock is taken
    // again; a dropped item is released, so nothing it holds stays behind.
    if (!archive || archive->WasStopArchivingCalled()) {
        TNReleaseWorkItem(kind, item);
        return;
    }
    ETarnovelleErrors status = TNE_OK;
    try {
        status = Store(*archive, kind, item);
    } catch (const CTarnovelleException&) {
        status = TNE_EXCEPTION;
    } catch (...) {
        status = TNReportCurrentException("ITNVLWExecuteMessage");
    }
    TNReleaseWorkItem(kind, item);
    const char* name = KindName(kind);
    if (status == TNE_OK || !name) return;
    // The first failed item stops the archiving.
    char text[80];
    std::snprintf(text, sizeof(text), "Error in %s: %08lx", name, static_cast<unsigned long>(status));
    TNApplicationLogError("CTarnovelleException", text);
    archive->PostMessageA(status, TNMSG_ARCHIVING_STOPPED);
}
