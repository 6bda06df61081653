#include "tarnovelle/support/CArchive.h"

#include <istream>
#include <ostream>

namespace {

void PutBytes(std::ostream& out, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

bool GetBytes(std::istream& in, uint64_t& value, int bytes) {
    value = 0;
    for (int i = 0; i < bytes; ++i) {
        const int c = in.get();
        if (c == std::char_traits<char>::eof()) return false;
        value |= static_cast<uint64_t>(static_cast<unsigned char>(c)) << (8 * i);
    }
    return true;
}

}  // namespace

bool CArchive::Good() const { return !m_stream.fail(); }

CArchive& CArchive::operator<<(const std::string& text) {
    const uint64_t length = text.size();
    if (length < 0xFF) {
        PutBytes(m_stream, length, 1);
    } else if (length < 0xFFFF) {
        PutBytes(m_stream, 0xFF, 1);
        PutBytes(m_stream, length, 2);
    } else {
        PutBytes(m_stream, 0xFF, 1);
        PutBytes(m_stream, 0xFFFF, 2);
        PutBytes(m_stream, length, 4);
    }
    m_stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    return *this;
}

CArchive& CArchive::operator>>(std::string& text) {
    text.clear();
    uint64_t length = 0;
    bool ok = GetBytes(m_stream, length, 1);
    if (ok && length == 0xFF) ok = GetBytes(m_stream, length, 2);
    if (ok && length == 0xFFFF) ok = GetBytes(m_stream, length, 4);
    if (!ok) {
        m_stream.setstate(std::ios::failbit);
        return *this;
    }
    // Read in pieces, so that a count the stream can't back costs nothing.
    char piece[4096];
    while (length > 0) {
        const std::streamsize want = static_cast<std::streamsize>(length < sizeof(piece) ? length : sizeof(piece));
        m_stream.read(piece, want);
        if (m_stream.gcount() != want) {
            text.clear();
            m_stream.setstate(std::ios::failbit);
            return *this;
        }
        text.append(piece, static_cast<size_t>(want));
        length -= static_cast<uint64_t>(want);
    }
    return *this;
}
