/// \file
/// Geometry: the root of the geometry objects, with identity by class name,
/// polymorphic copying, transformation and raw binary records.
#pragma once

#include <cstdio>

#include "selvora/export.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/kernel/matrix3d.h"

namespace selvora {
/// The fields of a class's binary record, in order: one list, defined inside
/// the library, that the class's Save and Load both walk.
template <class T>
struct RecordFields;
}  // namespace selvora

/// The root of the geometry objects: identity by class name, polymorphic
/// copying, transformation and raw binary records. A plain Geometry has the
/// class name "NOCLASS" and no shape: transformBy, Load and Save do nothing.
///
/// Records are the raw little-endian bytes of a class's fields, written to and
/// read from a stream the caller opened in binary mode, with no header: the
/// reader must know which class comes next. A null stream is ignored.
class SELVORA_API Geometry {
  public:
    /// A plain geometry object named "NOCLASS".
    Geometry();
    /// Copies the class name.
    Geometry(const Geometry& g);

    /// Copies the class name only.
    virtual Geometry& operator=(const Geometry& g);
    /// A new plain Geometry carrying this object's class name; null when out of memory.
    /// The caller owns it (delete).
    virtual Geometry* copy();
    /// Moves the object by \p m; the base does nothing.
    virtual void transformBy(const Matrix3d& m);
    /// Reads the object's record from \p stream; the base reads nothing.
    virtual void Load(FILE* stream);
    /// Writes the object's record to \p stream; the base writes nothing.
    virtual void Save(FILE* stream);
    /// Virtual, so that deleting through a Geometry pointer is safe.
    virtual ~Geometry();

    /// 1 when the class name is exactly \p name, else 0.
    int isA(const char* name) const;
    /// A copy of the class name ("GLine", "GArc", ...).
    OvString className() const;

  protected:
    OvString m_className;  ///< The class name that isA() and className() report.
};
