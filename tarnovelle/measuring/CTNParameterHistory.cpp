#include "tarnovelle/measuring/CTNParameterHistory.h"

CTNParameterHistory::~CTNParameterHistory() = default;
