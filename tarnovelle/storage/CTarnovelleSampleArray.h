// The list of sample blocks that storing and reading pass around: a growable
// array of pointers to CTarnovelleSample that owns what it points to.
//
// Ownership:
//   - the destructor deletes every non-null sample and empties the array;
//   - Add, InsertAt and SetAt hand a sample to the array (null is allowed and
//     is a valid entry);
//   - RemoveAt and RemoveAll take pointers out WITHOUT deleting them: the
//     caller who removes a sample owns it from then on. SetAt likewise gives
//     the replaced pointer up without deleting it, so the usual way to take a
//     sample out of the array is `p = a[i]; a.SetAt(i, nullptr);`.
// Indexes are signed 32 bits. GetAt answers null for an index outside the
// array; SetAt, RemoveAt and InsertAt with a negative index, and SetAt and
// RemoveAt beyond the end, do nothing. InsertAt beyond the end grows the array
// with null entries up to the index. operator[] is unchecked, as for a plain
// array. The array cannot be copied (two owners), only moved.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tarnovelle/support/TNExport.h"

class CTarnovelleSample;

class TNVL_EXPORT CTarnovelleSampleArray {
public:
    using iterator = std::vector<CTarnovelleSample*>::iterator;
    using const_iterator = std::vector<CTarnovelleSample*>::const_iterator;

    CTarnovelleSampleArray() = default;
    CTarnovelleSampleArray(const CTarnovelleSampleArray&) = delete;
    CTarnovelleSampleArray& operator=(const CTarnovelleSampleArray&) = delete;
    CTarnovelleSampleArray(CTarnovelleSampleArray&& other) noexcept;
    CTarnovelleSampleArray& operator=(CTarnovelleSampleArray&& other) noexcept;
    virtual ~CTarnovelleSampleArray();

    int32_t GetSize() const { return static_cast<int32_t>(m_samples.size()); }
    bool IsEmpty() const { return m_samples.empty(); }

    CTarnovelleSample* GetAt(int32_t index) const;
    CTarnovelleSample*& operator[](int32_t index) { return m_samples[static_cast<size_t>(index)]; }
    CTarnovelleSample* operator[](int32_t index) const { return m_samples[static_cast<size_t>(index)]; }

    // Puts `sample` at `index`; the pointer that stood there is given up, not deleted.
    void SetAt(int32_t index, CTarnovelleSample* sample);
    // Appends `sample` and returns its index.
    int32_t Add(CTarnovelleSample* sample);
    // Inserts `count` copies of the pointer `sample` before `index` (null
    // entries fill a gap behind the end). More than one non-null copy would
    // make the array delete the sample twice, so callers insert a non-null
    // sample with count 1.
    void InsertAt(int32_t index, CTarnovelleSample* sample, int32_t count = 1);
    // Takes `count` pointers out from `index` on, without deleting them.
    void RemoveAt(int32_t index, int32_t count = 1);
    // Takes every pointer out, without deleting them.
    void RemoveAll() { m_samples.clear(); }

    iterator begin() { return m_samples.begin(); }
    iterator end() { return m_samples.end(); }
    const_iterator begin() const { return m_samples.begin(); }
    const_iterator end() const { return m_samples.end(); }

private:
    void DeleteAll();

    std::vector<CTarnovelleSample*> m_samples;
};
