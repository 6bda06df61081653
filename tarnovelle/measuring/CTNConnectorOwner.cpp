#include "tarnovelle/measuring/CTNConnectorOwner.h"

CTNConnectorOwner::~CTNConnectorOwner() = default;
