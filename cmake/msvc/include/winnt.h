// Wine's <winnt.h> defines InterlockedCompareExchange128 as an inline function
// named after the compiler's builtin _InterlockedCompareExchange128, which
// clang refuses to see redefined: the inline function gets a name of its own.
#pragma once
#define _InterlockedCompareExchange128 wine_InterlockedCompareExchange128
#include_next <winnt.h>
#undef _InterlockedCompareExchange128
