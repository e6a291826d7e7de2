#include "selvora/foundation/ov_string.h"

#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/crt_compat.h"
#include "foundation/format_buffer.h"

namespace {

constexpr int kInitialSize = 100;
constexpr int kFormatBufferSize = 16385;

bool NullOrEmpty(const char* s) { return s == nullptr || s[0] == '\0'; }

int Length(const char* s) { return s ? static_cast<int>(std::strlen(s)) : 0; }

// Unsigned byte comparison up to the first difference or the end of b; a null
// pointer sorts before every text, the empty text included.
int Order(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    while (*q != 0 && *p == *q) {
        ++p;
        ++q;
    }
    return (*p > *q) - (*p < *q);
}

int Equal(const char* a, const char* b) {
    if (NullOrEmpty(a) || NullOrEmpty(b)) return NullOrEmpty(a) && NullOrEmpty(b);
    return std::strcmp(a, b) == 0;
}

}  // namespace

// ---- construction and storage ----

OvString::OvString() {
    Init();
    if (m_pchData) m_pchData[0] = '\0';
}

OvString::OvString(const char* s) {
    Init();
    *this = s;
}

OvString::OvString(const OvString& s) {
    Init();
    *this = s;
}

OvString::~OvString() {
    std::free(m_pchData);
    m_pchData = nullptr;
    m_nAllocLength = 0;
}

void OvString::Init() {
    m_pchData = static_cast<char*>(std::calloc(1, kInitialSize));
    m_nAllocLength = m_pchData ? kInitialSize : 0;
}

void OvString::AllocBuffer(int n) {
    const int wanted = n < 1 ? kInitialSize : n;
    if (wanted <= m_nAllocLength) return;
    char* grown = static_cast<char*>(std::realloc(m_pchData, wanted));
    if (!grown) return;  // keep the old buffer rather than lose it
    // Bytes past the text are never read as text; clearing them keeps GetAt
    // deterministic.
    std::memset(grown + m_nAllocLength, 0, wanted - m_nAllocLength);
    m_pchData = grown;
    m_nAllocLength = wanted;
}

void OvString::ConcatCopy(int len1, const char* s1, int len2, const char* s2) {
    if (len1 < 0 || len2 < 0 || (len1 > 0 && !s1) || (len2 > 0 && !s2)) return;
    if (len1 > INT_MAX - 1 - len2) return;
    const int total = len1 + len2;
    if (total == 0) return;
    if (Overlaps(s1, len1) || Overlaps(s2, len2)) {
        // Pieces of this very string: join them in a copy first, so that
        // neither growing the buffer nor writing the first piece spoils them.
        OvString pieces;
        pieces.ConcatCopy(len1, s1, len2, s2);
        if (pieces.m_nAllocLength < total + 1) return;
        AllocBuffer(total + 1);
        if (m_nAllocLength >= total + 1) std::memcpy(m_pchData, pieces.m_pchData, total + 1);
        return;
    }
    AllocBuffer(total + 1);
    if (m_nAllocLength < total + 1) return;
    if (len1 > 0) std::memcpy(m_pchData, s1, len1);
    if (len2 > 0) std::memcpy(m_pchData + len1, s2, len2);
    m_pchData[total] = '\0';
}

bool OvString::Overlaps(const char* p, int n) const {
    if (!p || n <= 0 || !m_pchData) return false;
    const std::uintptr_t lo = reinterpret_cast<std::uintptr_t>(m_pchData);
    const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
    return a < lo + static_cast<std::uintptr_t>(m_nAllocLength) &&
           lo < a + static_cast<std::uintptr_t>(n);
}

// ---- length and characters ----

int OvString::GetLength() const { return Length(m_pchData); }

int OvString::IsEmpty() const { return GetLength() == 0; }

void OvString::Empty() {
    if (m_pchData) m_pchData[0] = '\0';
}

unsigned char OvString::GetAt(int i) const {
    return i >= 0 && i < m_nAllocLength ? static_cast<unsigned char>(m_pchData[i]) : 0;
}

unsigned char OvString::operator[](int i) const { return GetAt(i); }

unsigned char& OvString::operator[](int i) {
    if (i >= 0 && i < m_nAllocLength) return reinterpret_cast<unsigned char&>(m_pchData[i]);
    static thread_local unsigned char scratch;  // outside the buffer: nothing to refer to
    scratch = 0;
    return scratch;
}

void OvString::SetAt(int i, unsigned char c) {
    if (i >= 0 && i < m_nAllocLength) m_pchData[i] = static_cast<char>(c);
}

// ---- assignment and concatenation ----

const OvString& OvString::operator=(const OvString& s) { return *this = s.m_pchData; }

const OvString& OvString::operator=(unsigned char c) {
    AllocBuffer(2);
    if (m_nAllocLength >= 2) {
        m_pchData[0] = static_cast<char>(c);
        m_pchData[1] = '\0';
    }
    return *this;
}

const OvString& OvString::operator=(const char* s) {
    if (NullOrEmpty(s)) {
        Empty();
        return *this;
    }
    const int len = Length(s);
    // A text taken from this buffer fits it already, so it does not move.
    AllocBuffer(len + 1);
    if (m_nAllocLength >= len + 1) std::memmove(m_pchData, s, static_cast<size_t>(len) + 1);
    return *this;
}

