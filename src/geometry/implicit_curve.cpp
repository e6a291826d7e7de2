#include "selvora/geometry/implicit_curve.h"

#include <new>

namespace {
// Spelt so deliberately, one letter short of the class: isA and every caller
// comparing class names depend on it.
constexpr char kClassName[] = "GImplictCurve";
}  // namespace

ImplicitCurve::ImplicitCurve() {
    ImplicitCurve::Init();
    m_className = kClassName;
}

ImplicitCurve::ImplicitCurve(Point3d& s, Point3d& e) : Curve(s, e) {
    ImplicitCurve::Init();
    m_className = kClassName;
}

ImplicitCurve::ImplicitCurve(const ImplicitCurve& c) : Curve(c), m_function(nullptr) {}

ImplicitCurve& ImplicitCurve::operator=(const ImplicitCurve& c) {
    Curve::operator=(c);
    return *this;
}

Geometry* ImplicitCurve::copy() { return new (std::nothrow) ImplicitCurve(*this); }

void ImplicitCurve::Load(FILE*) {}

void ImplicitCurve::Save(FILE*) {}

void ImplicitCurve::Init() { m_function = nullptr; }
