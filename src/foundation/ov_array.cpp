#include <climits>
#include <cstdlib>
#include <cstring>

#include "selvora/foundation/ov_array.h"

int OvArrayGrownCapacity(int size, int capacity, int newSize, int growBy) {
    long long step = growBy;
    if (step == 0) {
        step = size / 8;
        if (step < 4) step = 4;
        if (step > 1024) step = 1024;
    }
    long long grown = static_cast<long long>(capacity) + step;
    if (grown < newSize) grown = newSize;
    return grown > INT_MAX ? -1 : static_cast<int>(grown);
}

namespace {

// The variable itself stays inside the library (internal linkage).
template <class T>
T& ThreadScratch() {
    static thread_local T scratch;
    return scratch;
}

}  // namespace

template <class T>
T& OvArrayScratch() {
    T& scratch = ThreadScratch<T>();
    scratch = T();
    return scratch;
}

template SELVORA_API void*& OvArrayScratch<void*>();
template SELVORA_API int& OvArrayScratch<int>();
template SELVORA_API double& OvArrayScratch<double>();
template SELVORA_API Point3d& OvArrayScratch<Point3d>();
template SELVORA_API Vector3d& OvArrayScratch<Vector3d>();
template SELVORA_API OvString& OvArrayScratch<OvString>();

namespace {

// Bytewise helpers for element types whose copies are plain byte copies.
template <class T>
void ZeroElements(T* at, long long count) {
    if (count > 0) std::memset(static_cast<void*>(at), 0, static_cast<size_t>(count) * sizeof(T));
}

template <class T>
void MoveElements(T* to, const T* from, long long count) {
    if (count > 0)
        std::memmove(static_cast<void*>(to), from, static_cast<size_t>(count) * sizeof(T));
}

bool Fits(long long n) { return n >= 0 && n <= INT_MAX; }

}  // namespace

template <class T>
OvPodArray<T>::OvPodArray(const OvPodArray& src) : OvArrayLayout<T>() {
    Copy(&src);
}

template <class T>
OvPodArray<T>::~OvPodArray() {
    std::free(this->m_pData);
}

template <class T>
OvPodArray<T>& OvPodArray<T>::operator=(const OvPodArray& src) {
    if (this != &src) Copy(&src);
    return *this;
}

template <class T>
void OvPodArray<T>::SetSize(int newSize, int growBy) {
    if (growBy != -1) this->m_nGrowBy = growBy;
    if (newSize < 0) return;
    if (newSize == 0) {
        std::free(this->m_pData);
        this->m_pData = nullptr;
        this->m_nSize = this->m_nMaxSize = 0;
        return;
    }
    if (!this->m_pData) {
        T* block = static_cast<T*>(std::calloc(newSize, sizeof(T)));
        if (!block) return;
        this->m_pData = block;
        this->m_nMaxSize = newSize;
    } else if (newSize > this->m_nMaxSize) {
        // Growing in place keeps the contents and, for large blocks, lets the
        // C heap move pages instead of copying them. Slots past the size come
        // out zeroed, as in a fresh block.
        const int capacity = this->GrownCapacity(newSize);
        if (capacity < 0) return;
        void* block = std::realloc(static_cast<void*>(this->m_pData),
                                   static_cast<size_t>(capacity) * sizeof(T));
        if (!block) return;
        this->m_pData = static_cast<T*>(block);
        this->m_nMaxSize = capacity;
        ZeroElements(this->m_pData + this->m_nSize, capacity - this->m_nSize);
    } else if (newSize > this->m_nSize) {
        ZeroElements(this->m_pData + this->m_nSize, newSize - this->m_nSize);
    } else {
        ZeroElements(this->m_pData + newSize, this->m_nSize - newSize);
    }
    this->m_nSize = newSize;
}

