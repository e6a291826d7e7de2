// The library's dynamic arrays: OvArray (untyped pointers), OvIntArray,
// OvDoubleArray, OvPnt3dArray, OvVec3dArray and OvStringArray.
#pragma once

#include <cstring>

#include "selvora/export.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/kernel/point3d.h"

// Layout and growth rule shared by every array: data, size, capacity, growBy.
// When the array outgrows its block, the block grows by growBy elements, or,
// with growBy 0, by size / 8 held between 4 and 1024; never by less than the
// size asked for.
template <class T>
class OvArrayLayout {
  public:
    int GetSize() const { return m_nSize; }
    int GetUpperBound() const { return m_nSize - 1; }
    T* GetData() { return m_pData; }
    const T* GetData() const { return m_pData; }
    int GetCapacity() const { return m_nMaxSize; }
    int GetGrowBy() const { return m_nGrowBy; }

    // Unchecked against the size, as these accessors are meant to be; an
    // index outside the allocated block refers to a scratch element instead
    // of memory the array does not own.
    T& ElementAt(int i) { return InBlock(i) ? m_pData[i] : Scratch(); }
    T& operator[](int i) { return ElementAt(i); }

  protected:
    OvArrayLayout() : m_pData(nullptr), m_nSize(0), m_nMaxSize(0), m_nGrowBy(0) {}
    bool InBlock(int i) const { return i >= 0 && i < m_nMaxSize; }
    // Capacity of the grown block for newSize elements, or -1 when it cannot
    // be represented.
    int GrownCapacity(int newSize) const;
    static T& Scratch() {
        static thread_local T scratch;
        scratch = T();
        return scratch;
    }

    T* m_pData;
    int m_nSize;
    int m_nMaxSize;
    int m_nGrowBy;
};

SELVORA_API int OvArrayGrownCapacity(int size, int capacity, int newSize, int growBy);

template <class T>
int OvArrayLayout<T>::GrownCapacity(int newSize) const {
    return OvArrayGrownCapacity(m_nSize, m_nMaxSize, newSize, m_nGrowBy);
}

// An array of plain elements, copied and moved bytewise; new elements are
// zero bits.
template <class T>
class SELVORA_API OvPodArray : public OvArrayLayout<T> {
  public:
    OvPodArray() = default;
    OvPodArray(const OvPodArray& src);
    ~OvPodArray();
    OvPodArray& operator=(const OvPodArray& src);

    // Resizes to newSize; growBy -1 keeps the stored growth step. Elements
    // cut off are cleared; a negative size is refused.
    void SetSize(int newSize, int growBy = -1);
    // Resizes like SetSize, but leaves the elements past the old size unset,
    // for a caller that writes every one of them straight away (a sampler
    // filling its output). Returns the block, or null when the array cannot
    // hold newSize elements (then nothing changes).
    T* SetSizeForOverwrite(int newSize);
    void RemoveAll() { SetSize(0, -1); }

    // Unchecked against the size: a slot of the block past the size reads as
    // whatever it holds, a slot outside the block as zero.
    T GetAt(int i) const { return this->InBlock(i) ? this->m_pData[i] : ZeroBits(); }
    T operator[](int i) const { return GetAt(i); }
    using OvArrayLayout<T>::operator[];
    void SetAt(int i, T v) { this->ElementAt(i) = v; }

    void SetAtGrow(int i, const T& v);
    int Add(const T& v);                // the new element's index, or -1 when the array cannot grow
    int Append(const OvPodArray* src);  // the index of the first appended element, or -1
    void Copy(const OvPodArray* src);
    void InsertAt(int i, T v, int count = 1);
    void InsertAt(int i, OvPodArray* src);
    void RemoveAt(int i, int count = 1);

  private:
    static T ZeroBits() {
        T v;
        std::memset(static_cast<void*>(&v), 0, sizeof v);
        return v;
    }
};

extern template class OvPodArray<void*>;
extern template class OvPodArray<int>;
extern template class OvPodArray<double>;
extern template class OvPodArray<Point3d>;
extern template class OvPodArray<Vector3d>;

// Untyped pointers; the only array whose GetAt checks the index against the size.
class SELVORA_API OvArray : public OvPodArray<void*> {
  public:
    void* GetAt(int i) const { return i >= 0 && i < m_nSize ? m_pData[i] : nullptr; }
    void* operator[](int i) const { return GetAt(i); }
    using OvPodArray<void*>::operator[];
};

class SELVORA_API OvIntArray : public OvPodArray<int> {};
class SELVORA_API OvDoubleArray : public OvPodArray<double> {};
class SELVORA_API OvPnt3dArray : public OvPodArray<Point3d> {};
class SELVORA_API OvVec3dArray : public OvPodArray<Vector3d> {};

// An array of strings: every slot of the block owns its own text buffer, so
// elements are assigned rather than moved bytewise.
class SELVORA_API OvStringArray : public OvArrayLayout<OvString> {
  public:
    OvStringArray() = default;
    OvStringArray(const OvStringArray& src);
    ~OvStringArray();
    OvStringArray& operator=(const OvStringArray& src);

    void SetSize(int newSize, int growBy = -1);
    void RemoveAll() { SetSize(0, -1); }

    OvString GetAt(int i) const { return InBlock(i) ? m_pData[i] : OvString(); }
    OvString operator[](int i) const { return GetAt(i); }
    using OvArrayLayout<OvString>::operator[];
    void SetAt(int i, OvString s) { ElementAt(i) = s; }

    void SetAtGrow(int i, OvString s);
    int Add(OvString s);
    int Append(const OvStringArray* src);
    void Copy(const OvStringArray* src);
    void InsertAt(int i, OvString s, int count = 1);
    void InsertAt(int i, OvStringArray* src);
    // Does nothing unless 0 <= i < size and count > 0.
    void RemoveAt(int i, int count = 1);

  private:
    void ReleaseSlots(int from, int to);
    void InitSlots(int from, int to);
};
