#include "tessellation/triangulator_input.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

namespace selvora {

namespace {

struct Place {
    std::uint64_t x, y;
    bool operator==(const Place& o) const { return x == o.x && y == o.y; }
};

struct PairHash {
    std::size_t operator()(const Place& p) const {
        return static_cast<std::size_t>((p.x * 0x9E3779B97F4A7C15ull) ^
                                        (p.y + 0x632BE59BD9B4E019ull));
    }
};

std::uint64_t Bits(double v) {
    if (v == 0.0) v = 0.0;  // -0 is the place of +0
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

Place PlaceOf(const double* xy, int i) {
    return {Bits(xy[2 * static_cast<std::size_t>(i)]),
            Bits(xy[2 * static_cast<std::size_t>(i) + 1])};
}

// A segment by its two ends in either order.
Place Unordered(int a, int b) {
    return {static_cast<std::uint64_t>(std::min(a, b)), static_cast<std::uint64_t>(std::max(a, b))};
}

bool IsPoint(int index, int numPoints) { return index >= 0 && index < numPoints; }

// True when some segment end shares its place with another point.
bool SegmentEndHasTwin(const double* xy, int numPoints, const int* segments, int numSegments) {
    if (numSegments <= 0) return false;
    std::unordered_map<Place, int, PairHash> ends;
    for (int k = 0; k < 2 * numSegments; ++k) {
        if (IsPoint(segments[k], numPoints)) ends.emplace(PlaceOf(xy, segments[k]), 0);
    }
    for (int i = 0; i < numPoints; ++i) {
        const auto found = ends.find(PlaceOf(xy, i));
        if (found != ends.end() && ++found->second > 1) return true;
    }
    return false;
}

// True when every segment joins two different points and none repeats.
bool SegmentsAreClean(const int* segments, int numSegments, int numPoints) {
    std::unordered_set<Place, PairHash> seen;
    for (int s = 0; s < numSegments; ++s) {
        const int a = segments[2 * s], b = segments[2 * s + 1];
        if (!IsPoint(a, numPoints) || !IsPoint(b, numPoints) || a == b) return false;
        if (!seen.insert(Unordered(a, b)).second) return false;
    }
    return true;
}

// True only when (x, y) lies clearly outside the convex hull of the points:
// the directions from it to all points fit in a wedge narrower than a half
// turn. Anything undecided by rounding counts as inside, where the seed is
// handed over as given.
bool ClearlyOutsideHull(const double* xy, int numPoints, double x, double y) {
    auto cross = [](double ax, double ay, double bx, double by) { return ax * by - ay * bx; };
    // A cross product this small against the operands' size is not trusted.
    constexpr double kUndecided = 1e-9;
    auto sign = [&](double ax, double ay, double bx, double by) {
        const double c = cross(ax, ay, bx, by);
        const double scale = (std::fabs(ax) + std::fabs(ay)) * (std::fabs(bx) + std::fabs(by));
        if (!(std::fabs(c) > kUndecided * scale)) return 0;  // NaN too
        return c > 0 ? 1 : -1;
    };
    // The wedge runs counter-clockwise from direction a to direction b.
    double ax = xy[0] - x, ay = xy[1] - y;
    double bx = ax, by = ay;
    if (ax == 0.0 && ay == 0.0) return false;
    for (int i = 1; i < numPoints; ++i) {
        const double dx = xy[2 * static_cast<std::size_t>(i)] - x;
        const double dy = xy[2 * static_cast<std::size_t>(i) + 1] - y;
        const int fromA = sign(ax, ay, dx, dy), toB = sign(dx, dy, bx, by);
        if (fromA == 0 || toB == 0) {
            // Along a or b: outward is harmless, backward means the wedge
            // reaches a half turn; the rest is undecided.
            const bool alongA = fromA == 0 && ax * dx + ay * dy > 0;
            const bool alongB = toB == 0 && bx * dx + by * dy > 0;
            if (alongA || alongB) continue;
            return false;
        }
        if (fromA > 0 && toB > 0) continue;  // inside the wedge
        // Widening keeps the wedge under a half turn only when d stays on the
        // inner side of the other bound.
        if (fromA < 0 && toB > 0) {
            ax = dx, ay = dy;  // clockwise of a: the wedge becomes d..b
        } else if (toB < 0 && fromA > 0) {
            bx = dx, by = dy;  // counter-clockwise of b: the wedge becomes a..d
        } else {
            return false;  // the wedge would reach a half turn
        }
    }
    return true;
}

}  // namespace

TriangulatorInput::TriangulatorInput(double* xy, int numPoints, int* segments, int numSegments,
                                     double* holes, int numHoles)
    : xy_(xy),
      numPoints_(numPoints),
      segments_(segments),
      numSegments_(numSegments),
      holes_(holes),
      numHoles_(numHoles),
      numInputPoints_(numPoints) {
    KeepHolesInsideTheHull(holes, numHoles);
    if (SegmentEndHasTwin(xy, numPoints, segments, numSegments)) {
        std::vector<int> newIndex;
        MergePlaces(xy, numPoints, newIndex);
        KeepSegments(segments, numSegments, &newIndex);
    } else if (!SegmentsAreClean(segments, numSegments, numPoints)) {
        KeepSegments(segments, numSegments, nullptr);
    }
}

void TriangulatorInput::KeepHolesInsideTheHull(double* holes, int numHoles) {
    auto outside = [&](int h) {
        return ClearlyOutsideHull(xy_, numPoints_, holes[2 * static_cast<std::size_t>(h)],
                                  holes[2 * static_cast<std::size_t>(h) + 1]);
    };
    int h = 0;
    while (h < numHoles && !outside(h)) ++h;
    if (h == numHoles) return;  // every seed stays: the caller's buffer serves
    keptHoles_.assign(holes, holes + 2 * static_cast<std::size_t>(h));
    for (++h; h < numHoles; ++h) {
        if (outside(h)) continue;
        keptHoles_.push_back(holes[2 * static_cast<std::size_t>(h)]);
        keptHoles_.push_back(holes[2 * static_cast<std::size_t>(h) + 1]);
    }
    holes_ = keptHoles_.data();
    numHoles_ = static_cast<int>(keptHoles_.size() / 2);
}

void TriangulatorInput::MergePlaces(const double* xy, int numPoints, std::vector<int>& newIndex) {
    std::unordered_map<Place, int, PairHash> placeIndex;
    newIndex.resize(static_cast<std::size_t>(numPoints));
    for (int i = 0; i < numPoints; ++i) {
        const auto [at, isNew] =
            placeIndex.emplace(PlaceOf(xy, i), static_cast<int>(firstOf_.size()));
        if (isNew) {
            mergedXy_.push_back(xy[2 * static_cast<std::size_t>(i)]);
            mergedXy_.push_back(xy[2 * static_cast<std::size_t>(i) + 1]);
            firstOf_.push_back(i);
        }
        newIndex[static_cast<std::size_t>(i)] = at->second;
    }
    xy_ = mergedXy_.data();
    numPoints_ = static_cast<int>(firstOf_.size());
}

void TriangulatorInput::KeepSegments(const int* segments, int numSegments,
                                     const std::vector<int>* newIndex) {
    std::unordered_set<Place, PairHash> seen;
    for (int s = 0; s < numSegments; ++s) {
        int a = segments[2 * s], b = segments[2 * s + 1];
        if (!IsPoint(a, numInputPoints_) || !IsPoint(b, numInputPoints_)) continue;
        if (newIndex) {
            a = (*newIndex)[static_cast<std::size_t>(a)];
            b = (*newIndex)[static_cast<std::size_t>(b)];
        }
        if (a == b || !seen.insert(Unordered(a, b)).second) continue;
        keptSegments_.push_back(a);
        keptSegments_.push_back(b);
    }
    segments_ = keptSegments_.data();
    numSegments_ = static_cast<int>(keptSegments_.size() / 2);
}

}  // namespace selvora