const OvString& OvString::operator+=(const OvString& s) {
    OvString sum;
    sum.ConcatCopy(GetLength(), m_pchData, s.GetLength(), s.m_pchData);
    return *this = sum;
}

const OvString& OvString::operator+=(unsigned char c) { return *this = *this + c; }

const OvString& OvString::operator+=(const char* s) { return *this = *this + s; }

OvString operator+(const OvString& a, const OvString& b) {
    OvString sum;
    sum.ConcatCopy(a.GetLength(), a, b.GetLength(), b);
    return sum;
}

OvString operator+(const OvString& a, unsigned char c) {
    const char piece = static_cast<char>(c);
    OvString sum;
    sum.ConcatCopy(a.GetLength(), a, 1, &piece);
    return sum;
}

OvString operator+(unsigned char c, const OvString& a) {
    const char piece = static_cast<char>(c);
    OvString sum;
    sum.ConcatCopy(1, &piece, a.GetLength(), a);
    return sum;
}

OvString operator+(const OvString& a, const char* s) {
    OvString sum;
    sum.ConcatCopy(a.GetLength(), a, Length(s), s);
    return sum;
}

OvString operator+(const char* s, const OvString& a) {
    OvString sum;
    sum.ConcatCopy(Length(s), s, a.GetLength(), a);
    return sum;
}

// ---- comparison ----

int OvString::Compare(const char* s) const {
    if (!s || !m_pchData) return Order(m_pchData, s);
    const int d = std::strcmp(m_pchData, s);  // strcmp compares bytes as unsigned char
    return (d > 0) - (d < 0);
}

int OvString::CompareNoCase(const char* s) const {
    if (!s || !m_pchData) return Order(m_pchData, s);
    return selvora::_stricmp(m_pchData, s);
}

void OvString::MakeUpper() {
    if (m_pchData) selvora::_strupr(m_pchData);
}

void OvString::MakeLower() {
    if (m_pchData) selvora::_strlwr(m_pchData);
}

int operator==(const OvString& a, const OvString& b) { return Equal(a, b); }
int operator==(const OvString& a, const char* b) { return Equal(a, b); }
int operator==(const char* a, const OvString& b) { return Equal(a, b); }
int operator!=(const OvString& a, const OvString& b) { return !Equal(a, b); }
int operator!=(const OvString& a, const char* b) { return !Equal(a, b); }
int operator!=(const char* a, const OvString& b) { return !Equal(a, b); }

int operator<(const OvString& a, const OvString& b) { return Order(a, b) < 0; }
int operator<(const OvString& a, const char* b) { return Order(a, b) < 0; }
int operator<(const char* a, const OvString& b) { return Order(a, b) < 0; }
int operator>(const OvString& a, const OvString& b) { return Order(a, b) > 0; }
int operator>(const OvString& a, const char* b) { return Order(a, b) > 0; }
int operator>(const char* a, const OvString& b) { return Order(a, b) > 0; }
int operator<=(const OvString& a, const OvString& b) { return Order(a, b) <= 0; }
int operator<=(const OvString& a, const char* b) { return Order(a, b) <= 0; }
int operator<=(const char* a, const OvString& b) { return Order(a, b) <= 0; }
int operator>=(const OvString& a, const OvString& b) { return Order(a, b) >= 0; }
int operator>=(const OvString& a, const char* b) { return Order(a, b) >= 0; }
int operator>=(const char* a, const OvString& b) { return Order(a, b) >= 0; }

// ---- searching and cutting ----

int OvString::Find(unsigned char c, int start) const {
    if (start < 0 || start >= GetLength()) return -1;
    const char* hit = std::strchr(m_pchData + start, c);
    return hit ? static_cast<int>(hit - m_pchData) : -1;
}

int OvString::Find(const char* s, int start) const {
    if (!s || !m_pchData || start < 0 || start > GetLength()) return -1;
    const char* hit = std::strstr(m_pchData + start, s);
    return hit ? static_cast<int>(hit - m_pchData) : -1;
}

OvString OvString::Mid(int first, int count) const {
    if (first < 0) first = 0;
    if (count < 0) count = 0;
    const int length = GetLength();
    if (static_cast<long long>(length) < static_cast<long long>(first) + count) {
        count = length - first;
    }
    if (first > length) count = 0;
    OvString result;
    if (count < 1) return result;
    result.ConcatCopy(count, m_pchData + first, 0, nullptr);
    return result;
}

OvString OvString::Left(int n) const {
    if (n < 0) n = 0;
    if (n >= GetLength()) return *this;
    OvString part;
    part.ConcatCopy(n, m_pchData, 0, nullptr);
    return part;
}

OvString OvString::Right(int n) const {
    if (n < 0) n = 0;
    const int length = GetLength();
    if (n >= length) return *this;
    OvString part;
    part.ConcatCopy(n, m_pchData + (length - n), 0, nullptr);
    return part;
}

void OvString::Format(const char* fmt, ...) {
    if (!fmt) return;
    OvString& buffer = selvora::FormatBuffer();
    buffer.AllocBuffer(kFormatBufferSize);
    if (buffer.m_nAllocLength < kFormatBufferSize) return;
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(buffer.m_pchData, kFormatBufferSize, fmt, args);
    va_end(args);
    *this = buffer;
}
