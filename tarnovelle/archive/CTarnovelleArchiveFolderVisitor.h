// Walks an archive folder's measuring-point directories and counts what they
// take on disk. The visitor has no state of its own.
//
// CalculateUsedResources counts the GUID-shaped directories of the folder and
// every "*.Inf", "*.Sam" and "*.Dat" file in them (sub-directories
// included), and their bytes rounded up to blocks of 4096 bytes, with one
// block more for a size that is an exact multiple (so an empty file counts
// 4096 bytes). A file's size is taken as 32 bits read as signed; nothing
// else in the folder counts.
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"

class CTarnovelleArchiveFolder;

class TNVL_EXPORT CTarnovelleArchiveFolderVisitor {
public:
    static void CalculateUsedResources(const CTarnovelleArchiveFolder& folder, uint32_t& directories,
                                       uint32_t& files, uint64_t& bytes);
};
