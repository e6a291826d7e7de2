#include "selvora/geometry/geometry.h"

#include <new>

Geometry::Geometry() : m_className("NOCLASS") {}

Geometry::Geometry(const Geometry& g) : m_className(g.m_className) {}

Geometry::~Geometry() = default;

Geometry& Geometry::operator=(const Geometry& g) {
    m_className = g.m_className;
    return *this;
}

Geometry* Geometry::copy() { return new (std::nothrow) Geometry(*this); }

void Geometry::transformBy(const Matrix3d&) {}

void Geometry::Load(FILE*) {}

void Geometry::Save(FILE*) {}

int Geometry::isA(const char* name) const { return m_className == name; }

OvString Geometry::className() const { return m_className; }
