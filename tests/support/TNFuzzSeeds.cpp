#include "tests/support/TNFuzzSeeds.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <system_error>

namespace {

// The fuzz runs take inputs of at most 64 KiB; larger seeds would be cut
// and, at thousands of blocks a file, slow every run down.
constexpr uintmax_t kLargestSeed = 64 * 1024;

std::string ReadSmallFile(const std::filesystem::path& path) {
    std::error_code ec;
    const uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec || size > kLargestSeed) return std::string();
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void Keep(const std::filesystem::path& folder, const std::string& bytes) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    char name[32];
    std::snprintf(name, sizeof(name), "%016zx", std::hash<std::string>{}(bytes));
    std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The parameter file of a measuring point, whatever case its name is in.
bool IsConfData(const std::filesystem::path& path) {
    std::string name = path.filename().string();
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name == "confdata.inf";
}

bool LooksLikeXml(const std::string& bytes) {
    const size_t first = bytes.find_first_not_of(" \t\r\n");
    return first != std::string::npos && bytes[first] == '<';
}

}  // namespace

std::string TNPackChannelFiles(const std::string& sam, const std::string& dat) {
    const uint32_t length = static_cast<uint32_t>(sam.size());
    std::string packed;
    for (int shift = 0; shift < 32; shift += 8) packed.push_back(static_cast<char>((length >> shift) & 0xFF));
    return packed + sam + dat;
}

void TNHarvestFuzzSeeds(const std::string& directory) {
    const char* seeds = std::getenv("TNVL_FUZZ_SEEDS");
    if (!seeds || !*seeds) return;
    try {
        const std::filesystem::path root(seeds);
        std::error_code ec;
        for (auto it = std::filesystem::recursive_directory_iterator(directory, ec);
             !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            if (!it->is_regular_file(ec)) continue;
            const std::filesystem::path path = it->path();
            if (path.extension() == ".Sam") {
                std::filesystem::path dat = path;
                dat.replace_extension(".Dat");
                if (!std::filesystem::exists(dat, ec)) continue;
                const std::string sam = ReadSmallFile(path);
                const std::string packed = TNPackChannelFiles(sam, ReadSmallFile(dat));
                if (!sam.empty() && packed.size() <= kLargestSeed) Keep(root / "channel", packed);
                continue;
            }
            const std::string bytes = ReadSmallFile(path);
            // Every version of the file opens with an XML-like tag, so it
            // feeds the XML target too.
            if (IsConfData(path)) Keep(root / "confdata", bytes);
            if (path.extension() == ".TNArch") Keep(root / "project", bytes);
            if (LooksLikeXml(bytes)) Keep(root / "xml", bytes);
        }
    } catch (...) {
        // Seeds are a by-product: a test never fails for them.
    }
}
