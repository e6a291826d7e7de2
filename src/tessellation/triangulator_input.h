// The graph as it is handed to the triangulator. Two kinds of input make it
// misbehave: points at the same place where a segment ends (it keeps one
// copy of each place and follows links that were never set from segments
// ending at another copy, and crashes), a segment given twice (it loops
// forever), and a hole seed outside the points' convex hull (it walks off the
// mesh while locating it, and crashes). Such input is rewritten
// first: each place kept once; segments without a length, naming no point or
// repeated are left out; seeds outside the hull, which carve nothing, are
// dropped. The corners of the result are then numbered back to the caller's
// points.
#pragma once

#include <cstddef>
#include <vector>

namespace selvora {

class TriangulatorInput {
  public:
    // Takes the caller's buffers as they are when nothing needs rewriting.
    TriangulatorInput(double* xy, int numPoints, int* segments, int numSegments, double* holes,
                      int numHoles);

    double* Points() { return xy_; }
    int NumPoints() const { return numPoints_; }
    int* Segments() { return segments_; }
    int NumSegments() const { return numSegments_; }
    double* Holes() { return holes_; }
    int NumHoles() const { return numHoles_; }

    // A corner of the triangulation as an index into the caller's points.
    // Points the triangulator added where segments cross follow the caller's
    // points, as they would without rewriting.
    int InputIndex(int corner) const {
        if (firstOf_.empty()) return corner;
        const int kept = static_cast<int>(firstOf_.size());
        return corner < kept ? firstOf_[static_cast<std::size_t>(corner)]
                             : corner - kept + numInputPoints_;
    }

  private:
    void MergePlaces(const double* xy, int numPoints, std::vector<int>& newIndex);
    void KeepSegments(const int* segments, int numSegments, const std::vector<int>* newIndex);
    void KeepHolesInsideTheHull(double* holes, int numHoles);

    double* xy_;
    int numPoints_;
    int* segments_;
    int numSegments_;
    double* holes_;
    int numHoles_;
    int numInputPoints_;
    std::vector<double> mergedXy_;
    std::vector<int> firstOf_;  // kept place -> caller's index of its first point
    std::vector<int> keptSegments_;
    std::vector<double> keptHoles_;
};

}  // namespace selvora
