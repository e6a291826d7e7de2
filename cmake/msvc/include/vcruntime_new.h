// The allocation functions and their tags as Microsoft's ABI declares them;
// the start-up library (cmake/msvc/startup) defines them in every module.
#pragma once
#include <vcruntime.h>
#ifdef __cplusplus

#include <stddef.h>

namespace std {
struct nothrow_t {
    explicit nothrow_t() = default;
};
extern nothrow_t const nothrow;
enum class align_val_t : size_t {};
}  // namespace std

[[nodiscard]] void* __cdecl operator new(size_t size);
[[nodiscard]] void* __cdecl operator new(size_t size, std::nothrow_t const&) noexcept;
[[nodiscard]] void* __cdecl operator new[](size_t size);
[[nodiscard]] void* __cdecl operator new[](size_t size, std::nothrow_t const&) noexcept;
[[nodiscard]] void* __cdecl operator new(size_t size, std::align_val_t alignment);
[[nodiscard]] void* __cdecl operator new(size_t size, std::align_val_t alignment,
                                         std::nothrow_t const&) noexcept;
[[nodiscard]] void* __cdecl operator new[](size_t size, std::align_val_t alignment);
[[nodiscard]] void* __cdecl operator new[](size_t size, std::align_val_t alignment,
                                           std::nothrow_t const&) noexcept;
void __cdecl operator delete(void* block) noexcept;
void __cdecl operator delete(void* block, std::nothrow_t const&) noexcept;
void __cdecl operator delete[](void* block) noexcept;
void __cdecl operator delete[](void* block, std::nothrow_t const&) noexcept;
void __cdecl operator delete(void* block, size_t size) noexcept;
void __cdecl operator delete[](void* block, size_t size) noexcept;
void __cdecl operator delete(void* block, std::align_val_t alignment) noexcept;
void __cdecl operator delete(void* block, std::align_val_t alignment,
                             std::nothrow_t const&) noexcept;
void __cdecl operator delete[](void* block, std::align_val_t alignment) noexcept;
void __cdecl operator delete[](void* block, std::align_val_t alignment,
                               std::nothrow_t const&) noexcept;
void __cdecl operator delete(void* block, size_t size, std::align_val_t alignment) noexcept;
void __cdecl operator delete[](void* block, size_t size, std::align_val_t alignment) noexcept;

[[nodiscard]] inline void* __cdecl operator new(size_t, void* where) noexcept { return where; }
[[nodiscard]] inline void* __cdecl operator new[](size_t, void* where) noexcept { return where; }
inline void __cdecl operator delete(void*, void*) noexcept {}
inline void __cdecl operator delete[](void*, void*) noexcept {}

#endif
