/// \file
/// The library's dynamic arrays: OvArray (untyped pointers), OvIntArray,
/// OvDoubleArray, OvPnt3dArray, OvVec3dArray and OvStringArray.
#pragma once

#include <cstring>

#include "selvora/export.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/kernel/point3d.h"

/// The calling thread's scratch element of the arrays of T, reset to T() by
/// every call: where ElementAt() refers outside an array's block. Defined in
/// the library for the element types of its arrays (a thread-local variable
/// cannot be part of a DLL's interface, so it stays inside).
template <class T>
SELVORA_API T& OvArrayScratch();

/// Layout and growth rule shared by every array: data, size, capacity, growBy.
/// When the array outgrows its block, the block grows by growBy elements, or,
/// with growBy 0, by size / 8 held between 4 and 1024; never by less than the
/// size asked for.
///
/// The block comes from the C heap and belongs to the array; pointers into it
/// stay valid until the array grows, shrinks to 0 or is destroyed.
template <class T>
class OvArrayLayout {
  public:
    /// Number of elements in use.
    int GetSize() const { return m_nSize; }
    /// Index of the last element: GetSize() - 1, so -1 when empty.
    int GetUpperBound() const { return m_nSize - 1; }
    /// The block; null when the array has none.
    T* GetData() { return m_pData; }
    /// The block; null when the array has none.
    const T* GetData() const { return m_pData; }
    /// Number of elements the block holds.
    int GetCapacity() const { return m_nMaxSize; }
    /// The growth step; 0 selects the automatic step.
    int GetGrowBy() const { return m_nGrowBy; }

    /// Element \p i by reference.
    ///
    /// Unchecked against the size, as these accessors are meant to be; an
    /// index outside the allocated block refers to a scratch element instead
    /// of memory the array does not own (per thread, reset to T() by every
    /// such call).
    T& ElementAt(int i) { return InBlock(i) ? m_pData[i] : OvArrayScratch<T>(); }
    /// ElementAt(i).
    T& operator[](int i) { return ElementAt(i); }

  protected:
    /// An empty array without a block, growth step 0.
    OvArrayLayout() : m_pData(nullptr), m_nSize(0), m_nMaxSize(0), m_nGrowBy(0) {}
    /// Whether \p i indexes the block (0 <= i < capacity).
    bool InBlock(int i) const { return i >= 0 && i < m_nMaxSize; }
    /// Capacity of the grown block for newSize elements, or -1 when it cannot
    /// be represented.
    int GrownCapacity(int newSize) const;

    T* m_pData;      ///< The block, or null.
    int m_nSize;     ///< Elements in use.
    int m_nMaxSize;  ///< Elements the block holds.
    int m_nGrowBy;   ///< Growth step; 0 for the automatic step.
};

/// The growth rule of the arrays: \p capacity plus \p growBy, or, with growBy
/// 0, plus size / 8 held between 4 and 1024; at least \p newSize. Returns -1
/// when the result does not fit an int.
SELVORA_API int OvArrayGrownCapacity(int size, int capacity, int newSize, int growBy);

template <class T>
int OvArrayLayout<T>::GrownCapacity(int newSize) const {
    return OvArrayGrownCapacity(m_nSize, m_nMaxSize, newSize, m_nGrowBy);
}

/// An array of plain elements, copied and moved bytewise; new elements are
/// zero bits.
///
/// Every operation that needs a larger block leaves the array as it was when
/// the heap refuses it or the size would pass INT_MAX. Instantiated in the
/// library for void*, int, double, Point3d and Vector3d only.
template <class T>
class SELVORA_API OvPodArray : public OvArrayLayout<T> {
  public:
    /// An empty array.
    OvPodArray() = default;
    /// A copy of the elements of \p src (its growth step is not copied).
    OvPodArray(const OvPodArray& src);
    /// Frees the block.
    ~OvPodArray();
    /// Copy(&src); the growth step stays this array's.
    OvPodArray& operator=(const OvPodArray& src);

    /// Resizes to newSize; growBy -1 keeps the stored growth step. Elements
    /// cut off are cleared; a negative size is refused (a growBy other than
    /// -1 is still stored). Size 0 frees the block.
    void SetSize(int newSize, int growBy = -1);
    /// Resizes like SetSize, but leaves the elements past the old size unset,
    /// for a caller that writes every one of them straight away (a sampler
    /// filling its output). Returns the block, or null when the array cannot
    /// hold newSize elements (then nothing changes).
    T* SetSizeForOverwrite(int newSize);
    /// Empties the array and frees its block.
    void RemoveAll() { SetSize(0, -1); }

    /// A copy of element \p i.
    ///
    /// Unchecked against the size: a slot of the block past the size reads as
    /// whatever it holds, a slot outside the block as zero.
    T GetAt(int i) const { return this->InBlock(i) ? this->m_pData[i] : ZeroBits(); }
    /// GetAt(i).
    T operator[](int i) const { return GetAt(i); }
    using OvArrayLayout<T>::operator[];
    /// Writes element \p i through ElementAt(): unchecked against the size, and
    /// lost outside the block.
    void SetAt(int i, T v) { this->ElementAt(i) = v; }

