// The project file side of CTarnovelleArchive: reading, writing and following
// the *.TNArch file and its folder list.
#include <algorithm>
#include <cctype>
#include <memory>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/TNText.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNPath.h"

namespace {

constexpr char kRootName[] = "CTarnovelleArchive";
constexpr char kFolderName[] = "Archive";
constexpr char kDefaultFolder[] = "TNArch01";
constexpr uint32_t kDefaultRemainingMegaBytes = 100;
constexpr uint32_t kRetrySleep = 500;

bool SameStatus(const STNFileStatus& a, const STNFileStatus& b) {
    return a.m_ctime == b.m_ctime && a.m_mtime == b.m_mtime && a.m_size == b.m_size;
}

// True for the text of a GUID: hexadecimal digits with "-" at 8, 13, 18, 23.
bool IsGuidText(const std::string& name) {
    if (name.size() != 36) return false;
    for (size_t i = 0; i < name.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? name[i] != '-' : !std::isxdigit(static_cast<unsigned char>(name[i]))) return false;
    }
    return true;
}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

}  // namespace

CTarnovelleArchive::CTarnovelleArchive(const CTarnovelleArchive& other) : CTarnovelleArchive() { CopyContents(other); }

void CTarnovelleArchive::CopyContents(const CTarnovelleArchive& other) {
    if (&other == this) return;
    m_bModified = other.m_bModified;
    m_bRefreshing = other.m_bRefreshing;
    m_bRoundTripArchive = other.m_bRoundTripArchive;
    m_strArchiveFileName = other.m_strArchiveFileName;
    m_strLockFileName = other.m_strLockFileName;
    m_strName = other.m_strName;
    m_hNotifyWnd = other.m_hNotifyWnd;
    m_nNotifyMessage = other.m_nNotifyMessage;
    m_FileStatus = other.m_FileStatus;
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) delete folder;
    m_arrArchiveFolders.assign(other.m_arrArchiveFolders.size(), nullptr);
    for (size_t index = 0; index < other.m_arrArchiveFolders.size(); ++index) {
        if (const CTarnovelleArchiveFolder* folder = other.m_arrArchiveFolders[index])
            m_arrArchiveFolders[index] = new CTarnovelleArchiveFolder(*folder, this);
    }
    m_arrOrderedFolders.clear();
}

void CTarnovelleArchive::Serialize(int32_t storing, const char* file) {
    if (storing == 0) {
        m_strArchiveFileName = file ? file : "";
        Init(m_strArchiveFileName);
    } else {
        Save();
    }
}

void CTarnovelleArchive::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << m_strArchiveFileName;
        Save();
    } else {
        archive >> m_strArchiveFileName;
        Init(m_strArchiveFileName);
    }
}

void CTarnovelleArchive::Clear() {
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) delete folder;
    m_arrArchiveFolders.clear();
    m_arrOrderedFolders.clear();
    ClearMeasuringPointArray();
}

void CTarnovelleArchive::Reset(const std::string& /*name*/) {
    Clear();
    SetModifiedFlag(1);
    m_bRoundTripArchive = false;
    SaveAs(m_strArchiveFileName);
}

void CTarnovelleArchive::SaveAs(const std::string& file) {
    SetArchiveFileName(file.c_str());
    Save();
}

// ---------------------------------------------------------------- writing

void CTarnovelleArchive::Save() {
    if (m_strArchiveFileName.empty()) return;
    if (!m_FileStatus.IsKnown()) {
        for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
            if (folder) folder->TryToMakeRelative(m_strArchiveFileName);
        }
    }
    if (m_arrArchiveFolders.empty()) {
        const std::string path = DirectoryOf(m_strArchiveFileName) + "/" + kDefaultFolder;
        CreatePathRecursive(path + "/");
        AddArchive(path, TNARCHIVE_MODE_REMAINING, kDefaultRemainingMegaBytes);
        if (CTarnovelleArchiveFolder* active = GetActiveArchiveFolder()) active->TryToMakeRelative(m_strArchiveFileName);
    }
    EV_XMLDOMDocument document;
    document.New();
    EV_XMLDOMNode root;
    root.Create(document, kRootName, "", nullptr);
    root.SetAttribute("Version", std::string("1"));
    root.SetAttribute("Name", m_strName);
    root.SetAttribute("RoundTripArchive", std::string(m_bRoundTripArchive ? "true" : "false"));
    document.AppendChild(root);
    SaveArchives(document, root);
    document.SaveAs(m_strArchiveFileName, true);
    document.Close();
    try {
        CTarnovelleFile::GetStatus(m_strArchiveFileName.c_str(), m_FileStatus);
    } catch (const CException&) {
        // A save has no result; a status that can't be read is seen again later.
    }
    SetModifiedFlag(0);
}

void CTarnovelleArchive::SaveArchives(CEV_XMLDOMDocument& document, CEV_XMLDOMNode& root) {
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
        if (!folder) continue;
        EV_XMLDOMNode element;
        element.Create(document, kFolderName, "", nullptr);
        folder->Save(element);
        root.AppendChild(element);
    }
}

// ---------------------------------------------------------------- reading

