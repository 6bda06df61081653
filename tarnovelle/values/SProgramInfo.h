// Identifies the program that writes into an archive: its name and a four-part
// version (major, minor, build, revision). It is kept as parameters of the
// archive, not stored as a record, so it holds a string and plain numbers.
// The default is an empty name and version 0.0.0.0.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT SProgramInfo {
public:
    // Copy and assignment are the implicit ones (moves too).
    SProgramInfo() = default;

    const std::string& GetName() const { return m_Name; }
    uint32_t GetVersionMajor() const { return m_VersionMajor; }
    uint32_t GetVersionMinor() const { return m_VersionMinor; }
    uint32_t GetVersionBuild() const { return m_VersionBuild; }
    uint32_t GetVersionRevision() const { return m_VersionRevision; }

    void SetName(const std::string& name) { m_Name = name; }
    // A null name is taken as the empty name rather than read through.
    void SetName(const char* name) { m_Name.assign(name != nullptr ? name : ""); }
    void SetVersionMajor(uint32_t major) { m_VersionMajor = major; }
    void SetVersionMinor(uint32_t minor) { m_VersionMinor = minor; }
    void SetVersionBuild(uint32_t build) { m_VersionBuild = build; }
    void SetVersionRevision(uint32_t revision) { m_VersionRevision = revision; }

private:
    std::string m_Name;
    uint32_t m_VersionMajor = 0;
    uint32_t m_VersionMinor = 0;
    uint32_t m_VersionBuild = 0;
    uint32_t m_VersionRevision = 0;
};
