// Relations of a Line to points and to other lines: intersections, distances,
// projections, angles, collinearity and covered lengths.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <vector>

#include "kernel/constants.h"
#include "kernel/math.h"
#include "selvora/geometry/line.h"

namespace {

using selvora::kAngleDegrees;
using selvora::kGeometryTolerance;

// A stretch [lo, hi] of this line's parameter, 0 at the start and 1 at the end.
struct Interval {
    double lo, hi;
};

}  // namespace

// ---- Point relations ----

double Line::Point2DCurveDistance(Point3d p) const {
    Vector3d u = GetDirection();
    const Vector3d w = p - GetMidpoint();
    const double t = (u * w) / (u * u);
    return (Vector3d(w) - u * t).length();
}

double Line::distanceTo(Point3d& p) const { return Point2DCurveDistance(p); }

void Line::Project3DPoint(Point3d& p, Point3d& out) const {
    Vector3d u = GetDirection();
    const Point3d m = GetMidpoint();
    const Vector3d w = p - m;
    const double t = (u * w) / (u * u);
    out = Point3d(m) + u * t;
}

void Line::Project2DPoint(double x, double y, double& ox, double& oy) const {
    const double mx = GetMidpointX(), my = GetMidpointY();
    const double wx = x - mx, wy = y - my;
    const double dirX = GetDirX(), dirY = GetDirY();
    const double t = (dirX * wx + dirY * wy) / (dirX * dirX + dirY * dirY);
    ox = mx + dirX * t;
    oy = my + dirY * t;
}

int Line::IntersectsLine(const Point3d& p) const {
    return std::fabs(Point2DCurveDistance(p)) < kGeometryTolerance;
}

int Line::Intersects(const Point3d& p) const {
    if (!IntersectsLine(p)) return 0;
    return (GetStart() - p) * (GetEnd() - p) < kGeometryTolerance;
}

// ---- Intersections of two lines ----

Point3d Line::intersect(Line& other) const {
    const double m0 = (GetEndY() - GetStartY()) / (GetEndX() - GetStartX());
    const double k0 = GetStartY() - m0 * GetStartX();
    const double m1 = (other.GetEndY() - other.GetStartY()) / (other.GetEndX() - other.GetStartX());
    const double k1 = other.GetStartY() - m1 * other.GetStartX();
    // Deliberately written with q = -1 rather than simplified: the roundings
    // of these products and differences give the crossing's exact bits.
    const double q = -1.0;
    const double den = m0 * q - m1 * q;
    const double x = (k1 * q - k0 * q) / den;
    const double y = (k0 * m1 - k1 * m0) / den;
    return Point3d(x, y, 0.0);
}

int Line::Intersect(const Line& other, Point3d& out) const {
    const double a0 = a(), b0 = b(), c0 = c();
    const double a1 = other.a(), b1 = other.b(), c1 = other.c();
    const double d = b1 * a0 - a1 * b0;
    if (std::fabs(d) < kGeometryTolerance) return 0;
    const double s = -1.0 / d;
    const double x = (b1 * c0 - c1 * b0) * s;
    const double y = (c1 * a0 - a1 * c0) * s;
    out = Point3d(x, y, 0.0);
    return 1;
}

int Line::IsIntersect(Line& other) const {
    Point3d p;
    if (!Intersect(other, p)) return 0;
    const double dx = GetEndX() - GetStartX();
    const double dy = GetEndY() - GetStartY();
    double t;
    if (std::fabs(dx) > std::fabs(dy))
        t = (p.x - GetStartX()) / dx;
    else
        t = (p.y - GetStartY()) / dy;
    // Deliberately only this segment bounds the answer: a crossing beyond the
    // other segment's ends still counts.
    return t >= 0.0 && t <= 1.0;
}

// ---- Measures and tests against another line ----

double Line::EndPointsDistance(const Line* other) const {
    if (!other) return OV_NO_DISTANCE;
    Point3d s0 = GetStart(), e0 = GetEnd();
    const Point3d s1 = other->GetStart(), e1 = other->GetEnd();
    double d = s0.distanceTo(s1);
    const double dSE = s0.distanceTo(e1);
    if (dSE < d) d = dSE;
    const double dES = e0.distanceTo(s1);
    if (dES < d) d = dES;
    const double dEE = e0.distanceTo(e1);
    if (dEE < d) d = dEE;
    return d;
}

int Line::EndPointsClose(const Line* other, double tol) const {
    if (!other) return 0;
    // Deliberately the distance itself, not its square, against tol squared:
    // which pairs of lines count as close depends on it.
    return EndPointsDistance(other) <= tol * tol;
}

int Line::EqWithinTol(const Line* other, double tol) const {
    if (!other) return 0;
    Point3d s0 = GetStartPoint(), e0 = GetEndPoint();
    const Point3d s1 = other->GetStartPoint(), e1 = other->GetEndPoint();
    const double dSS = (s0 - s1).length();
    const double dSE = (s0 - e1).length();
    const double dES = (e0 - s1).length();
    const double dEE = (e0 - e1).length();
    if (dSE > dSS) return dSS <= tol && dEE <= tol;
    return dSE <= tol && dES <= tol;
}

int Line::BothEndsCloseToLine(const Line* other, double tol) const {
    if (!other) return 0;
    // Written as "not within" so that a NaN distance fails too.
    if (!(Point2DCurveDistance(other->GetStart()) <= tol)) return 0;
    if (!(Point2DCurveDistance(other->GetEnd()) <= tol)) return 0;
    return 1;
}

