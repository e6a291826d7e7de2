// Fiber-local storage (FlsAlloc and its kin), declared by Wine's <winbase.h>.
#pragma once
#include <windows.h>
