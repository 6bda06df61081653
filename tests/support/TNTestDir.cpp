#include "tests/support/TNTestDir.h"

#include "tests/support/TNFuzzSeeds.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

TNTestDir::TNTestDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/tnvl-test-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
}

TNTestDir::~TNTestDir() {
    TNHarvestFuzzSeeds(m_path);
    std::error_code ec;
    // Tests make files read-only on purpose; give write permission back first.
    for (auto it = std::filesystem::recursive_directory_iterator(m_path, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
    }
    std::filesystem::remove_all(m_path, ec);
}

void TNTestDir::Clear() const {
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(m_path, ec)) std::filesystem::remove_all(entry.path(), ec);
}

std::string TNTestDir::WriteFile(const std::string& name, const std::string& bytes) const {
    const std::string path = m_path + "/" + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}

std::string TNTestDir::ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool TNTestDir::Exists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}
