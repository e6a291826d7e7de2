// CArray: the small caller-side container that Line::ProjectedUnion reads.
#pragma once

#include <stdexcept>
#include <vector>

// A growable array of TYPE passed as ARG_TYPE, with the members client code
// uses. GetAt checks its index and throws std::invalid_argument when it is bad.
template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray {
  public:
    int GetSize() const { return static_cast<int>(items_.size()); }
    int GetCount() const { return GetSize(); }
    TYPE GetAt(int i) const {
        if (i < 0 || i >= GetSize()) throw std::invalid_argument("CArray index out of range");
        return items_[i];
    }
    int Add(ARG_TYPE item) {
        items_.push_back(item);
        return GetSize() - 1;
    }
    TYPE& operator[](int i) { return items_.at(static_cast<size_t>(i)); }
    TYPE operator[](int i) const { return GetAt(i); }
    void RemoveAll() { items_.clear(); }

  private:
    std::vector<TYPE> items_;
};
