// Fuzz target for the project file. One input is one *.TNArch file: the
// target writes it, opens it with Init (the folder list and the measuring
// points of the folders' directories), asks the folder list what a program
// asks, saves it and opens the saved file again, whose folder list must be
// the saved one. Damage must come out as a result code, never as a crash, a
// read out of bounds or an allocation beyond what the file could hold.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNMessageBox.h"

namespace {

const std::string& Folder() {
    static const std::string folder = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "tnvl-project-fuzz-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        return pattern;
    }();
    return folder;
}

struct SFolder {
    std::string path;
    int32_t number;
    bool active;
    int32_t mode;
    uint32_t remaining, maximal;
    bool operator==(const SFolder&) const = default;
};

std::vector<SFolder> FoldersOf(const CTarnovelleArchive& archive) {
    std::vector<SFolder> folders;
    for (const CTarnovelleArchiveFolder* f : archive.GetArchiveFolders()) {
        if (!f) continue;
        folders.push_back({f->GetStoredPath(), f->GetNumber(), f->IsActive(), f->GetArchiveMode(),
                           f->GetRemainingMegaBytes(), f->GetMaximalMegaBytes()});
    }
    return folders;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CTNFakeClock clock(0);
    static CTNScopedClock scope(&clock);
    static std::vector<std::string> messages;
    messages.clear();
    CTNMessageBox::RerouteMessageBoxToLogArray(&messages);
    const std::string project = Folder() + "/Fuzz.TNArch";
    {
        std::ofstream out(project, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    try {
        CTarnovelleArchive archive;
        if (archive.Init(project) == TNE_OK) {
            archive.GetActiveArchiveFolder();
            archive.GetArrayOfArchiveFolders();
            archive.SetRoundTripArchive(!archive.IsRoundTripArchive());
            archive.GetArrayOfArchiveFolders();
            // Saving makes the default folder's directory beside the file,
            // and every folder's path is made relative where it can be.
            archive.Save();
            const std::vector<SFolder> saved = FoldersOf(archive);
            CTarnovelleArchive again;
            if (again.Init(project) != TNE_OK || FoldersOf(again) != saved) std::abort();
        }
    } catch (const CException&) {
        // An exception of the library is an answer too.
    }
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    return 0;
}
