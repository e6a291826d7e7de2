#include "tessellation/coincident_points.h"

#include <cstdint>
#include <cstring>
#include <unordered_map>

namespace selvora {

namespace {

struct Place {
    std::uint64_t x, y;
    bool operator==(const Place& o) const { return x == o.x && y == o.y; }
};

struct PlaceHash {
    size_t operator()(const Place& p) const {
        return static_cast<size_t>((p.x * 0x9E3779B97F4A7C15ull) ^ (p.y + 0x632BE59BD9B4E019ull));
    }
};

std::uint64_t Bits(double v) {
    if (v == 0.0) v = 0.0;  // -0 is the place of +0
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

Place PlaceOf(const double* xy, int i) {
    return {Bits(xy[2 * static_cast<size_t>(i)]), Bits(xy[2 * static_cast<size_t>(i) + 1])};
}

bool IsPoint(int index, int numPoints) { return index >= 0 && index < numPoints; }

}  // namespace

bool SegmentEndHasTwin(const double* xy, int numPoints, const int* segments, int numSegments) {
    if (numSegments <= 0) return false;
    // The places of the segment ends, then how many points stand at each.
    std::unordered_map<Place, int, PlaceHash> ends;
    for (int k = 0; k < 2 * numSegments; ++k) {
        if (IsPoint(segments[k], numPoints)) ends.emplace(PlaceOf(xy, segments[k]), 0);
    }
    for (int i = 0; i < numPoints; ++i) {
        const auto found = ends.find(PlaceOf(xy, i));
        if (found != ends.end() && ++found->second > 1) return true;
    }
    return false;
}

MergedInput MergeCoincidentPoints(const double* xy, int numPoints, const int* segments,
                                  int numSegments) {
    MergedInput merged;
    std::unordered_map<Place, int, PlaceHash> placeIndex;
    std::vector<int> mergedIndex(static_cast<size_t>(numPoints));
    for (int i = 0; i < numPoints; ++i) {
        const auto [at, isNew] = placeIndex.emplace(PlaceOf(xy, i), merged.Points());
        if (isNew) {
            merged.xy.push_back(xy[2 * static_cast<size_t>(i)]);
            merged.xy.push_back(xy[2 * static_cast<size_t>(i) + 1]);
            merged.firstOf.push_back(i);
        }
        mergedIndex[static_cast<size_t>(i)] = at->second;
    }
    merged.segments.reserve(2 * static_cast<size_t>(numSegments));
    for (int k = 0; k < 2 * numSegments; ++k) {
        merged.segments.push_back(
            IsPoint(segments[k], numPoints) ? mergedIndex[static_cast<size_t>(segments[k])] : -1);
    }
    return merged;
}

}  // namespace selvora