template <class T>
T* OvPodArray<T>::SetSizeForOverwrite(int newSize) {
    if (newSize < 0) return nullptr;
    if (newSize <= this->m_nMaxSize) {
        SetSize(newSize, -1);  // no allocation: clearing at most the cut-off part
        return this->m_pData;
    }
    // Allocate without clearing the slots the caller is about to write; the
    // spare slots past newSize are cleared as SetSize would leave them.
    const int capacity = this->m_pData ? this->GrownCapacity(newSize) : newSize;
    if (capacity < 0) return nullptr;
    void* block =
        std::realloc(static_cast<void*>(this->m_pData), static_cast<size_t>(capacity) * sizeof(T));
    if (!block) return nullptr;
    this->m_pData = static_cast<T*>(block);
    this->m_nMaxSize = capacity;
    this->m_nSize = newSize;
    ZeroElements(this->m_pData + newSize, capacity - newSize);
    return this->m_pData;
}

template <class T>
void OvPodArray<T>::SetAtGrow(int i, const T& v) {
    if (i < 0) return;
    const T value = v;  // v may live in this array's block
    if (i >= this->m_nSize) {
        if (i == INT_MAX) return;
        SetSize(i + 1, -1);
        if (this->m_nSize != i + 1) return;
    }
    this->m_pData[i] = value;
}

template <class T>
int OvPodArray<T>::Add(const T& v) {
    const int index = this->m_nSize;
    if (index < this->m_nMaxSize) {  // room in the block: the slot is simply written
        this->m_pData[index] = v;
        this->m_nSize = index + 1;
        return index;
    }
    SetAtGrow(index, v);
    return this->m_nSize == index + 1 ? index : -1;
}

template <class T>
int OvPodArray<T>::Append(const OvPodArray* src) {
    if (!src) return -1;
    const int old = this->m_nSize;
    const int count = src->m_nSize;
    if (!Fits(static_cast<long long>(old) + count)) return -1;
    SetSize(old + count, -1);
    if (this->m_nSize != old + count) return -1;
    MoveElements(this->m_pData + old, src->m_pData, count);
    return old;
}

template <class T>
void OvPodArray<T>::Copy(const OvPodArray* src) {
    if (!src || src == this) return;
    SetSize(src->m_nSize, -1);
    if (this->m_nSize != src->m_nSize) return;
    MoveElements(this->m_pData, src->m_pData, src->m_nSize);
}

template <class T>
void OvPodArray<T>::InsertAt(int i, T v, int count) {
    if (i < 0 || count < 0) return;
    const int old = this->m_nSize;
    if (i < old) {
        if (!Fits(static_cast<long long>(old) + count)) return;
        SetSize(old + count, -1);
        if (this->m_nSize != old + count) return;
        MoveElements(this->m_pData + i + count, this->m_pData + i, old - i);
    } else {
        if (!Fits(static_cast<long long>(i) + count)) return;
        SetSize(i + count, -1);
        if (this->m_nSize != i + count) return;
    }
    for (int k = 0; k < count; ++k) this->m_pData[i + k] = v;
}

template <class T>
void OvPodArray<T>::InsertAt(int i, OvPodArray* src) {
    if (!src || src->m_nSize < 1) return;
    const int count = src->m_nSize;
    const int before = this->m_nSize;
    InsertAt(i, src->m_pData[0], count);
    if (this->m_nSize == before) return;  // the gap could not be opened
    for (int k = 0; k < count; ++k) this->m_pData[i + k] = src->m_pData[k];
}

template <class T>
void OvPodArray<T>::RemoveAt(int i, int count) {
    const int size = this->m_nSize;
    if (i < 0 || count < 0 || i > size || count > size - i) return;
    const int tail = size - i;
    if (tail != count) MoveElements(this->m_pData + i, this->m_pData + i + count, tail - count);
    this->m_nSize = size - count;
}

template class OvPodArray<void*>;
template class OvPodArray<int>;
template class OvPodArray<double>;
template class OvPodArray<Point3d>;
template class OvPodArray<Vector3d>;