    /// Writes element \p i, first growing the array to i + 1 elements when i is
    /// past the end. A negative \p i is ignored.
    void SetAtGrow(int i, const T& v);
    /// Appends \p v. Returns the new element's index, or -1 when the array
    /// cannot grow.
    int Add(const T& v);
    /// Appends the elements of \p src (which may be this array). Returns the
    /// index of the first appended element, or -1 for a null \p src or when
    /// the array cannot grow.
    int Append(const OvPodArray* src);
    /// Makes this array a copy of the elements of \p src; a null \p src or this
    /// array itself is ignored.
    void Copy(const OvPodArray* src);
    /// Inserts \p count copies of \p v before index \p i, moving the elements
    /// from i up. An \p i past the end grows the array to i + count, the gap
    /// filled with zero bits. A negative \p i or \p count is ignored.
    void InsertAt(int i, T v, int count = 1);
    /// Inserts the elements of \p src before index \p i, as the other form
    /// does; a null or empty \p src is ignored. \p src must be another array.
    void InsertAt(int i, OvPodArray* src);
    /// Removes \p count elements from index \p i, moving the rest down. Ignored
    /// unless 0 <= i, 0 <= count and i + count <= size. The capacity stays.
    void RemoveAt(int i, int count = 1);

  private:
    static T ZeroBits() {
        T v;
        std::memset(static_cast<void*>(&v), 0, sizeof v);
        return v;
    }
};

// Instantiated once, in the library. On Windows the class is dllexport in the
// library (an extern template declaration would stop its export) and
// dllimport in a client, which instantiates the inline members itself and
// imports the others.
#if !defined(_WIN32)
extern template class OvPodArray<void*>;
extern template class OvPodArray<int>;
extern template class OvPodArray<double>;
extern template class OvPodArray<Point3d>;
extern template class OvPodArray<Vector3d>;
#endif

/// Untyped pointers; the only array whose GetAt checks the index against the size.
/// The array never owns what the pointers point to.
class SELVORA_API OvArray : public OvPodArray<void*> {
  public:
    /// Element \p i, or null unless 0 <= i < GetSize().
    void* GetAt(int i) const { return i >= 0 && i < m_nSize ? m_pData[i] : nullptr; }
    /// GetAt(i).
    void* operator[](int i) const { return GetAt(i); }
    using OvPodArray<void*>::operator[];
};

/// An array of int.
class SELVORA_API OvIntArray : public OvPodArray<int> {};
/// An array of double.
class SELVORA_API OvDoubleArray : public OvPodArray<double> {};
/// An array of points: a packed block of x, y, z triples.
class SELVORA_API OvPnt3dArray : public OvPodArray<Point3d> {};
/// An array of vectors: a packed block of x, y, z triples.
class SELVORA_API OvVec3dArray : public OvPodArray<Vector3d> {};

/// An array of strings: every slot of the block owns its own text buffer, so
/// elements are assigned rather than moved bytewise.
///
/// The members behave as OvPodArray's do, with the empty string in place of
/// zero bits: new and cut-off elements, and spare slots of the block, are
/// empty strings.
class SELVORA_API OvStringArray : public OvArrayLayout<OvString> {
  public:
    /// An empty array.
    OvStringArray() = default;
    /// A copy of the strings of \p src (its growth step is not copied).
    OvStringArray(const OvStringArray& src);
    /// Destroys every string and frees the block.
    ~OvStringArray();
    /// Copy(&src); the growth step stays this array's.
    OvStringArray& operator=(const OvStringArray& src);

    /// Resizes to \p newSize with empty new elements; growBy -1 keeps the
    /// stored growth step. A negative size is refused; 0 frees the block.
    void SetSize(int newSize, int growBy = -1);
    /// Empties the array and frees its block.
    void RemoveAll() { SetSize(0, -1); }

    /// A copy of element \p i; unchecked against the size (a spare slot reads
    /// as empty), and the empty string outside the block.
    OvString GetAt(int i) const { return InBlock(i) ? m_pData[i] : OvString(); }
    /// GetAt(i).
    OvString operator[](int i) const { return GetAt(i); }
    using OvArrayLayout<OvString>::operator[];
    /// Assigns element \p i through ElementAt(): unchecked against the size,
    /// and lost outside the block.
    void SetAt(int i, OvString s) { ElementAt(i) = s; }

    /// Assigns element \p i, first growing the array to i + 1 elements when i
    /// is past the end. A negative \p i is ignored.
    void SetAtGrow(int i, OvString s);
    /// Appends \p s. Returns the new element's index, or -1 when the array
    /// cannot grow.
    int Add(OvString s);
    /// Appends the strings of \p src. Returns the index of the first appended
    /// element, or -1 for a null \p src or when the array cannot grow.
    int Append(const OvStringArray* src);
    /// Makes this array a copy of the strings of \p src; a null \p src or this
    /// array itself is ignored.
    void Copy(const OvStringArray* src);
    /// Inserts \p count copies of \p s before index \p i, moving the elements
    /// from i up. An \p i past the end grows the array to i + count, the gap
    /// filled with empty strings. A negative \p i or \p count is ignored.
    void InsertAt(int i, OvString s, int count = 1);
    /// Inserts the strings of \p src before index \p i, as the other form does;
    /// a null or empty \p src is ignored. \p src must be another array.
    void InsertAt(int i, OvStringArray* src);
    /// Removes \p count elements from index \p i, moving the rest down; a count
    /// past the end removes up to the end. Does nothing unless 0 <= i < size
    /// and count > 0.
    void RemoveAt(int i, int count = 1);

  private:
    void ReleaseSlots(int from, int to);
    void InitSlots(int from, int to);
};
