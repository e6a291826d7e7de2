/// \file
/// ImplicitCurve: the base of the concrete curves, with an opaque function handle.
#pragma once

#include "selvora/export.h"
#include "selvora/geometry/curve.h"

/// The base of the concrete curves (Line, GArc, Circle), with an opaque
/// function handle that the library stores but never calls or frees.
///
/// The class name is "GImplictCurve", spelled so on purpose. A plain
/// ImplicitCurve writes and reads nothing: each concrete curve has its own record.
class SELVORA_API ImplicitCurve : public Curve {
  public:
    /// A curve as Curve() makes it, with a null function handle.
    ImplicitCurve();
    /// A curve from \p s to \p e, with a null function handle.
    ImplicitCurve(Point3d& s, Point3d& e);
    /// Copies the curve; the function handle is not copied (it starts null).
    ImplicitCurve(const ImplicitCurve& c);
    /// Copies the curve; keeps this object's handle.
    ImplicitCurve& operator=(const ImplicitCurve& c);

  protected:
    /// A new ImplicitCurve copied from this one; null when out of memory.
    Geometry* copy() override;

  public:
    /// Reads nothing.
    void Load(FILE* stream) override;
    /// Writes nothing.
    void Save(FILE* stream) override;

  protected:
    /// Clears the function handle.
    void Init() override;
    /// Stores the opaque function handle.
    void SetFunction(void* f) { m_function = f; }

  public:
    /// The opaque function handle; null unless a derived class set one.
    void* GetFunction() { return m_function; }

  protected:
    void* m_function;  ///< The opaque function handle.
};
