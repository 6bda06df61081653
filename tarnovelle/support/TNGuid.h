// GUIDs and their text form. The text names measuring-point directories and
// read-lock files, so its spelling is part of the archive format: the third
// group is written in lower case, every other group in upper case. None of
// these functions throws.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/support/GUID.h"

// A new random (version 4) GUID; the all-zero GUID if no randomness could be had.
TNVL_EXPORT GUID CreateGuid();

// "XXXXXXXX-XXXX-xxxx-XXXX-XXXXXXXXXXXX".
TNVL_EXPORT std::string GuidToString(const GUID& guid);

// The reverse of GuidToString. Positions 8, 13, 18 and 23 must hold "-",
// otherwise the result is the all-zero GUID. Each field is then read by a
// hexadecimal conversion of its substring that takes what it can (0 for
// nothing): Data1 from 0..3 (upper half) and 4..7 (lower half), Data2 from
// 9..12, Data3 from 14..17, the eight bytes from 19, 21, 24, 26, 28, 30, 32, 34.
// Texts of another length are not refused: positions beyond the end read as
// empty.
TNVL_EXPORT GUID StringToGuid(const std::string& text);

// The mask of a name in the shape of a GUID text, as measuring-point
// directories are named: each "?" one character. (Written with "\?" so that
// no two question marks form a trigraph.)
inline constexpr char kGuidNameMask[] = "?\?\?\?\?\?\?\?-?\?\?\?-?\?\?\?-?\?\?\?-?\?\?\?\?\?\?\?\?\?\?\?";
static_assert(sizeof(kGuidNameMask) == 37, "a GUID text has 36 characters");
