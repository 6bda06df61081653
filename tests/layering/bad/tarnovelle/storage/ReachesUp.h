// A planted fault for the layer check's own test: storage must not see the archive.
#pragma once
#include "tarnovelle/archive/CTarnovelleArchive.h"
