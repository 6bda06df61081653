// How the error log names its entries, worked out independently of the
// library so tests can find an entry: the section of this process and a
// category, and the key of a moment in the machine's own zone.
#pragma once

#include <cstdint>
#include <string>

std::string TNLogSection(const std::string& category);
std::string TNLogKeyAt(uint64_t millisecondsSince1970);
