// Paths, files and directory trees: the archive's view of the file system.
//
// Paths use "/" as separator; a directory path has no final separator. Masks
// ("*.Sam", "????????-????-????-????-????????????") match names
// case-insensitively, "?" stands for exactly one character and "*" for any
// run of characters; "*.*" matches every name, with or without a dot.
// "Read-only" means none of the write permission bits is set, whoever runs
// the process.
//
// Files are deleted and moved through the file service's lock-aware
// operations, so a file that someone holds open through the library is
// neither deleted nor moved.
//
// Every function reports by its result only; none throws.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tarnovelle/support/TNExport.h"

// `path` without its extension: the text before the last dot, when that dot
// lies behind the last separator and is not the first character of `path`.
// Channel files are named by their base path plus ".Sam" or ".Dat".
TNVL_EXPORT std::string RemoveFileExtension(const std::string& path);

// True when `name` matches `mask` (see above).
TNVL_EXPORT bool TNMatchFileMask(const std::string& name, const std::string& mask);

// True when the status of `path` (file or directory) can be read.
TNVL_EXPORT bool PathExists(const std::string& path);
// True when at least one entry of `directory` other than "." and ".." matches `mask`.
TNVL_EXPORT bool FileMaskExists(const std::string& directory, const std::string& mask);
// Size of a file in bytes; 0 for a directory or when the status can't be read.
TNVL_EXPORT uint64_t GetPathFileSize(const std::string& path);

// Makes every directory up to the last separator of `path`: a path ending in
// a separator is made whole, the last part of one that does not (a file name)
// is not made. Existing levels are no error. Of a "//server/share/..." path
// the root "//server/share" is never made. Always 1: callers test success
// with PathExists.
TNVL_EXPORT int32_t CreatePathRecursive(const std::string& path);

// Removes everything inside `directory`. Read-only entries (files and
// directories) are left alone and make the result false, as does any entry
// that can't be removed; the walk goes on regardless. True for a directory
// that can't be listed (nothing was found).
TNVL_EXPORT bool DeleteDirectoryContents(const std::string& directory);
// DeleteDirectoryContents, then the directory itself; false at once if the
// contents could not all be removed.
TNVL_EXPORT bool DeleteDirectory(const std::string& directory);
// Like DeleteDirectoryContents, but plain files directly in `directory` stay;
// each subdirectory goes by DeleteDirectory.
TNVL_EXPORT bool DeleteSubdirectories(const std::string& directory);

// Appends directory + "/" + name for each file whose name matches `mask`,
// in the order the directory gives them. With `recursive`, descends into the
// subdirectories whose names match `mask` too. 0, or -1 when a directory
// could not be read (the rest is still listed).
TNVL_EXPORT int32_t ListFiles(const std::string& directory, std::vector<std::string>& list,
                              const std::string& mask = "*.*", bool recursive = false);
// The same for the subdirectories of `directory`, not descending.
TNVL_EXPORT int32_t ListDirectories(const std::string& directory, std::vector<std::string>& list,
                                    const std::string& mask = "*.*");

// Moves a file or directory. -1 if `from` doesn't exist or `to` does;
// otherwise makes the directories up to `to` and renames: 0 on success.
TNVL_EXPORT int32_t MovePath(const std::string& from, const std::string& to);
// 0 if `path` doesn't exist or was deleted; -1 otherwise (held open,
// read-only, a directory, no permission).
TNVL_EXPORT int32_t DeleteFilePath(const std::string& path);
// DeleteFilePath on every file of `directory` that matches `mask` (not
// recursive); -1 if any failed, the others are still tried.
TNVL_EXPORT int32_t DeleteFiles(const std::string& directory, const std::string& mask);

// `readOnly` true clears every write permission bit of `path`, false sets the
// owner's. True if the path doesn't exist or the change was made; false when
// the status can't be read or the permissions can't be set.
TNVL_EXPORT bool SetFileReadOnly(bool readOnly, const std::string& path);