int Line::EndPointsWithinLine(const Line* other) const {
    if (!other) return 0;
    if (!(std::fabs(Point2DCurveDistance(other->GetEnd())) < kGeometryTolerance)) return 0;
    return std::fabs(Point2DCurveDistance(other->GetStart())) < kGeometryTolerance;
}

double Line::distanceToParallel(const Line* other) const {
    if (!other) return OV_NO_DISTANCE;
    return Point2DCurveDistance(other->GetMidpoint());
}

double Line::DistanceFrom(Line& other) const {
    Vector3d u = GetDirection();
    Point3d m0 = GetMidpoint();
    Vector3d n = u / m0.asVector3d();
    Vector3d w = m0 - other.GetMidpoint();
    const double len = n.length();
    if (len < kGeometryTolerance) return w.length();
    return std::fabs((w * n) / len);
}

int Line::parallel(Vector3d& v) const {
    const Vector3d u = GetDirection();
    Point3d p(u.x, u.y, u.z);
    return p.distanceTo(Point3d(v.x, v.y, v.z)) < kGeometryTolerance;
}

double Line::Angle(const Line* other) const {
    if (!other) return OV_NO_ANGLE;
    Vector3d d0(GetDirX(), GetDirY(), 0.0);
    Vector3d d1(other->GetDirX(), other->GetDirY(), 0.0);
    d0.normalize();
    d1.normalize();
    const double cross = d0.x * d1.y - d1.x * d0.y;
    const double dot = d0 * d1;
    return std::fabs(selvora::math::Atan2(cross, dot)) * kAngleDegrees;
}

int Line::CoLinear(const Line* other, double angleTol, double distTol) const {
    if (!other) return 0;
    const double a0 = GetAoverC(), b0 = GetBoverC();
    const double a1 = other->GetAoverC(), b1 = other->GetBoverC();
    // Cosine of the angle between the vectors (1/A, 1/B) of the two lines.
    double x = (1.0 / (b1 * b0) + 1.0 / (a1 * a0)) / (std::sqrt(1.0 / (b1 * b1) + 1.0 / (a1 * a1)) *
                                                      std::sqrt(1.0 / (b0 * b0) + 1.0 / (a0 * a0)));
    // Rounding can carry the cosine just past +-1; pull it back.
    if (x > 1.0 && (x - 1.0) / x < 0.001)
        x = 1.0;
    else if (x < -1.0 && (x + 1.0) / x < 0.001)
        x = -1.0;
    double deg = selvora::math::Acos(x) * 180.0 / selvora::kPiF;
    if (deg > 90.0) deg = 180.0 - deg;
    if (std::fabs(deg) > angleTol) return 0;
    if (!(distTol > distanceToParallel(other))) return 0;
    return distTol > other->distanceToParallel(this);
}

// ---- Projections ----

double Line::ProjectedLength(Line& other) {
    const double length = GetLength();
    const Point3d s1 = other.GetStart(), e1 = other.GetEnd();
    const double t1 = Findt(s1.x, s1.y, s1.z);
    const double t2 = Findt(e1.x, e1.y, e1.z);
    double lo, hi;
    if (t2 > t1) {
        lo = t1;
        hi = t2;
    } else {
        lo = t2;
        hi = t1;
    }
    if (lo > 1.0 || hi < 0.0) return 0.0;
    if (lo >= 0.0) return hi >= 1.0 ? (1.0 - lo) * length : (hi - lo) * length;
    return hi >= 1.0 ? length : hi * length;
}

double Line::ProjectedUnion(CArray<Line*, Line*>& lines) {
    const std::intptr_t count = lines.GetSize();
    if (count <= 0) return 0.0;

    // The stretch each line's projection covers.
    std::vector<Interval> intervals;
    try {
        intervals.reserve(static_cast<size_t>(count));  // no growth below
    } catch (const std::bad_alloc&) {
        return 0.0;
    }
    for (std::intptr_t k = 0; k < count; ++k) {
        const Line* line = lines.GetAt(k);  // throws if the container shrank meanwhile
        if (!line) continue;                // a null entry covers nothing
        const Point3d s = line->GetStart(), e = line->GetEnd();
        const double t1 = Findt(s.x, s.y, s.z);
        const double t2 = Findt(e.x, e.y, e.z);
        intervals.push_back(t2 > t1 ? Interval{t1, t2} : Interval{t2, t1});
    }
    // By lo alone; intervals with equal lo keep the container's order, as the
    // C library's merge sort has always left them (the sums below depend on
    // the order).
    std::stable_sort(intervals.begin(), intervals.end(),
                     [](const Interval& a, const Interval& b) { return a.lo < b.lo; });

    // Sweep in order of lo; cover is the right edge of what is already counted.
    double cover = 0.0, total = 0.0;
    for (const Interval& interval : intervals) {
        const double lo = interval.lo, hi = interval.hi;
        if (cover > hi) continue;
        if (lo > 1.0) break;
        if (cover > lo) {
            if (hi < 1.0) {
                total += hi - cover;
                cover = hi;
            } else {
                total += 1.0 - cover;
                break;
            }
        } else {
            if (hi < 1.0) {
                total += hi - lo;
                cover = hi;
            } else {
                total += 1.0 - lo;
                break;
            }
        }
    }
    return GetLength() * total;
}
