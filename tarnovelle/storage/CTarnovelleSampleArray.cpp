#include "tarnovelle/storage/CTarnovelleSampleArray.h"

#include <utility>

#include "tarnovelle/storage/CTarnovelleSample.h"

CTarnovelleSampleArray::CTarnovelleSampleArray(CTarnovelleSampleArray&& other) noexcept
    : m_samples(std::move(other.m_samples)) {
    other.m_samples.clear();
}

CTarnovelleSampleArray& CTarnovelleSampleArray::operator=(CTarnovelleSampleArray&& other) noexcept {
    if (this != &other) {
        DeleteAll();
        m_samples = std::move(other.m_samples);
        other.m_samples.clear();
    }
    return *this;
}

CTarnovelleSampleArray::~CTarnovelleSampleArray() { DeleteAll(); }

void CTarnovelleSampleArray::DeleteAll() {
    for (CTarnovelleSample* sample : m_samples)
        delete sample;
    m_samples.clear();
}

CTarnovelleSample* CTarnovelleSampleArray::GetAt(int32_t index) const {
    if (index < 0 || index >= GetSize())
        return nullptr;
    return m_samples[static_cast<size_t>(index)];
}

void CTarnovelleSampleArray::SetAt(int32_t index, CTarnovelleSample* sample) {
    if (index < 0 || index >= GetSize())
        return;
    m_samples[static_cast<size_t>(index)] = sample;
}

int32_t CTarnovelleSampleArray::Add(CTarnovelleSample* sample) {
    m_samples.push_back(sample);
    return GetSize() - 1;
}

void CTarnovelleSampleArray::InsertAt(int32_t index, CTarnovelleSample* sample, int32_t count) {
    if (index < 0 || count <= 0)
        return;
    if (index > GetSize())
        m_samples.resize(static_cast<size_t>(index), nullptr);
    m_samples.insert(m_samples.begin() + index, static_cast<size_t>(count), sample);
}

void CTarnovelleSampleArray::RemoveAt(int32_t index, int32_t count) {
    if (index < 0 || count <= 0 || index >= GetSize())
        return;
    const int32_t available = GetSize() - index;
    const int32_t removed = count < available ? count : available;
    m_samples.erase(m_samples.begin() + index, m_samples.begin() + index + removed);
}
