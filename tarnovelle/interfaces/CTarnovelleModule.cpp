#include "tarnovelle/interfaces/CTarnovelleModule.h"

#include <cstdio>

#include "tarnovelle/support/TNApplicationLog.h"
#include "tarnovelle/support/TNModuleSettings.h"
#include "tarnovelle/support/CTNProfile.h"
#include "tarnovelle/support/TNProcess.h"
#include "tarnovelle/values/CTNLocalTimeStamp.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/SetTarnovelleLanguage.h"

namespace {

const char* const kArchiveConfiguration = "ArchiveConfiguration";
const char* const kErrorLog = "ErrorLog";
const char* const kExceptionCategory = "CTarnovelleException";

void LogThroughModule(const std::string& category, const std::string& text) {
    CTarnovelleModule::GetModule().LogError(category, text);
}

// The current time on the machine's wall clock as "%m/%d/%Y_%H:%M:%S".
std::string CurrentLocalTimeKey() {
    return CTNUTCTimeStamp::GetCurrentUTCTime().ToLocalTime().Format("%m/%d/%Y_%H:%M:%S");
}

// Reads a size setting; below zero it counts as absent and its default is
// written back at once.
int32_t ReadSizeSetting(const CTarnovelleModule& module, const char* key, int32_t defaultValue) {
    int32_t value = module.GetProfileInt(kArchiveConfiguration, key, -1);
    if (value < 0) {
        value = defaultValue;
        module.WriteProfileInt(kArchiveConfiguration, key, value);
    }
    return value;
}

// Builds the module object when the library is loaded, so it exists before
// any caller can reach the library.
// The lower layers' view of the module's size settings.
bool ReadModuleSetting(const std::string& key, int32_t& value) {
    const CTarnovelleModule& module = CTarnovelleModule::GetModule();
    if (key == "MininumArchiveSize") value = module.m_nMininumArchiveSize;
    else if (key == "MininumArchiveSizePerDevice") value = module.m_nMininumArchiveSizePerDevice;
    else return false;
    return true;
}

struct SLoadTimeStart {
    SLoadTimeStart() { CTarnovelleModule::GetModule(); }
} g_loadTimeStart;

}  // namespace

CTarnovelleModule& CTarnovelleModule::GetModule() {
    static CTarnovelleModule module;
    return module;
}

CTarnovelleModule::CTarnovelleModule() : m_profilePath(CTNProfile::GetDefaultPath()) {
    InitInstance();
    TNSetApplicationLog(&LogThroughModule);
    TNSetModuleSettings(&ReadModuleSetting);
}

CTarnovelleModule::~CTarnovelleModule() {
    // Whatever is torn down after the module logs nothing rather than
    // reaching a dead object.
    TNSetApplicationLog(nullptr);
    TNSetModuleSettings(nullptr);
}

bool CTarnovelleModule::InitInstance() {
    SetTarnovelleLanguage("");
    m_nMininumArchiveSize = ReadSizeSetting(*this, "MininumArchiveSize", 10);
    m_nMininumArchiveSizePerDevice = ReadSizeSetting(*this, "MininumArchiveSizePerDevice", 5);
    if (GetProfileInt(kErrorLog, kExceptionCategory, -1) < 0) WriteProfileInt(kErrorLog, kExceptionCategory, 1);
    return true;
}

void CTarnovelleModule::LogError(const std::string& category, const std::string& text) {
    int32_t enabled = GetProfileInt(kErrorLog, category, -1);
    if (enabled < 0) {
        WriteProfileInt(kErrorLog, category, 0);
        enabled = 0;
    }
    if (enabled == 0) return;

    char section[16 + 1];
    std::snprintf(section, sizeof(section), "%08lx", static_cast<unsigned long>(TNGetCurrentProcessId()));
    CTNProfile(GetLogFilePath()).WriteProfileString(std::string(section) + "_" + category, CurrentLocalTimeKey(),
                                                    text);
}

int32_t CTarnovelleModule::GetProfileInt(const std::string& section, const std::string& key,
                                         int32_t defaultValue) const {
    return CTNProfile(GetProfilePath()).GetProfileInt(section, key, defaultValue);
}

bool CTarnovelleModule::WriteProfileInt(const std::string& section, const std::string& key, int32_t value) const {
    return CTNProfile(GetProfilePath()).WriteProfileInt(section, key, value);
}

std::string CTarnovelleModule::GetProfileString(const std::string& section, const std::string& key,
                                                const std::string& defaultValue) const {
    return CTNProfile(GetProfilePath()).GetProfileString(section, key, defaultValue);
}

bool CTarnovelleModule::WriteProfileString(const std::string& section, const std::string& key,
                                           const std::string& value) const {
    return CTNProfile(GetProfilePath()).WriteProfileString(section, key, value);
}

std::string CTarnovelleModule::GetProfilePath() const {
    std::lock_guard<std::mutex> lock(m_pathMutex);
    return m_profilePath;
}

std::string CTarnovelleModule::GetLogFilePath() const {
    return CTNProfile::ReplaceExtension(GetProfilePath(), ".Log");
}

void CTarnovelleModule::SetProfilePath(const std::string& iniPath) {
    {
        std::lock_guard<std::mutex> lock(m_pathMutex);
        m_profilePath = iniPath.empty() ? CTNProfile::GetDefaultPath() : iniPath;
    }
    InitInstance();
}

void SetTarnovelleProfilePath(const char* iniPath) {
    CTarnovelleModule::GetModule().SetProfilePath(iniPath ? iniPath : "");
}
