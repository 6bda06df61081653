#include "tarnovelle/support/CTNNotifySink.h"

CTNNotifySink::~CTNNotifySink() = default;
