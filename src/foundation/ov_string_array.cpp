#include <climits>
#include <cstdlib>
#include <new>

#include "selvora/foundation/ov_array.h"

// Every slot of the block, in use or spare, holds a constructed OvString that
// owns its own text buffer.

void OvStringArray::InitSlots(int from, int to) {
    for (int k = from; k < to; ++k) new (&m_pData[k]) OvString();
}

void OvStringArray::ReleaseSlots(int from, int to) {
    for (int k = from; k < to; ++k) m_pData[k].~OvString();
}

OvStringArray::OvStringArray(const OvStringArray& src) : OvArrayLayout<OvString>() { Copy(&src); }

OvStringArray::~OvStringArray() {
    ReleaseSlots(0, m_nMaxSize);
    std::free(m_pData);
}

OvStringArray& OvStringArray::operator=(const OvStringArray& src) {
    if (this != &src) Copy(&src);
    return *this;
}

void OvStringArray::SetSize(int newSize, int growBy) {
    if (growBy != -1) m_nGrowBy = growBy;
    if (newSize < 0) return;
    if (newSize == 0) {
        ReleaseSlots(0, m_nMaxSize);
        std::free(m_pData);
        m_pData = nullptr;
        m_nSize = m_nMaxSize = 0;
        return;
    }
    if (!m_pData) {
        void* block = std::calloc(newSize, sizeof(OvString));
        if (!block) return;
        m_pData = static_cast<OvString*>(block);
        m_nMaxSize = newSize;
        InitSlots(0, newSize);
    } else if (newSize > m_nMaxSize) {
        // The slots move bytewise: a string holds no pointer into itself.
        // Spare slots past the size start over as fresh empty strings.
        const int capacity = GrownCapacity(newSize);
        if (capacity < 0) return;
        void* block = std::realloc(static_cast<void*>(m_pData),
                                   static_cast<size_t>(capacity) * sizeof(OvString));
        if (!block) return;
        const int oldCapacity = m_nMaxSize;
        m_pData = static_cast<OvString*>(block);
        m_nMaxSize = capacity;
        ReleaseSlots(m_nSize, oldCapacity);
        InitSlots(m_nSize, capacity);
    } else if (newSize < m_nSize) {
        ReleaseSlots(newSize, m_nSize);
        InitSlots(newSize, m_nSize);
    }
    m_nSize = newSize;
}

void OvStringArray::SetAtGrow(int i, OvString s) {
    if (i < 0) return;
    if (i >= m_nSize) {
        if (i == INT_MAX) return;
        SetSize(i + 1, -1);
        if (m_nSize != i + 1) return;
    }
    m_pData[i] = s;
}

int OvStringArray::Add(OvString s) {
    const int index = m_nSize;
    SetAtGrow(index, s);
    return m_nSize == index + 1 ? index : -1;
}

int OvStringArray::Append(const OvStringArray* src) {
    if (!src) return -1;
    const int old = m_nSize;
    const int count = src->m_nSize;
    if (static_cast<long long>(old) + count > INT_MAX) return -1;
    SetSize(old + count, -1);
    if (m_nSize != old + count) return -1;
    for (int k = 0; k < count; ++k) m_pData[old + k] = src->GetAt(k);
    return old;
}

void OvStringArray::Copy(const OvStringArray* src) {
    if (!src || src == this) return;
    SetSize(src->m_nSize, -1);
    if (m_nSize != src->m_nSize) return;
    for (int k = 0; k < m_nSize; ++k) m_pData[k] = src->GetAt(k);
}

void OvStringArray::InsertAt(int i, OvString s, int count) {
    if (i < 0 || count < 0) return;
    const int old = m_nSize;
    const long long wanted = (i < old ? old : static_cast<long long>(i)) + count;
    if (wanted > INT_MAX) return;
    SetSize(static_cast<int>(wanted), -1);
    if (m_nSize != wanted) return;
    if (i < old) {
        for (int k = old - 1; k >= i; --k) m_pData[k + count] = m_pData[k];
    }
    for (int k = 0; k < count; ++k) m_pData[i + k] = s;
}

void OvStringArray::InsertAt(int i, OvStringArray* src) {
    if (!src || src->m_nSize < 1) return;
    const int count = src->m_nSize;
    const int before = m_nSize;
    InsertAt(i, src->GetAt(0), count);
    if (m_nSize == before) return;  // the gap could not be opened
    for (int k = 0; k < count; ++k) m_pData[i + k] = src->GetAt(k);
}

void OvStringArray::RemoveAt(int i, int count) {
    if (i < 0 || i >= m_nSize || count <= 0) return;
    if (m_nSize - i - count < 1) {
        for (int k = i; k < m_nSize; ++k) m_pData[k] = "";
        m_nSize = i;
        return;
    }
    for (int k = i; k < m_nSize - count; ++k) m_pData[k] = m_pData[k + count];
    for (int k = m_nSize - count; k < m_nSize; ++k) m_pData[k] = "";
    m_nSize -= count;
}
