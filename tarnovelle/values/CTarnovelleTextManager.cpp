#include "tarnovelle/values/CTarnovelleTextManager.h"

#include <atomic>

namespace {

// Null: the library's own table. Read on every text, so an atomic rather
// than a lock.
std::atomic<const STNStringTable*> g_languageModule{nullptr};

}  // namespace

CTarnovelleTextManager::~CTarnovelleTextManager() = default;

const STNStringTable* CTarnovelleTextManager::GetLanguageModule() {
    return g_languageModule.load(std::memory_order_acquire);
}

void CTarnovelleTextManager::SetLanguageModule(const STNStringTable* module) {
    g_languageModule.store(module, std::memory_order_release);
}

const STNStringTable& CTarnovelleTextManager::CurrentTable() {
    const STNStringTable* module = GetLanguageModule();
    return module ? *module : STNStringTable::German();
}

std::string CTarnovelleTextManager::LoadString(uint16_t id) {
    const char* text = CurrentTable().Find(id);
    return text ? std::string(text) : std::string();
}
