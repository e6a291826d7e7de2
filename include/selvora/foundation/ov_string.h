// OvString: the library's own owned, NUL-terminated single-byte string.
#pragma once

#include "selvora/export.h"

// The text lives in a heap block from the C heap. Every string starts with a
// zeroed 100-byte block; the block only ever grows. The length is never
// stored: it is strlen of the buffer, so an embedded NUL ends the text.
class SELVORA_API OvString {
  public:
    OvString();
    OvString(const char* s);
    OvString(const OvString& s);
    ~OvString();

    void Init();              // a fresh zeroed 100-byte buffer; only constructors call it
    void AllocBuffer(int n);  // grow the buffer to exactly n bytes (100 when n < 1), never shrink
    void ConcatCopy(int len1, const char* s1, int len2, const char* s2);

    int GetLength() const;
    int GetAllocLength() const { return m_nAllocLength; }
    int IsEmpty() const;
    void Empty();  // keeps the buffer and its size

    unsigned char GetAt(int i) const;  // 0 outside the buffer
    unsigned char operator[](int i) const;
    unsigned char& operator[](int i);    // no check against the text's length
    void SetAt(int i, unsigned char c);  // ignored outside the buffer
    operator const char*() const { return m_pchData; }

    const OvString& operator=(const OvString& s);
    const OvString& operator=(unsigned char c);
    const OvString& operator=(const char* s);
    const OvString& operator+=(const OvString& s);
    const OvString& operator+=(unsigned char c);
    const OvString& operator+=(const char* s);

    int Compare(const char* s) const;  // -1, 0 or 1, bytes taken as unsigned
    int CompareNoCase(const char* s) const;
    void MakeUpper();
    void MakeLower();

    // Index of the first c at or after start, or -1. Searching for the NUL
    // character finds the terminator.
    int Find(unsigned char c, int start = 0) const;
    // Index of the first occurrence of s at or after start, or -1. Unlike the
    // character form, a search may start at the terminator itself.
    int Find(const char* s, int start = 0) const;

    OvString Mid(int first, int count) const;
    OvString Left(int n) const;
    OvString Right(int n) const;

    // printf-style formatting through the process-wide 16385-byte buffer; at
    // most 16384 characters are written.
    void Format(const char* fmt, ...) SELVORA_PRINTF(2, 3);

  private:
    bool Overlaps(const char* p, int n) const;  // whether [p, p + n) lies in this buffer

    char* m_pchData;
    int m_nAllocLength;
};

SELVORA_API OvString operator+(const OvString& a, const OvString& b);
SELVORA_API OvString operator+(const OvString& a, unsigned char c);
SELVORA_API OvString operator+(unsigned char c, const OvString& a);
SELVORA_API OvString operator+(const OvString& a, const char* s);
SELVORA_API OvString operator+(const char* s, const OvString& a);

// Equality takes a null pointer and the empty text as the same value.
SELVORA_API int operator==(const OvString& a, const OvString& b);
SELVORA_API int operator==(const OvString& a, const char* b);
SELVORA_API int operator==(const char* a, const OvString& b);
SELVORA_API int operator!=(const OvString& a, const OvString& b);
SELVORA_API int operator!=(const OvString& a, const char* b);
SELVORA_API int operator!=(const char* a, const OvString& b);

// Ordering compares unsigned bytes; a null pointer sorts before every text,
// the empty text included.
SELVORA_API int operator<(const OvString& a, const OvString& b);
SELVORA_API int operator<(const OvString& a, const char* b);
SELVORA_API int operator<(const char* a, const OvString& b);
SELVORA_API int operator>(const OvString& a, const OvString& b);
SELVORA_API int operator>(const OvString& a, const char* b);
SELVORA_API int operator>(const char* a, const OvString& b);
SELVORA_API int operator<=(const OvString& a, const OvString& b);
SELVORA_API int operator<=(const OvString& a, const char* b);
SELVORA_API int operator<=(const char* a, const OvString& b);
SELVORA_API int operator>=(const OvString& a, const OvString& b);
SELVORA_API int operator>=(const OvString& a, const char* b);
SELVORA_API int operator>=(const char* a, const OvString& b);
