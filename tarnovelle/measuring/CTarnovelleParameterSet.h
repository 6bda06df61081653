// A set of named, typed parameter values per channel, valid from a time on,
// and the handle through which every reader and writer of a measuring point's
// parameters goes.
//
// A set either owns its ChannelMap (a set made by CreateParameterSet, a copy
// of an owning set, an assigned set) or is a view of a map that a measuring
// point keeps (a set from the history). A view must not outlive the map
// behind it. The set is valid exactly when it has a map.
//
// Copies: the copy constructor copies an owning set deeply but makes a second
// view of a view; assignment always copies the values deeply into a map of the
// assigned set's own.
//
// Values are kept as text wrapped in a tag naming their type:
//   uint32_t        <DWORD>%d</DWORD>        (signed, so 4294967295 is -1)
//   double          <DOUBLE>%lf</DOUBLE>     (six decimals)
//   string          <STRING>text</STRING>
//   CTNUTCTimeStamp <TIMESTAMP>Format()</TIMESTAMP>
//   CTNMSecTimeSpan <TIMESPAN>Format()</TIMESPAN>
// Nothing is escaped. A value read through the form of another type is not
// found; an empty text between the tags, and an empty stored value, read as
// missing. GetParameter falls back along the history: a value missing here is
// asked of the set valid one second before this set's time, and so on to the
// oldest set; a set without a history or without a valid time does not fall
// back. GetParameter gives TNE_OK or TNE_NO_OBJECT and leaves its argument
// alone on failure. Names are case-sensitive. No locking.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/measuring/ChannelMap.h"
#include "tarnovelle/measuring/CTNParameterHistory.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNMSecTimeSpan.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/SChannelID.h"

class TNVL_EXPORT CTarnovelleParameterSet {
public:
    // A view of `map` (an invalid handle for a null map) in the history
    // `measuringPoint` (may be null), valid from `timeOfValidity` on.
    CTarnovelleParameterSet(::ChannelMap* map, CTNParameterHistory* measuringPoint,
                            const CTNUTCTimeStamp& timeOfValidity);
    CTarnovelleParameterSet(const CTarnovelleParameterSet& other);
    CTarnovelleParameterSet& operator=(const CTarnovelleParameterSet& other);
    virtual ~CTarnovelleParameterSet();

    // Replaces this set's values by a deep copy of `other`'s, in a map this
    // set owns; an invalid `other` leaves this set invalid. The history and
    // the time of validity stay as they are.
    void CopyContents(const CTarnovelleParameterSet& other);

    // A set with no map, no history and the invalid time.
    static CTarnovelleParameterSet GetInvalidHandle();
    // An empty, valid, owning set to be filled.
    static CTarnovelleParameterSet CreateParameterSet();

    bool IsValid() const { return ChannelMap != nullptr; }
    CTNUTCTimeStamp GetTimeOfValidity() const { return TimeOfValidity; }
    void SetTimeOfValidity(const CTNUTCTimeStamp& time) { TimeOfValidity = time; }
    // The values themselves (null for an invalid set), for those who store or
    // show the whole set.
    const ::ChannelMap* GetChannelMap() const { return ChannelMap; }

    // Measuring-point-wide values stand under channel 0. A set without a map
    // gives TNE_FAILED.
    ETarnovelleErrors SetParameter(const std::string& name, uint32_t value);
    ETarnovelleErrors SetParameter(const std::string& name, double value);
    ETarnovelleErrors SetParameter(const std::string& name, const std::string& value);
    ETarnovelleErrors SetParameter(const std::string& name, const CTNUTCTimeStamp& value);
    ETarnovelleErrors SetParameter(const std::string& name, const CTNMSecTimeSpan& value);
    ETarnovelleErrors SetParameter(const SChannelID& channel, const std::string& name, uint32_t value);
    ETarnovelleErrors SetParameter(const SChannelID& channel, const std::string& name, double value);
    ETarnovelleErrors SetParameter(const SChannelID& channel, const std::string& name, const std::string& value);
    ETarnovelleErrors SetParameter(const SChannelID& channel, const std::string& name, const CTNUTCTimeStamp& value);
    ETarnovelleErrors SetParameter(const SChannelID& channel, const std::string& name, const CTNMSecTimeSpan& value);

    ETarnovelleErrors GetParameter(const std::string& name, uint32_t& value);
    ETarnovelleErrors GetParameter(const std::string& name, double& value);
    ETarnovelleErrors GetParameter(const std::string& name, std::string& value);
    ETarnovelleErrors GetParameter(const std::string& name, CTNUTCTimeStamp& value);
    ETarnovelleErrors GetParameter(const std::string& name, CTNMSecTimeSpan& value);
    ETarnovelleErrors GetParameter(const SChannelID& channel, const std::string& name, uint32_t& value);
    ETarnovelleErrors GetParameter(const SChannelID& channel, const std::string& name, double& value);
    ETarnovelleErrors GetParameter(const SChannelID& channel, const std::string& name, std::string& value);
    ETarnovelleErrors GetParameter(const SChannelID& channel, const std::string& name, CTNUTCTimeStamp& value);
    ETarnovelleErrors GetParameter(const SChannelID& channel, const std::string& name, CTNMSecTimeSpan& value);

    // The set a history has to store when `next` follows `previous`: only the
    // values of `next` that `previous` (with its history) does not already
    // give with the same wrapped text. Owned by the caller.
    static CTarnovelleParameterSet* CreateNewParameterSetWithOnlyChangedValues(CTarnovelleParameterSet& previous,
                                                                               CTarnovelleParameterSet& next);
    // Stores every value of `source` into `target`, overwriting values of the
    // same name; nothing happens if either set is invalid.
    static void Merge(CTarnovelleParameterSet& target, CTarnovelleParameterSet& source);

protected:
    // The history keeps the maps of the sets it enters and stores the values
    // it reads from its file without the type forms.
    friend class CTarnovelleMeasuringPoint;

    // An empty, valid, owning set.
    CTarnovelleParameterSet();

    // Drops an owned map and becomes a view of `map`.
    void Init(::ChannelMap* map, CTNParameterHistory* measuringPoint, const CTNUTCTimeStamp& timeOfValidity);
    // Removes every channel of the map; the map itself stays.
    void Clear();

    ETarnovelleErrors SetParameterInternal(const SChannelID& channel, const std::string& name,
                                           const std::string& wrapped);
    ETarnovelleErrors GetParameterInternal(const SChannelID& channel, const std::string& name,
                                           std::string& wrapped);

    // The channel's string map, made if missing (null only for a null map).
    static ::ChannelMap::StringMap* CreateParameterMap(::ChannelMap* map, const SChannelID& channel);
    // The channel's string map or null; a null map gives null.
    static ::ChannelMap::StringMap* FindParameterMap(::ChannelMap* map, const SChannelID& channel);

    bool OwnsChannelMap;
    ::ChannelMap* ChannelMap;
    CTNParameterHistory* MeasuringPoint;
    CTNUTCTimeStamp TimeOfValidity;

private:
    ETarnovelleErrors GetText(const SChannelID& channel, const std::string& name, const char* openTag,
                              const char* closeTag, std::string& text);
};
