// The stream an archive object is serialised to or from: a binary stream
// that knows its direction. A text goes as its byte count and its bytes, the
// count in the platform's own short form: one byte below 255; else 0xFF and
// two bytes below 0xFFFF; else 0xFF, 0xFFFF and four bytes; all little-endian.
// Failures of the stream below show through Good().
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CArchive {
public:
    enum EMode { load = 1, store = 2 };

    CArchive(std::iostream& stream, EMode mode) : m_stream(stream), m_mode(mode) {}
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsStoring() const { return m_mode == store; }
    bool IsLoading() const { return m_mode == load; }
    bool Good() const;

    CArchive& operator<<(const std::string& text);
    // A text whose count reaches beyond the stream's end reads as empty,
    // and Good() turns false; nothing is allocated beyond what arrived.
    CArchive& operator>>(std::string& text);

private:
    std::iostream& m_stream;
    EMode m_mode;
};
