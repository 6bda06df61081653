// A real temporary directory for one test, removed with everything in it when
// the object goes out of scope.
#pragma once

#include <string>

class TNTestDir {
public:
    TNTestDir();
    ~TNTestDir();
    TNTestDir(const TNTestDir&) = delete;
    TNTestDir& operator=(const TNTestDir&) = delete;

    const std::string& Path() const { return m_path; }
    // Path of `name` inside the directory.
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

    // Removes everything inside the directory, keeping the directory.
    void Clear() const;

    // Writes `bytes` to the file `name` inside the directory; returns its path.
    std::string WriteFile(const std::string& name, const std::string& bytes) const;
    // Reads a whole file as bytes; empty if it does not exist.
    static std::string ReadFile(const std::string& path);
    static bool Exists(const std::string& path);

private:
    std::string m_path;
};
