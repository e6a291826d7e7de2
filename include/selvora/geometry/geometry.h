// Geometry: the root of the geometry objects, with identity by class name,
// polymorphic copying, transformation and raw binary records.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/kernel/matrix3d.h"

// Records are the raw little-endian bytes of a class's fields, written to and
// read from a stream the caller opened in binary mode, with no header: the
// reader must know which class comes next. A null stream is ignored.
class SELVORA_API Geometry {
  public:
    Geometry();
    Geometry(const Geometry& g);

    // Copies the class name only.
    virtual Geometry& operator=(const Geometry& g);
    // A new plain Geometry carrying this object's class name; null when out of memory.
    virtual Geometry* copy();
    virtual void transformBy(const Matrix3d& m);
    virtual void Load(FILE* stream);
    virtual void Save(FILE* stream);
    virtual ~Geometry();

    int isA(const char* name) const;  // exact match of the class name
    OvString className() const;

  protected:
    OvString m_className;
};