ETarnovelleErrors CTarnovelleArchive::UpdateArchiveFolders() {
    CTarnovelleFile file;
    if (!file.Open(m_strArchiveFileName.c_str(), CTarnovelleFile::modeRead)) {
        TNGetClock()->Sleep(kRetrySleep);
        if (!file.Open(m_strArchiveFileName.c_str(), CTarnovelleFile::modeRead)) return TNE_FILE_NOT_OPENED;
    }
    if (m_FileStatus.IsKnown()) {
        STNFileStatus status;
        file.GetStatus(status);
        if (SameStatus(status, m_FileStatus)) {
            file.Close();
            return TNE_OK;
        }
    }
    // The new status counts even if the parse fails: a damaged file is not
    // parsed again until it changes.
    file.GetStatus(m_FileStatus);
    EV_XMLDOMDocument document;
    if (document.Open(m_strArchiveFileName) != S_OK) return TNE_FILE_NOT_PARSED;
    EV_XMLDOMNode top;
    document.GetRootNode(top);
    const std::vector<EV_XMLDOMNode> children = top.Children();
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        EV_XMLDOMNode root = *it;
        if (root.Name() != kRootName) continue;
        std::string version;
        root.GetAttribute("Version", version);
        root.GetAttribute("Name", m_strName);
        if (version == "0") {
            ReadArchives(root);
        } else if (version == "1") {
            std::string roundTrip;
            root.GetAttribute("RoundTripArchive", roundTrip);
            m_bRoundTripArchive = TNToLower(roundTrip) == "true";
            ReadArchives(root);
        }
    }
    document.Close();
    file.Close();
    return TNE_OK;
}

void CTarnovelleArchive::PlaceFolder(CTarnovelleArchiveFolder* folder) {
    const int32_t number = folder->GetNumber();
    if (number < 0) {
        // No slot for it; kept alive with the others put out.
        m_arrRetiredFolders.push_back(folder);
        return;
    }
    const size_t slot = static_cast<size_t>(number);
    if (m_arrArchiveFolders.size() <= slot) m_arrArchiveFolders.resize(slot + 1, nullptr);
    if (m_arrArchiveFolders[slot] && m_arrArchiveFolders[slot] != folder)
        m_arrRetiredFolders.push_back(m_arrArchiveFolders[slot]);
    m_arrArchiveFolders[slot] = folder;
}

ETarnovelleErrors CTarnovelleArchive::ReadArchives(CEV_XMLDOMNode& root) {
    std::vector<CTarnovelleArchiveFolder*> kept;
    if (m_bRefreshing) {
        kept.swap(m_arrArchiveFolders);
        m_arrArchiveFolders.assign(kept.size(), nullptr);
    }
    const size_t members = m_arrArchiveFolders.size();
    for (EV_XMLDOMNode& element : root.Children()) {
        if (element.Name() != kFolderName) continue;
        auto folder = std::make_unique<CTarnovelleArchiveFolder>(this, element);
        if (!m_bRefreshing) {
            PlaceFolder(folder.release());
            continue;
        }
        // Every pointer held elsewhere stays good: a folder read again goes
        // into its old object.
        const size_t limit = std::min(members, kept.size());
        const auto match = std::find_if(kept.begin(), kept.begin() + static_cast<std::ptrdiff_t>(limit),
                                        [&](const CTarnovelleArchiveFolder* old) {
                                            return old && old->GetStoredPath() == folder->GetStoredPath();
                                        });
        if (match != kept.begin() + static_cast<std::ptrdiff_t>(limit)) {
            **match = *folder;
        } else {
            kept.push_back(folder.release());
        }
    }
    if (m_bRefreshing) {
        // A folder gone from the file goes back to its place: refreshing
        // never removes one.
        for (CTarnovelleArchiveFolder* folder : kept) {
            if (folder) PlaceFolder(folder);
        }
    }
    GetActiveArchiveFolder();
    return TNE_OK;
}

void CTarnovelleArchive::InsertAllMeasuringPoints() {
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
        if (!folder) continue;
        std::vector<std::string> directories;
        ListDirectories(folder->GetPath(), directories, kGuidNameMask);
        for (const std::string& directory : directories) {
            const std::string name = directory.substr(directory.find_last_of('/') + 1);
            // A name of the right shape that is no GUID is passed over.
            if (!IsGuidText(name)) continue;
            try {
                InsertMeasuringPoints(StringToGuid(name));
            } catch (const CException&) {
                // That directory is skipped; the others are still found.
            }
        }
    }
}

void CTarnovelleArchive::Refresh() {
    std::vector<TNLockHandle> locks;
    if (CreateReadLock(locks) != TNE_OK) {
        RemoveReadLock(locks);
        return;
    }
    try {
        // A connector's refresh always succeeds, so no measuring point is
        // found gone here; the new ones come with the folders below.
        for (CTarnovelleMeasuringPointConnector* connector : m_arrConnectors) {
            if (connector) connector->Refresh();
        }
        m_bRefreshing = true;
        Init(m_strArchiveFileName);
        m_bRefreshing = false;
    } catch (...) {
        m_bRefreshing = false;
        RemoveReadLock(locks);
        throw;
    }
    RemoveReadLock(locks);
}
