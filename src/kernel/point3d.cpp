#include "selvora/kernel/point3d.h"

#include <cmath>

#include "kernel/constants.h"
#include "kernel/math.h"
#include "selvora/kernel/matrix3d.h"

// ---- Point3d ----

Point3d Point3d::set(double px, double py, double pz) {
    x = px;
    y = py;
    z = pz;
    return *this;
}

int Point3d::operator==(Point3d p) const { return x == p.x && y == p.y && z == p.z; }

int Point3d::operator!=(Point3d p) const { return !(*this == p); }

int Point3d::operator>(Point3d p) const {
    if (*this == p) return 0;
    if (x != p.x) return x > p.x;
    if (y != p.y) return y > p.y;
    return z > p.z;
}

int Point3d::equal(Point3d p, double tol) {
    return std::fabs(x - p.x) + std::fabs(y - p.y) + std::fabs(z - p.z) <= tol;
}

double Point3d::tolerance(double t) { return (std::fabs(x) + std::fabs(y) + std::fabs(z)) * t; }

Point3d Point3d::operator+(Point3d p) { return Point3d(x + p.x, y + p.y, z + p.z); }
Point3d Point3d::operator+(Vector3d v) { return Point3d(x + v.x, y + v.y, z + v.z); }
Point3d Point3d::operator-(Vector3d v) { return Point3d(x - v.x, y - v.y, z - v.z); }
Vector3d Point3d::operator-(Point3d p) { return Vector3d(x - p.x, y - p.y, z - p.z); }
Point3d Point3d::operator*(double s) { return Point3d(x * s, y * s, z * s); }
Point3d Point3d::operator/(double s) { return Point3d(x / s, y / s, z / s); }

void Point3d::operator*=(double s) {
    x *= s;
    y *= s;
    z *= s;
}

void Point3d::operator/=(double s) {
    x /= s;
    y /= s;
    z /= s;
}

void Point3d::operator+=(Vector3d v) {
    x += v.x;
    y += v.y;
    z += v.z;
}

void Point3d::operator-=(Vector3d v) {
    x -= v.x;
    y -= v.y;
    z -= v.z;
}

void Point3d::ptmin(const Point3d& p) {
    if (x > p.x) x = p.x;
    if (y > p.y) y = p.y;
    if (z > p.z) z = p.z;
}

void Point3d::ptmax(const Point3d& p) {
    if (p.x > x) x = p.x;
    if (p.y > y) y = p.y;
    if (p.z > z) z = p.z;
}

double Point3d::sqrdistanceTo(Point3d p) {
    double dx = x - p.x, dy = y - p.y, dz = z - p.z;
    return dx * dx + dy * dy + dz * dz;
}

double Point3d::distanceTo(Point3d p) { return std::sqrt(sqrdistanceTo(p)); }

// Deliberately floor, not round to nearest: 1.239 -> 1.23 and -1.231 -> -1.24
// with s = 100. Snapped coordinates that callers store and compare depend on it.
void Point3d::round(double s) {
    x = std::floor(s * x) / s;
    y = std::floor(s * y) / s;
    z = std::floor(s * z) / s;
}

Point3d Point3d::polar(double angle, double dist) {
    return Point3d(x + dist * selvora::math::Cos(angle), y + dist * selvora::math::Sin(angle), z);
}

Point3d Point3d::transformBy(Matrix3d m) {
    *this = m * *this;
    return *this;
}

Vector3d Point3d::asVector3d() { return Vector3d(x, y, z); }

// ---- Vector3d ----

Vector3d& Vector3d::set(double vx, double vy, double vz) {
    x = vx;
    y = vy;
    z = vz;
    return *this;
}

int Vector3d::operator==(Vector3d v) const { return x == v.x && y == v.y && z == v.z; }

int Vector3d::operator!=(Vector3d v) const { return !(*this == v); }

int Vector3d::equal(Vector3d v, double tol) {
    return std::fabs(x - v.x) + std::fabs(y - v.y) + std::fabs(z - v.z) <= tol;
}

Vector3d Vector3d::operator+(Vector3d v) { return Vector3d(x + v.x, y + v.y, z + v.z); }
Vector3d Vector3d::operator-(Vector3d v) { return Vector3d(x - v.x, y - v.y, z - v.z); }
Vector3d Vector3d::operator-() { return Vector3d(-x, -y, -z); }
Vector3d Vector3d::operator*(double s) { return Vector3d(x * s, y * s, z * s); }
Vector3d Vector3d::operator/(double s) { return Vector3d(x / s, y / s, z / s); }

void Vector3d::operator*=(double s) {
    x *= s;
    y *= s;
    z *= s;
}

void Vector3d::operator/=(double s) {
    x /= s;
    y /= s;
    z /= s;
}

void Vector3d::operator+=(Vector3d v) {
    x += v.x;
    y += v.y;
    z += v.z;
}

void Vector3d::operator-=(Vector3d v) {
    x -= v.x;
    y -= v.y;
    z -= v.z;
}

double Vector3d::operator*(Vector3d v) const { return x * v.x + y * v.y + z * v.z; }

Vector3d Vector3d::operator/(Vector3d v) {
    return Vector3d(y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x);
}

double Vector3d::sqrLength() { return x * x + y * y + z * z; }

double Vector3d::length() { return std::sqrt(sqrLength()); }

double Vector3d::normalize() {
    double len = length();
    if (len == 0.0) return 0.0;
    *this *= 1.0 / len;
    return len;
}

double Vector3d::angleTo(Vector3d v) {
    Vector3d a = *this;
    a.normalize();
    v.normalize();
    double d = a * v;
    if (d < -1.0) d = -1.0;
    if (d > 1.0) d = 1.0;
    return selvora::math::Acos(d);
}

double Vector3d::angleTo(Vector3d v, Vector3d ref) {
    double a = angleTo(v);
    Vector3d c = *this / v;
    return ref * c < 0.0 ? selvora::kTwoPiF - a : a;
}

Vector3d Vector3d::transformBy(Matrix3d m) {
    *this = m * *this;
    return *this;
}

Point3d Vector3d::asPoint3d() { return Point3d(x, y, z); }

Vector3d operator*(double s, Vector3d v) { return Vector3d(s * v.x, s * v.y, s * v.z); }

double OV_angle(Point3d from, Point3d to) {
    Vector3d d = to - from;
    double angle = selvora::math::Atan2(d.y, d.x);
    if (angle < 0.0) angle += selvora::kTwoPiF;
    return angle;
}
