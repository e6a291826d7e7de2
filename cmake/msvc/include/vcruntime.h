// The settings Microsoft's runtime headers start from: C++ exceptions on.
#pragma once
#ifndef _HAS_EXCEPTIONS
#define _HAS_EXCEPTIONS 1
#endif
