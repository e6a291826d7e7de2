// std::exception and the allocation failures in the layout vcruntime140.dll
// uses: a virtual table pointer, then the message and whether the exception
// owns a copy of it. Exceptions thrown by any module of the process (the
// library, its client, the C++ runtime) are caught by these types.
#pragma once
#include <vcruntime.h>
#ifdef __cplusplus

extern "C" {
struct __std_exception_data {
    char const* _What;
    bool _DoFree;
};
// Copies the message (a copy the exception owns when _DoFree is set) and
// frees an owned one; both in vcruntime140.dll.
void __cdecl __std_exception_copy(__std_exception_data const* from, __std_exception_data* to);
void __cdecl __std_exception_destroy(__std_exception_data* data);
}

namespace std {

class exception {
  public:
    exception() noexcept : _Data() {}
    explicit exception(char const* message) noexcept : _Data() {
        __std_exception_data const owned = {message, true};
        __std_exception_copy(&owned, &_Data);
    }
    // A message the exception refers to without copying (a literal).
    exception(char const* message, int) noexcept : _Data() { _Data._What = message; }
    exception(exception const& other) noexcept : _Data() {
        __std_exception_copy(&other._Data, &_Data);
    }
    exception& operator=(exception const& other) noexcept {
        if (this != &other) {
            __std_exception_destroy(&_Data);
            __std_exception_copy(&other._Data, &_Data);
        }
        return *this;
    }
    virtual ~exception() noexcept { __std_exception_destroy(&_Data); }
    virtual char const* what() const { return _Data._What ? _Data._What : "Unknown exception"; }

  private:
    __std_exception_data _Data;
};

class bad_exception : public exception {
  public:
    bad_exception() noexcept : exception("bad exception", 1) {}
};

class bad_alloc : public exception {
  public:
    bad_alloc() noexcept : exception("bad allocation", 1) {}

  private:
    friend class bad_array_new_length;
    bad_alloc(char const* message) noexcept : exception(message, 1) {}
};

class bad_array_new_length : public bad_alloc {
  public:
    bad_array_new_length() noexcept : bad_alloc("bad array new length") {}
};

}  // namespace std

#endif
