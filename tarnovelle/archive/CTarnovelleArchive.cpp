#include "tarnovelle/archive/CTarnovelleArchive.h"

namespace {

// Position where the extension of the last path component begins, or npos.
size_t ExtensionStart(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return std::string::npos;
    return dot;
}

std::string WithExtension(const std::string& path, const char* extension) {
    return path.substr(0, ExtensionStart(path)) + extension;
}

std::string Stem(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const size_t begin = slash == std::string::npos ? 0 : slash + 1;
    const size_t ext = ExtensionStart(path);
    return path.substr(begin, (ext == std::string::npos ? path.size() : ext) - begin);
}

}  // namespace

CTarnovelleArchive::CTarnovelleArchive() = default;

CTarnovelleArchive::~CTarnovelleArchive() = default;

ETarnovelleErrors CTarnovelleArchive::Init(const std::string& file) {
    if (!m_bRefreshing) {
        m_strArchiveFileName = WithExtension(file, ".TNArch");
        m_strName = Stem(m_strArchiveFileName);
        m_strLockFileName = WithExtension(m_strArchiveFileName, ".Lock");
    }
    STNFileStatus status;
    if (!CTarnovelleFile::GetStatus(m_strArchiveFileName.c_str(), status)) return TNE_OK;

    const ETarnovelleErrors result = UpdateArchiveFolders();
    if (result != TNE_OK) return result;
    InsertAllMeasuringPoints();
    return TNE_OK;
}

void CTarnovelleArchive::SetArchiveFileName(const char* file) {
    m_strArchiveFileName = file ? file : "";
    m_strLockFileName = WithExtension(m_strArchiveFileName, ".Lock");
}

ETarnovelleErrors CTarnovelleArchive::UpdateArchiveFolders() { return TNE_FILE_NOT_PARSED; }

void CTarnovelleArchive::InsertAllMeasuringPoints() {}
