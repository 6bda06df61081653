// What a parameter set needs of the history it stands in: the set valid at a
// time. A measuring point is such a history; the set keeps a plain pointer to
// it and never owns it.
#pragma once

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"

class CTarnovelleParameterSet;

class TNVL_EXPORT CTNParameterHistory {
public:
    virtual ~CTNParameterHistory();

    // The set valid at `time`: a view of the history's entry with that entry's
    // own time of validity, or the invalid handle when `time` lies before the
    // history.
    virtual CTarnovelleParameterSet GetParameterSet(const CTNUTCTimeStamp& time) = 0;
};
