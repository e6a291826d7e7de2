// type_info as the compiler lays out its type descriptors in Microsoft's ABI:
// a virtual table pointer, the undecorated name (filled in on first use) and
// the decorated name. Comparison, hashing and the readable name are
// vcruntime140.dll's; each module keeps the names it undecorated in its own
// list (__type_info_root_node), freed when the module ends.
#pragma once
#ifdef __cplusplus

#include <stddef.h>
#include <vcruntime_exception.h>

extern "C" {
struct __type_info_node;
extern __type_info_node __type_info_root_node;

struct __std_type_info_data {
    char const* _UndecoratedName;
    char const _DecoratedName[1];
};
int __cdecl __std_type_info_compare(__std_type_info_data const* left,
                                    __std_type_info_data const* right);
size_t __cdecl __std_type_info_hash(__std_type_info_data const* data);
char const* __cdecl __std_type_info_name(__std_type_info_data* data, __type_info_node* root);
}

class type_info {
  public:
    type_info(type_info const&) = delete;
    type_info& operator=(type_info const&) = delete;

    size_t hash_code() const noexcept { return __std_type_info_hash(&_Data); }
    bool operator==(type_info const& other) const noexcept {
        return __std_type_info_compare(&_Data, &other._Data) == 0;
    }
    bool operator!=(type_info const& other) const noexcept {
        return __std_type_info_compare(&_Data, &other._Data) != 0;
    }
    bool before(type_info const& other) const noexcept {
        return __std_type_info_compare(&_Data, &other._Data) < 0;
    }
    char const* name() const noexcept {
        return __std_type_info_name(&_Data, &__type_info_root_node);
    }
    char const* raw_name() const noexcept { return _Data._DecoratedName; }

    virtual ~type_info() noexcept;

  private:
    mutable __std_type_info_data _Data;
};

namespace std {

using ::type_info;

class bad_cast : public exception {
  public:
    bad_cast() noexcept : exception("bad cast", 1) {}
    static bad_cast __construct_from_string_literal(char const* message) noexcept {
        return bad_cast(message, 1);
    }

  private:
    bad_cast(char const* message, int) noexcept : exception(message, 1) {}
};

class bad_typeid : public exception {
  public:
    bad_typeid() noexcept : exception("bad typeid", 1) {}
    static bad_typeid __construct_from_string_literal(char const* message) noexcept {
        return bad_typeid(message, 1);
    }

  private:
    friend class __non_rtti_object;
    bad_typeid(char const* message, int) noexcept : exception(message, 1) {}
};

class __non_rtti_object : public bad_typeid {
  public:
    static __non_rtti_object __construct_from_string_literal(char const* message) noexcept {
        return __non_rtti_object(message, 1);
    }

  private:
    __non_rtti_object(char const* message, int) noexcept : bad_typeid(message, 1) {}
};

}  // namespace std

#endif
