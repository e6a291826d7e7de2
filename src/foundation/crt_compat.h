// Byte-wise, C-locale versions of the C runtime's case helpers that Linux lacks.
#pragma once

namespace selvora {

// Compares as lowercase unsigned bytes; returns their difference at the first mismatch.
int _stricmp(const char* a, const char* b);
char* _strupr(char* s);
char* _strlwr(char* s);

}  // namespace selvora
