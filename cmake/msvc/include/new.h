// <new.h> of Microsoft's C runtime: the C++ allocation declarations and the
// new-handler, which each module keeps for itself (cmake/msvc/startup).
#pragma once
#include <vcruntime_new.h>

#ifdef __cplusplus
namespace std {
typedef void(__cdecl* new_handler)();
new_handler __cdecl set_new_handler(new_handler handler) noexcept;
new_handler __cdecl get_new_handler() noexcept;
}  // namespace std
#endif
