/// \file
/// CArray: the caller-side container that Line::ProjectedUnion reads.
#pragma once

// A client that includes MFC's template header first (afxtempl.h) passes
// MFC's own CArray, and this header defines none.
#if !defined(__AFXTEMPL_H__)

#include <cstdint>
#include <stdexcept>
#include <utility>

/// A growable array of TYPE passed as ARG_TYPE, with the members client code
/// uses. GetAt checks its index and throws std::invalid_argument when it is bad.
///
/// Laid out as MFC's CArray is (its virtual table pointer, then the block,
/// the size, the capacity and the growth step, all pointer-sized), so that
/// the library reads an MFC client's array the same way. The first word is a
/// place holder here: this class has no virtual functions, so the library's
/// reads never depend on an object's dynamic type. Header-only: the library
/// never exports or allocates one; the caller owns it and its elements (for a
/// CArray of pointers, what they point to as well).
template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray {
  public:
    CArray() = default;
    CArray(const CArray&) = delete;
    CArray& operator=(const CArray&) = delete;
    /// Frees the block.
    ~CArray() { delete[] m_pData; }

    /// Number of elements.
    std::intptr_t GetSize() const { return m_nSize; }
    /// The same as GetSize().
    std::intptr_t GetCount() const { return m_nSize; }
    /// Element \p i; throws std::invalid_argument unless 0 <= i < GetSize().
    const TYPE& GetAt(std::intptr_t i) const {
        if (i < 0 || i >= m_nSize) throw std::invalid_argument("CArray index out of range");
        return m_pData[i];
    }
    /// Appends \p item and returns its index.
    std::intptr_t Add(ARG_TYPE item) {
        if (m_nSize == m_nMaxSize) Grow();
        m_pData[m_nSize] = item;
        return m_nSize++;
    }
    /// Element \p i by reference; throws std::invalid_argument when \p i is bad.
    TYPE& operator[](std::intptr_t i) { return const_cast<TYPE&>(GetAt(i)); }
    /// GetAt(i).
    const TYPE& operator[](std::intptr_t i) const { return GetAt(i); }
    /// Removes every element and frees the block.
    void RemoveAll() {
        delete[] m_pData;
        m_pData = nullptr;
        m_nSize = m_nMaxSize = 0;
    }

  private:
    /// A block of twice the capacity (at least 4), the elements moved over.
    void Grow() {
        const std::intptr_t capacity = m_nMaxSize < 2 ? 4 : 2 * m_nMaxSize;
        TYPE* block = new TYPE[capacity];
        for (std::intptr_t k = 0; k < m_nSize; ++k) block[k] = std::move(m_pData[k]);
        delete[] m_pData;
        m_pData = block;
        m_nMaxSize = capacity;
    }

    const void* m_vtableSlot = nullptr;  // where MFC's array has its virtual table pointer
    TYPE* m_pData = nullptr;
    std::intptr_t m_nSize = 0;
    std::intptr_t m_nMaxSize = 0;
    std::intptr_t m_nGrowBy = 0;  // MFC's growth step; unused here
};

#endif
