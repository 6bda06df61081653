#include "tarnovelle/support/CFileException.h"

#include <cerrno>
#include <cstring>

CFileException::CFileException(int cause, long osError, const std::string& fileName)
    : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

namespace {

const char* CauseText(int cause) {
    switch (cause) {
        case CFileException::none: return "No error occurred";
        case CFileException::fileNotFound: return "The file could not be located";
        case CFileException::badPath: return "All or part of the path is invalid";
        case CFileException::tooManyOpenFiles: return "Too many files are open";
        case CFileException::accessDenied: return "Access to the file was denied";
        case CFileException::invalidFile: return "An invalid file handle was used";
        case CFileException::removeCurrentDir: return "The current working directory cannot be removed";
        case CFileException::directoryFull: return "The directory is full";
        case CFileException::badSeek: return "An error occurred while setting the file position";
        case CFileException::hardIO: return "A hardware error occurred";
        case CFileException::sharingViolation: return "A sharing violation occurred";
        case CFileException::lockViolation: return "A locked region could not be accessed";
        case CFileException::diskFull: return "The disk is full";
        case CFileException::endOfFile: return "The end of the file was reached";
        default: return "An unspecified error occurred";
    }
}

}  // namespace

bool CFileException::GetErrorMessage(char* buffer, unsigned max) const {
    std::string text = CauseText(m_cause);
    text += " while accessing '" + m_strFileName + "'";
    if (m_lOsError > 0) {
        text += ": ";
        text += std::strerror(static_cast<int>(m_lOsError));
    }
    text += ".";
    return CopyMessage(text.c_str(), buffer, max);
}

const char* CFileException::GetRuntimeClassName() const { return "CFileException"; }

int CFileException::CauseFromErrno(int err) {
    switch (err) {
        case 0: return none;
        case ENOENT: return fileNotFound;
        case ENOTDIR:
        case ENAMETOOLONG:
        case ELOOP: return badPath;
        case EMFILE:
        case ENFILE: return tooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR: return accessDenied;
        case EBADF: return invalidFile;
        case EBUSY: return removeCurrentDir;
        case EINVAL:
        case ESPIPE:
        case EOVERFLOW: return badSeek;
        case EIO: return hardIO;
        case EAGAIN: return sharingViolation;
        case ENOSPC:
        case EDQUOT: return diskFull;
        default: return genericException;
    }
}

void CFileException::SetFromErrno(int err, const std::string& fileName) {
    m_cause = CauseFromErrno(err);
    m_lOsError = err;
    m_strFileName = fileName;
}
