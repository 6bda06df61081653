#include "tarnovelle/support/TNModuleSettings.h"

#include <atomic>

namespace {
std::atomic<TNModuleSettingFunction> g_reader{nullptr};
}

TNModuleSettingFunction TNSetModuleSettings(TNModuleSettingFunction reader) { return g_reader.exchange(reader); }

bool TNGetModuleSetting(const std::string& key, int32_t& value) {
    TNModuleSettingFunction reader = g_reader.load();
    return reader != nullptr && reader(key, value);
}
