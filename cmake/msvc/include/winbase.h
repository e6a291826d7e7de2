// Wine's <winbase.h>, with two differences from Microsoft's made good:
// - DeleteFile is a function-like macro, so that the DeleteFile field of
//   FILE_DISPOSITION_INFO keeps its name (Microsoft's header declares the
//   structure after the macro, Wine's before it);
// - CreateSymbolicLink's flag for users without the privilege.
#pragma once
#include_next <winbase.h>

#undef DeleteFile
#ifdef UNICODE
#define DeleteFile(name) DeleteFileW(name)
#else
#define DeleteFile(name) DeleteFileA(name)
#endif

#ifndef SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE
#define SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE 0x2
#endif
