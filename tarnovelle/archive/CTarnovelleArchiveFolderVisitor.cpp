#include "tarnovelle/archive/CTarnovelleArchiveFolderVisitor.h"

#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchiveFolder.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNPath.h"

namespace {
constexpr int64_t kBlock = 4096;
}  // namespace

void CTarnovelleArchiveFolderVisitor::CalculateUsedResources(const CTarnovelleArchiveFolder& folder,
                                                             uint32_t& directories, uint32_t& files,
                                                             uint64_t& bytes) {
    std::vector<std::string> found;
    ListDirectories(folder.GetPath(), found, kGuidNameMask);
    directories = static_cast<uint32_t>(found.size());
    std::vector<std::string> list;
    for (const std::string& directory : found) {
        for (const char* mask : {"*.Inf", "*.Sam", "*.Dat"}) ListFiles(directory, list, mask, true);
    }
    files = static_cast<uint32_t>(list.size());
    bytes = 0;
    for (const std::string& file : list) {
        // 32 bits read as signed, as the sizes were always taken.
        const int64_t size = static_cast<int32_t>(static_cast<uint32_t>(GetPathFileSize(file)));
        bytes += static_cast<uint64_t>((size / kBlock + 1) * kBlock);
    }
}
