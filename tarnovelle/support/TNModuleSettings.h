// The door from the library's lower layers to the module's settings: the
// least archive sizes that the module reads from its ini file at load. The
// module registers a reader here when it starts; before that there is no
// application object, and a caller takes the settings as absent.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"

// Gives the module's value of `key` ("MininumArchiveSize",
// "MininumArchiveSizePerDevice"); false for a key it doesn't know.
using TNModuleSettingFunction = bool (*)(const std::string& key, int32_t& value);

// Registers the module's reader; null removes it. Returns the previous one.
TNVL_EXPORT TNModuleSettingFunction TNSetModuleSettings(TNModuleSettingFunction reader);
// The module's value of `key`; false when no module is registered or the key
// is unknown, `value` then untouched.
TNVL_EXPORT bool TNGetModuleSetting(const std::string& key, int32_t& value);
