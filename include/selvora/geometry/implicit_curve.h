// ImplicitCurve: the base of the concrete curves, with an opaque function handle.
#pragma once

#include "selvora/export.h"
#include "selvora/geometry/curve.h"

// The class name is "GImplictCurve", spelled so on purpose. A plain
// ImplicitCurve writes and reads nothing: each concrete curve has its own record.
class SELVORA_API ImplicitCurve : public Curve {
  public:
    ImplicitCurve();
    ImplicitCurve(Point3d& s, Point3d& e);
    ImplicitCurve(const ImplicitCurve& c);             // the function handle is not copied
    ImplicitCurve& operator=(const ImplicitCurve& c);  // keeps this object's handle

  protected:
    Geometry* copy() override;

  public:
    void Load(FILE* stream) override;
    void Save(FILE* stream) override;

  protected:
    void Init() override;  // clears the function handle
    void SetFunction(void* f) { m_function = f; }

  public:
    void* GetFunction() { return m_function; }

  protected:
    void* m_function;
};
