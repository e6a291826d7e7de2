/// \file
/// CArray: the small caller-side container that Line::ProjectedUnion reads.
#pragma once

#include <stdexcept>
#include <vector>

/// A growable array of TYPE passed as ARG_TYPE, with the members client code
/// uses. GetAt checks its index and throws std::invalid_argument when it is bad.
///
/// Header-only: the library never exports or allocates one; the caller owns it
/// and its elements (for a CArray of pointers, what they point to as well).
template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray {
  public:
    /// Number of elements.
    int GetSize() const { return static_cast<int>(items_.size()); }
    /// The same as GetSize().
    int GetCount() const { return GetSize(); }
    /// A copy of element \p i; throws std::invalid_argument unless 0 <= i < GetSize().
    TYPE GetAt(int i) const {
        if (i < 0 || i >= GetSize()) throw std::invalid_argument("CArray index out of range");
        return items_[i];
    }
    /// Appends \p item and returns its index.
    int Add(ARG_TYPE item) {
        items_.push_back(item);
        return GetSize() - 1;
    }
    /// Element \p i by reference; throws std::out_of_range when \p i is bad.
    TYPE& operator[](int i) { return items_.at(static_cast<size_t>(i)); }
    /// GetAt(i).
    TYPE operator[](int i) const { return GetAt(i); }
    /// Removes every element.
    void RemoveAll() { items_.clear(); }

  private:
    std::vector<TYPE> items_;
};
