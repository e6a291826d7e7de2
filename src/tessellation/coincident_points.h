// Points that stand at the same place. The triangulator keeps one point of
// each place and drops the others; a segment that ends at a dropped point
// sends it through links that were never set, and it crashes. Such input is
// merged before it is handed over, and the result is numbered back.
#pragma once

#include <cstddef>
#include <vector>

namespace selvora {

// True when some segment end (a valid index) shares its place with another
// point. -0 and +0 are the same place.
bool SegmentEndHasTwin(const double* xy, int numPoints, const int* segments, int numSegments);

// The input with each place kept once, in order of first appearance.
struct MergedInput {
    std::vector<double> xy;
    std::vector<int> segments;  // renumbered; an end that names no point becomes -1
    std::vector<int> firstOf;   // merged index -> input index of the place's first point

    int Points() const { return static_cast<int>(firstOf.size()); }
    // A corner of the merged result as an input index. Points the triangulator
    // added (where segments cross) follow the input's points, as they would
    // without merging.
    int InputIndex(int corner, int numInputPoints) const {
        return corner < Points() ? firstOf[static_cast<std::size_t>(corner)]
                                 : corner - Points() + numInputPoints;
    }
};

MergedInput MergeCoincidentPoints(const double* xy, int numPoints, const int* segments,
                                  int numSegments);

}  // namespace selvora
