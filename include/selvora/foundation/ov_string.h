/// \file
/// OvString: the library's own owned, NUL-terminated single-byte string.
#pragma once

#include "selvora/export.h"

/// The library's own owned, NUL-terminated single-byte string.
///
/// The text lives in a heap block from the C heap. Every string starts with a
/// zeroed 100-byte block; the block only ever grows. The length is never
/// stored: it is strlen of the buffer, so an embedded NUL ends the text. When
/// the heap refuses a larger block, the operation that needed it leaves the
/// string as it was.
class SELVORA_API OvString {
  public:
    /// The empty string.
    OvString();
    /// A copy of \p s; a null pointer gives the empty string.
    OvString(const char* s);
    /// A copy of the text of \p s, in a buffer of its own.
    OvString(const OvString& s);
    /// Frees the buffer.
    ~OvString();

    /// A fresh zeroed 100-byte buffer; only constructors call it (a buffer held
    /// before is not freed).
    void Init();
    /// Grows the buffer to exactly n bytes (100 when n < 1), never shrinks it.
    /// The new bytes are zeroed; when the heap refuses, the old buffer stays.
    void AllocBuffer(int n);
    /// Replaces the text with the first \p len1 bytes of \p s1 followed by the
    /// first \p len2 bytes of \p s2; either piece may lie in this string's own
    /// buffer. Nothing changes when a length is negative, a piece with a
    /// positive length has a null pointer, or both lengths are 0.
    void ConcatCopy(int len1, const char* s1, int len2, const char* s2);

    /// Length of the text: strlen of the buffer.
    int GetLength() const;
    /// Size of the buffer in bytes.
    int GetAllocLength() const { return m_nAllocLength; }
    /// 1 when the text is empty, else 0.
    int IsEmpty() const;
    /// Makes the text empty; keeps the buffer and its size.
    void Empty();

    /// Byte \p i of the buffer, which past the terminator may hold what earlier
    /// text left there; 0 outside the buffer.
    unsigned char GetAt(int i) const;
    /// GetAt(i).
    unsigned char operator[](int i) const;
    /// Byte \p i of the buffer by reference, with no check against the text's
    /// length. Outside the buffer it refers to a per-thread scratch byte that
    /// reads 0 and forgets what is written to it.
    unsigned char& operator[](int i);
    /// Writes byte \p i of the buffer; ignored outside the buffer. Writing a
    /// NUL inside the text shortens it.
    void SetAt(int i, unsigned char c);
    /// The buffer: valid until the string grows or is destroyed.
    operator const char*() const { return m_pchData; }

    /// Copies the text of \p s.
    const OvString& operator=(const OvString& s);
    /// The text of the single character \p c (the empty text for NUL).
    const OvString& operator=(unsigned char c);
    /// Copies \p s, which may point into this very buffer; null gives the
    /// empty text.
    const OvString& operator=(const char* s);
    /// Appends the text of \p s.
    const OvString& operator+=(const OvString& s);
    /// Appends the character \p c.
    const OvString& operator+=(unsigned char c);
    /// Appends \p s; null appends nothing.
    const OvString& operator+=(const char* s);

    /// -1, 0 or 1 as the text sorts before, equal to or after \p s, bytes taken
    /// as unsigned; a null \p s sorts first (1).
    int Compare(const char* s) const;
    /// Compares with ASCII letters folded to lower case (the C locale): the
    /// difference of the first pair of folded bytes that differ, or 0. A null
    /// \p s sorts first (1).
    int CompareNoCase(const char* s) const;
    /// Turns the ASCII letters a-z to upper case; other bytes stay.
    void MakeUpper();
    /// Turns the ASCII letters A-Z to lower case; other bytes stay.
    void MakeLower();

    /// Index of the first c at or after start, or -1 (also when start is
    /// negative or not below the length). Searching for the NUL character
    /// finds the terminator.
    int Find(unsigned char c, int start = 0) const;
    /// Index of the first occurrence of s at or after start, or -1 (also for a
    /// null \p s, a negative start or one past the length). Unlike the
    /// character form, a search may start at the terminator itself.
    int Find(const char* s, int start = 0) const;

    /// Up to \p count characters from index \p first; negative arguments count
    /// as 0, and a range past the end is cut at the end.
    OvString Mid(int first, int count) const;
    /// The first \p n characters (the whole text when n is at least the length;
    /// a negative n counts as 0).
    OvString Left(int n) const;
    /// The last \p n characters (the whole text when n is at least the length;
    /// a negative n counts as 0).
    OvString Right(int n) const;

    /// printf-style formatting through the process-wide 16385-byte buffer; at
    /// most 16384 characters are written. A null \p fmt does nothing. As that
    /// buffer is shared, Format must not run in two threads at once.
    void Format(const char* fmt, ...) SELVORA_PRINTF(2, 3);

  private:
    bool Overlaps(const char* p, int n) const;  ///< whether [p, p + n) lies in this buffer

    char* m_pchData;
    int m_nAllocLength;
};

/// A new string: \p a followed by \p b.
SELVORA_API OvString operator+(const OvString& a, const OvString& b);
/// A new string: \p a followed by the character \p c.
SELVORA_API OvString operator+(const OvString& a, unsigned char c);
/// A new string: the character \p c followed by \p a.
SELVORA_API OvString operator+(unsigned char c, const OvString& a);
/// A new string: \p a followed by \p s (null counts as empty).
SELVORA_API OvString operator+(const OvString& a, const char* s);
/// A new string: \p s (null counts as empty) followed by \p a.
SELVORA_API OvString operator+(const char* s, const OvString& a);

/// 1 when the texts are equal, else 0. Equality takes a null pointer and the
/// empty text as the same value.
///@{
SELVORA_API int operator==(const OvString& a, const OvString& b);
SELVORA_API int operator==(const OvString& a, const char* b);
SELVORA_API int operator==(const char* a, const OvString& b);
///@}
/// 1 when the texts differ, else 0. A null pointer and the empty text count as
/// the same value.
///@{
SELVORA_API int operator!=(const OvString& a, const OvString& b);
SELVORA_API int operator!=(const OvString& a, const char* b);
SELVORA_API int operator!=(const char* a, const OvString& b);
///@}

/// 1 when \p a sorts before \p b, else 0. Ordering compares unsigned bytes; a
/// null pointer sorts before every text, the empty text included.
///@{
SELVORA_API int operator<(const OvString& a, const OvString& b);
SELVORA_API int operator<(const OvString& a, const char* b);
SELVORA_API int operator<(const char* a, const OvString& b);
///@}
/// 1 when \p a sorts after \p b, else 0. Ordering compares unsigned bytes; a
/// null pointer sorts before every text, the empty text included.
///@{
SELVORA_API int operator>(const OvString& a, const OvString& b);
SELVORA_API int operator>(const OvString& a, const char* b);
SELVORA_API int operator>(const char* a, const OvString& b);
///@}
/// 1 when \p a sorts before \p b or equals it, else 0. Ordering compares
/// unsigned bytes; a null pointer sorts before every text, the empty text
/// included.
///@{
SELVORA_API int operator<=(const OvString& a, const OvString& b);
SELVORA_API int operator<=(const OvString& a, const char* b);
SELVORA_API int operator<=(const char* a, const OvString& b);
///@}
/// 1 when \p a sorts after \p b or equals it, else 0. Ordering compares
/// unsigned bytes; a null pointer sorts before every text, the empty text
/// included.
///@{
SELVORA_API int operator>=(const OvString& a, const OvString& b);
SELVORA_API int operator>=(const OvString& a, const char* b);
SELVORA_API int operator>=(const char* a, const OvString& b);
///@}
