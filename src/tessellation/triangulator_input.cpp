#include "tessellation/triangulator_input.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>

#include "tessellation/orientation.h"
#include "tessellation/place.h"

namespace selvora {

namespace {

Place PlaceOf(const double* xy, int i) {
    return selvora::PlaceOf(xy[2 * static_cast<std::size_t>(i)],
                            xy[2 * static_cast<std::size_t>(i) + 1]);
}

// A segment by its two ends in either order.
Place Unordered(int a, int b) {
    return {static_cast<std::uint64_t>(std::min(a, b)), static_cast<std::uint64_t>(std::max(a, b))};
}

bool IsPoint(int index, int numPoints) { return index >= 0 && index < numPoints; }

// True when some segment end shares its place with another point.
bool SegmentEndHasTwin(const double* xy, int numPoints, const int* segments, int numSegments) {
    if (numSegments <= 0) return false;
    PlaceCounts ends(2 * static_cast<std::size_t>(numSegments));
    for (int k = 0; k < 2 * numSegments; ++k) {
        if (IsPoint(segments[k], numPoints)) ends.Add(PlaceOf(xy, segments[k]));
    }
    for (int i = 0; i < numPoints; ++i) {
        int* count = ends.Find(PlaceOf(xy, i));
        if (count && ++*count > 1) return true;
    }
    return false;
}

// True when every segment joins two different points and none repeats.
bool SegmentsAreClean(const int* segments, int numSegments, int numPoints) {
    std::unordered_set<Place, PlaceHash> seen;
    for (int s = 0; s < numSegments; ++s) {
        const int a = segments[2 * s], b = segments[2 * s + 1];
        if (!IsPoint(a, numPoints) || !IsPoint(b, numPoints) || a == b) return false;
        if (!seen.insert(Unordered(a, b)).second) return false;
    }
    return true;
}

int Sign(double v) { return (v > 0) - (v < 0); }

// True when p, seen from s, lies in the same direction as q (the three being
// on one line): the coordinates compare alike.
bool SameDirection(const double* s, const double* p, const double* q) {
    return Sign(p[0] - s[0]) == Sign(q[0] - s[0]) && Sign(p[1] - s[1]) == Sign(q[1] - s[1]);
}

// True when the seed lies strictly outside the convex hull of the points: the
// directions from it to all points fit in a wedge narrower than a half turn.
// Every orientation is decided exactly, so a seed on the hull counts as inside.
bool OutsideHull(const double* xy, int numPoints, const double* seed) {
    // The wedge runs counter-clockwise from the direction of a to that of b.
    const double* a = xy;
    const double* b = xy;
    if (a[0] == seed[0] && a[1] == seed[1]) return false;
    for (int i = 1; i < numPoints; ++i) {
        const double* d = xy + 2 * static_cast<std::size_t>(i);
        if (d[0] == seed[0] && d[1] == seed[1]) return false;
        const int fromA = Turn(seed, a, d), toB = Turn(seed, d, b);
        if (fromA == 0 || toB == 0) {
            // Along a or b: outward is harmless, backward means the wedge
            // reaches a half turn.
            if ((fromA == 0 && SameDirection(seed, d, a)) ||
                (toB == 0 && SameDirection(seed, d, b))) {
                continue;
            }
            return false;
        }
        if (fromA > 0 && toB > 0) continue;  // inside the wedge
        // Widening keeps the wedge under a half turn only when d stays on the
        // inner side of the other bound.
        if (fromA < 0 && toB > 0) {
            a = d;  // clockwise of a: the wedge becomes d..b
        } else if (toB < 0 && fromA > 0) {
            b = d;  // counter-clockwise of b: the wedge becomes a..d
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
        return OutsideHull(xy_, numPoints_, holes + 2 * static_cast<std::size_t>(h));
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
    std::unordered_map<Place, int, PlaceHash> placeIndex;
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
    std::unordered_set<Place, PlaceHash> seen;
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
