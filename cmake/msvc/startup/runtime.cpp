// The C++ pieces of Microsoft's static runtime library that every module
// carries: the allocation functions, the new-handler,
// type_info's destructor and virtual table, and the list of names that
// type_info::name() undecorated for this module.
#include <malloc.h>
#include <stdlib.h>

#include <atomic>
#include <new>
#include <typeinfo>

namespace std {
namespace {
atomic<new_handler> current_new_handler{nullptr};
}

new_handler set_new_handler(new_handler handler) noexcept {
    return current_new_handler.exchange(handler);
}
new_handler get_new_handler() noexcept { return current_new_handler.load(); }
}  // namespace std

namespace {

// Allocates size bytes (at least one), calling the new-handler while there is
// none to be had; null when there is no handler.
void* allocate(size_t size, size_t alignment) noexcept {
    if (size == 0) size = 1;
    for (;;) {
        void* block = alignment ? _aligned_malloc(size, alignment) : malloc(size);
        if (block) return block;
        std::new_handler handler = std::get_new_handler();
        if (!handler) return nullptr;
        handler();
    }
}

void* allocate_or_throw(size_t size, size_t alignment) {
    void* block = allocate(size, alignment);
    if (!block) throw std::bad_alloc();
    return block;
}

size_t alignment_of(std::align_val_t alignment) { return static_cast<size_t>(alignment); }

}  // namespace

void* operator new(size_t size) { return allocate_or_throw(size, 0); }
void* operator new[](size_t size) { return allocate_or_throw(size, 0); }
void* operator new(size_t size, std::nothrow_t const&) noexcept { return allocate(size, 0); }
void* operator new[](size_t size, std::nothrow_t const&) noexcept { return allocate(size, 0); }
void* operator new(size_t size, std::align_val_t alignment) {
    return allocate_or_throw(size, alignment_of(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment) {
    return allocate_or_throw(size, alignment_of(alignment));
}
void* operator new(size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept {
    return allocate(size, alignment_of(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept {
    return allocate(size, alignment_of(alignment));
}

void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, std::nothrow_t const&) noexcept { free(block); }
void operator delete[](void* block, std::nothrow_t const&) noexcept { free(block); }
void operator delete(void* block, size_t) noexcept { free(block); }
void operator delete[](void* block, size_t) noexcept { free(block); }
void operator delete(void* block, std::align_val_t) noexcept { _aligned_free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { _aligned_free(block); }
void operator delete(void* block, std::align_val_t, std::nothrow_t const&) noexcept {
    _aligned_free(block);
}
void operator delete[](void* block, std::align_val_t, std::nothrow_t const&) noexcept {
    _aligned_free(block);
}
void operator delete(void* block, size_t, std::align_val_t) noexcept { _aligned_free(block); }
void operator delete[](void* block, size_t, std::align_val_t) noexcept { _aligned_free(block); }

// The head of this module's list of undecorated names: an SLIST_HEADER, which
// the interlocked list functions require to be 16-byte aligned.
extern "C" {
struct alignas(16) __type_info_node {
    void* words[2];
};
__type_info_node __type_info_root_node{};
}

type_info::~type_info() noexcept {}

// The compiler's type descriptors point at type_info's virtual table, which
// a compiler emits only where it constructs a type_info, and no code does:
// the table is laid out here, its one entry the deleting destructor.
namespace {
void* __cdecl delete_type_info(type_info* self, unsigned flags) {
    self->type_info::~type_info();
    if (flags & 1) operator delete(self);
    return self;
}
}  // namespace

extern "C" void* const type_info_vftable[1] __asm__("??_7type_info@@6B@") = {
    reinterpret_cast<void*>(&delete_type_info)};
