// The configuration check and the export of CTarnovelleArchive: whether the
// archive can work, asked before a recording starts and told to the user
// through CTNMessageBox, and a time range copied into an archive of its own.
#include <memory>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNPath.h"
#include "tarnovelle/values/CTNMessageFormatter.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"

namespace {

constexpr uint16_t kTextNoFolders = 73;
constexpr uint16_t kTextFull = 74;
constexpr uint16_t kTextNoActive = 75;
constexpr uint16_t kTextNoAccess = 76;
constexpr uint16_t kTextDateTime = 81;
constexpr uint16_t kTextDiskTooSmall = 95;
constexpr char kAccessTest[] = "CheckConfiguration.AccessTest";
constexpr uint32_t kExportMegaBytes = 3;

void Show(uint16_t id) { CTNMessageBox::Show(CTarnovelleTextManager::LoadString(id)); }

std::string LastPartStem(const std::string& directory) {
    std::string path = directory;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    const std::string last = path.substr(path.find_last_of('/') + 1);
    const size_t dot = last.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? last : last.substr(0, dot);
}

}  // namespace

int32_t CTarnovelleArchive::CheckConfiguration() {
    try {
        if (m_arrArchiveFolders.empty()) {
            Show(kTextNoFolders);
            return 0;
        }
        if (!GetActiveArchiveFolder()) {
            Show(kTextNoActive);
            return 0;
        }
        if (!CheckArchiveFolderAccess()) return 0;
        // May wipe and switch, as every folder check does.
        const ETarnovelleErrors result = CheckArchiveActivation();
        if (result == TNE_ARCHIVE_FULL) {
            Show(kTextFull);
            return 0;
        }
        if (result == TNE_NO_ACTIVE_FOLDER) {
            Show(kTextNoActive);
            return 0;
        }
        for (size_t index = 0; index < m_arrArchiveFolders.size(); ++index) {
            CTarnovelleArchiveFolder* folder = m_arrArchiveFolders[index];
            if (!folder || folder->IsFull()) continue;
            const uint64_t freeMegaBytes = folder->GetFreeDiskSpace() / 1024 / 1024;
            if (folder->GetRemainingDiskSpaceInMB() > freeMegaBytes) {
                CTNMessageBox::Show(CTNMessageFormatter::Format(CTarnovelleTextManager::LoadString(kTextDiskTooSmall),
                                                                {static_cast<int32_t>(index)}));
                return 0;
            }
        }
        return 1;
    } catch (CException& e) {
        CTNMessageBox::Show(e);
        return 0;
    }
}

int32_t CTarnovelleArchive::CheckArchiveFolderAccess() {
    for (size_t index = 0; index < m_arrArchiveFolders.size(); ++index) {
        CTarnovelleArchiveFolder* folder = m_arrArchiveFolders[index];
        if (!folder) continue;
        const std::string probe = folder->GetPath() + "/" + kAccessTest;
        DeleteFilePath(probe);
        CTarnovelleFile file;
        if (!file.Open(probe.c_str(), CTarnovelleFile::modeCreate | CTarnovelleFile::modeWrite)) {
            CTNMessageBox::Show(CTNMessageFormatter::Format(CTarnovelleTextManager::LoadString(kTextNoAccess),
                                                            {static_cast<int32_t>(index), folder->GetPath()}));
            return 0;
        }
        file.Close();
        DeleteFilePath(probe);
    }
    return 1;
}

ETarnovelleErrors CTarnovelleArchive::Export(const std::string& directory, const CTNUTCTimeStamp& from,
                                             const CTNUTCTimeStamp& to,
                                             const std::vector<CTarnovelleMeasuringPointConnector*>& connectors) {
    const std::string project = directory + "/" + LastPartStem(directory);
    CreatePathRecursive(project);
    auto target = std::make_unique<CTarnovelleArchive>();
    target->Init(project);
    const std::string dateTime = CTarnovelleTextManager::LoadString(kTextDateTime);
    target->SetName(m_strName + "-Export " + from.ToLocalTime().Format(dateTime) + " - " +
                    to.ToLocalTime().Format(dateTime));
    target->AddArchive(".", TNARCHIVE_MODE_REMAINING, kExportMegaBytes);
    target->Save();
    for (CTarnovelleMeasuringPointConnector* connector : connectors) {
        if (!connector) continue;
        const ETarnovelleErrors status = connector->Export(*target, from, to);
        if (status != TNE_OK) return status;
        for (CTarnovelleChannelConnector* channel : connector->GetChannelConnectors()) {
            if (channel) channel->Export(*target, from, to);
        }
    }
    return TNE_OK;
}
