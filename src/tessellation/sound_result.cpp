#include "tessellation/sound_result.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "selvora/tessellation/tessellation.h"
#include "tessellation/exact_crossing.h"
#include "tessellation/orientation.h"
#include "tessellation/place.h"

namespace selvora {

namespace {

// How far from a segment, relative to the larger magnitude of its ends'
// coordinates, a vertex added at one of its crossings may lie. The
// triangulator's own crossings land within a few units in the last place of
// that magnitude; a vertex further away is one of its failures.
const double kReach = std::ldexp(1.0, -42);

struct Box {
    double x0, y0, x1, y1;
};

bool Overlap(const Box& p, const Box& q) {
    return p.x0 <= q.x1 && q.x0 <= p.x1 && p.y0 <= q.y1 && q.y0 <= p.y1;
}

// A segment's ends (their indices among the result's vertices, and x, y),
// its bounds widened by how far a crossing of it may lie, and the unit
// normal of its line.
struct Segment {
    int a, b;
    double pa[2], pb[2];
    Box bounds;
    double reach;
    double nx, ny;
};

bool TrianglesTurnLeft(const selvora_triangulation& result) {
    const double* xy = result.xy;
    for (int t = 0; t < result.count; ++t) {
        const int* c = result.corners + 3 * static_cast<std::size_t>(t);
        for (int k = 0; k < 3; ++k) {
            if (c[k] < 0 || c[k] >= result.numPoints) return false;
        }
        if (Turn(xy + 2 * static_cast<std::size_t>(c[0]), xy + 2 * static_cast<std::size_t>(c[1]),
                 xy + 2 * static_cast<std::size_t>(c[2])) <= 0) {
            return false;
        }
    }
    return true;
}

// The input's points by their places, for the points at a place or within a
// box.
class InputPoints {
  public:
    InputPoints(const double* xy, int numPoints)
        : xy_(xy), numPoints_(numPoints), places_(static_cast<std::size_t>(numPoints)) {
        for (int i = 0; i < numPoints; ++i) places_.Add(PlaceOf(At(i)[0], At(i)[1]));
    }

    bool Has(double x, double y) const { return places_.Has(PlaceOf(x, y)); }

    // Whether a point lies in the box from lo to hi, the point `apart` aside.
    // A box a few steps of the coordinates wide, as the box between a vertex
    // and the crossing it stands for almost always is, is searched place by
    // place; a wider one point by point.
    bool AnyWithin(const double* lo, const double* hi, const double* apart) const {
        if (Steps(lo[0], hi[0]) <= kMostSteps && Steps(lo[1], hi[1]) <= kMostSteps) {
            for (double x = lo[0]; x <= hi[0]; x = std::nextafter(x, HUGE_VAL)) {
                for (double y = lo[1]; y <= hi[1]; y = std::nextafter(y, HUGE_VAL)) {
                    if (!(x == apart[0] && y == apart[1]) && Has(x, y)) return true;
                }
            }
            return false;
        }
        for (int i = 0; i < numPoints_; ++i) {
            const double* p = At(i);
            if (lo[0] <= p[0] && p[0] <= hi[0] && lo[1] <= p[1] && p[1] <= hi[1] &&
                !(p[0] == apart[0] && p[1] == apart[1])) {
                return true;
            }
        }
        return false;
    }

  private:
    static constexpr int kMostSteps = 8;

    // The steps from lo up to hi through the doubles, or one past kMostSteps
    // when they are more or lo and hi differ in sign. The bits of doubles of
    // one sign (-0 taken as +0) are ordered as their magnitudes.
    static int Steps(double lo, double hi) {
        if (lo < 0 && hi > 0) return kMostSteps + 1;
        const std::uint64_t a = Bits(lo), b = Bits(hi);
        const std::uint64_t steps = a <= b ? b - a : a - b;
        return steps > kMostSteps ? kMostSteps + 1 : static_cast<int>(steps);
    }

    const double* At(int i) const { return xy_ + 2 * static_cast<std::size_t>(i); }

    const double* xy_;
    int numPoints_;
    PlaceCounts places_;
};

// Every added vertex a coordinate the predicates take, and at a place where
// no other vertex stands. (The input's points are at places of their own.)
bool AddedVerticesStandAlone(const selvora_triangulation& result, int inputPoints,
                             const InputPoints& points) {
    PlaceCounts added(static_cast<std::size_t>(result.numPoints - inputPoints));
    for (int i = inputPoints; i < result.numPoints; ++i) {
        const double x = result.xy[2 * static_cast<std::size_t>(i)];
        const double y = result.xy[2 * static_cast<std::size_t>(i) + 1];
        if (!(OV_isTessellationCoordinate(x) && OV_isTessellationCoordinate(y))) return false;
        if (points.Has(x, y) || added.Has(PlaceOf(x, y))) return false;
        added.Add(PlaceOf(x, y));
    }
    return true;
}

Segment SegmentOf(const double* xy, int a, int b) {
    const double *p = xy + 2 * static_cast<std::size_t>(a),
                 *q = xy + 2 * static_cast<std::size_t>(b);
    Segment s{a, b, {p[0], p[1]}, {q[0], q[1]}, {}, 0, 0, 0};
    s.reach =
        kReach * std::max({std::fabs(p[0]), std::fabs(p[1]), std::fabs(q[0]), std::fabs(q[1])});
    s.bounds = {std::min(p[0], q[0]) - s.reach, std::min(p[1], q[1]) - s.reach,
                std::max(p[0], q[0]) + s.reach, std::max(p[1], q[1]) + s.reach};
    // No square overflows or underflows for the coordinates the predicates
    // take.
    const double length = std::sqrt((q[0] - p[0]) * (q[0] - p[0]) + (q[1] - p[1]) * (q[1] - p[1]));
    if (length > 0) {
        s.nx = -(q[1] - p[1]) / length;
        s.ny = (q[0] - p[0]) / length;
    }
    return s;
}

// Whether (x, y) lies within the segment's reach of it, in double arithmetic
// (the reach is far above its rounding errors). A segment without a length
// has no normal and is near nothing.
bool Near(const Segment& s, const double* p) {
    if (!Overlap(s.bounds, {p[0], p[1], p[0], p[1]})) return false;
    if (s.nx == 0 && s.ny == 0) return false;
    return std::fabs(s.nx * (p[0] - s.pa[0]) + s.ny * (p[1] - s.pa[1])) <= s.reach;
}

// Items (numbered from 0) in a grid of cells over their boxes, for the items
// whose boxes may overlap a given box. The cell of a coordinate is monotone
// in it, so a box's cells cover those of every box overlapping it. An item
// over more than `mostCells` cells is kept aside and tried for every box.
class BoxGrid {
  public:
    BoxGrid(const std::vector<Box>& boxes, long mostCells)
        : items_(boxes.size()), mostCells_(mostCells) {
        for (const Box& b : boxes) {
            bounds_.x0 = std::min(bounds_.x0, b.x0);
            bounds_.y0 = std::min(bounds_.y0, b.y0);
            bounds_.x1 = std::max(bounds_.x1, b.x1);
            bounds_.y1 = std::max(bounds_.y1, b.y1);
        }
        while (side_ * side_ < static_cast<long>(boxes.size()) && side_ < 1024) side_ *= 2;
        // The items of each cell in one list: counted, the counts summed to
        // the ends of the cells' ranges, and each item put in moving its
        // cell's end down, until it marks the range's start.
        std::vector<Range> ranges;
        ranges.reserve(boxes.size());
        for (std::size_t k = 0; k < boxes.size(); ++k) {
            ranges.push_back(RangeOf(boxes[k]));
            if (ranges.back().Cells() > mostCells_) large_.push_back(static_cast<int>(k));
        }
        first_.assign(static_cast<std::size_t>(side_ * side_) + 1, 0);
        ForEachCell(ranges, [&](std::size_t cell, int) { ++first_[cell]; });
        int sum = 0;
        for (int& f : first_) f = sum += f;
        inCells_.resize(static_cast<std::size_t>(sum));
        ForEachCell(ranges, [&](std::size_t cell, int k) {
            inCells_[static_cast<std::size_t>(--first_[cell])] = k;
        });
    }

    // Whether `test` holds for an item whose cells meet the box's (for every
    // item, when the box spans too many cells).
    template <typename Test>
    bool AnyOver(const Box& box, Test test) const {
        const Range r = RangeOf(box);
        if (r.Cells() > mostCells_) {
            for (std::size_t k = 0; k < items_; ++k) {
                if (test(static_cast<int>(k))) return true;
            }
            return false;
        }
        for (int k : large_) {
            if (test(k)) return true;
        }
        for (long cy = r.cy0; cy <= r.cy1; ++cy) {
            for (long cx = r.cx0; cx <= r.cx1; ++cx) {
                const std::size_t cell = Index(cx, cy);
                for (int i = first_[cell]; i < first_[cell + 1]; ++i) {
                    if (test(inCells_[static_cast<std::size_t>(i)])) return true;
                }
            }
        }
        return false;
    }

  private:
    struct Range {
        long cx0, cy0, cx1, cy1;
        long Cells() const { return (cx1 - cx0 + 1) * (cy1 - cy0 + 1); }
    };

    // Calls visit(cell, k) for each cell of each item k not kept aside.
    template <typename Visit>
    void ForEachCell(const std::vector<Range>& ranges, Visit visit) const {
        for (std::size_t k = 0; k < ranges.size(); ++k) {
            const Range& r = ranges[k];
            if (r.Cells() > mostCells_) continue;
            for (long cy = r.cy0; cy <= r.cy1; ++cy) {
                for (long cx = r.cx0; cx <= r.cx1; ++cx) visit(Index(cx, cy), static_cast<int>(k));
            }
        }
    }

    long Cell(double v, double lo, double hi) const {
        if (!(hi > lo)) return 0;
        const double at = std::floor((v - lo) / (hi - lo) * static_cast<double>(side_));
        return static_cast<long>(std::min(std::max(at, 0.0), static_cast<double>(side_ - 1)));
    }
    Range RangeOf(const Box& b) const {
        return {Cell(b.x0, bounds_.x0, bounds_.x1), Cell(b.y0, bounds_.y0, bounds_.y1),
                Cell(b.x1, bounds_.x0, bounds_.x1), Cell(b.y1, bounds_.y0, bounds_.y1)};
    }
    std::size_t Index(long cx, long cy) const { return static_cast<std::size_t>(cy * side_ + cx); }

    std::size_t items_;
    long mostCells_;
    Box bounds_{HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    long side_ = 1;
    std::vector<int> first_;  // the cells' ranges in inCells_
    std::vector<int> inCells_;
    std::vector<int> large_;
};

bool SegmentsCross(const Segment& s, const Segment& t) {
    return CrossProperly(s.pa, s.pb, t.pa, t.pb);
}

// Two of the segments that cross each other (exactly decided), or nulls.
std::pair<const Segment*, const Segment*> CrossingPair(
    const std::vector<const Segment*>& segments) {
    for (std::size_t i = 0; i < segments.size(); ++i) {
        for (std::size_t j = i + 1; j < segments.size(); ++j) {
            if (SegmentsCross(*segments[i], *segments[j])) return {segments[i], segments[j]};
        }
    }
    return {nullptr, nullptr};
}

// Whether the vertex v that the triangulator added for the crossing of s and
// t may stand for it: the exact crossing x, rounded, is a coordinate the
// predicates take, and nothing of the graph lies between the two (no point in
// their bounding box but one at x itself, no other segment crossing the line
// from one to the other). The triangulator then sees the graph around v as it
// is around x.
bool StandsFor(const double* p, const Segment& s, const Segment& t,
               const std::vector<Segment>& segments, const BoxGrid& grid,
               const InputPoints& points) {
    double x[2];
    ExactCrossing(s.pa, s.pb, t.pa, t.pb, x);
    if (!OV_isTessellationCoordinate(x[0]) || !OV_isTessellationCoordinate(x[1])) return false;
    if (p[0] == x[0] && p[1] == x[1]) return true;
    const double lo[2] = {std::min(p[0], x[0]), std::min(p[1], x[1])};
    const double hi[2] = {std::max(p[0], x[0]), std::max(p[1], x[1])};
    if (points.AnyWithin(lo, hi, x)) return false;
    const Box between{lo[0], lo[1], hi[0], hi[1]};
    return !grid.AnyOver(between, [&](int k) {
        const Segment& u = segments[static_cast<std::size_t>(k)];
        if (&u == &s || &u == &t || !Overlap(u.bounds, between)) return false;
        return CrossProperly(u.pa, u.pb, p, x);  // u separates v from x
    });
}

// The segments in a grid over their widened bounds.
BoxGrid GridOf(const std::vector<Segment>& segments) {
    std::vector<Box> boxes;
    boxes.reserve(segments.size());
    for (const Segment& s : segments) boxes.push_back(s.bounds);
    return BoxGrid(boxes, 64);
}

// The input's segments, widened.
std::vector<Segment> SegmentsOf(TriangulatorInput& input) {
    const int* ends = input.Segments();
    std::vector<Segment> segments;
    segments.reserve(static_cast<std::size_t>(input.NumSegments()));
    for (int s = 0; s < input.NumSegments(); ++s) {
        segments.push_back(SegmentOf(input.Points(), ends[2 * s], ends[2 * s + 1]));
    }
    return segments;
}

// Every added vertex near two of the input's segments that cross each other,
// and standing for their crossing; the segments near a vertex are found in a
// grid over their widened bounds.
bool AddedVerticesLieOnCrossings(const selvora_triangulation& result, int inputPoints,
                                 const std::vector<Segment>& segments, const InputPoints& points) {
    const BoxGrid grid = GridOf(segments);
    std::vector<const Segment*> near;
    for (int i = inputPoints; i < result.numPoints; ++i) {
        const double* v = result.xy + 2 * static_cast<std::size_t>(i);
        near.clear();
        grid.AnyOver({v[0], v[1], v[0], v[1]}, [&](int k) {
            const Segment& s = segments[static_cast<std::size_t>(k)];
            if (Near(s, v)) near.push_back(&s);
            return false;  // on to the next
        });
        const auto crossing = CrossingPair(near);
        if (!crossing.first) return false;
        if (!StandsFor(v, *crossing.first, *crossing.second, segments, grid, points)) return false;
    }
    return true;
}

// The vertices of a result, each with the vertices its edges lead to
// counter-clockwise round the triangles. An edge between two triangles leads
// both ways; an edge on the boundary of the triangles only one way.
class Neighbours {
  public:
    explicit Neighbours(const selvora_triangulation& result)
        : first_(static_cast<std::size_t>(result.numPoints) + 1, 0) {
        const std::size_t corners = 3 * static_cast<std::size_t>(result.count);
        // The counts become the ends of the vertices' ranges, and each
        // neighbour put in moves its vertex's end down, until it marks the
        // range's start.
        for (std::size_t k = 0; k < corners; ++k) ++first_[Corner(result, k)];
        int sum = 0;
        for (int& f : first_) f = sum += f;
        list_.resize(static_cast<std::size_t>(sum));
        for (std::size_t k = 0; k < corners; ++k) {
            const std::size_t p = Corner(result, k), q = Corner(result, k - k % 3 + (k + 1) % 3);
            list_[static_cast<std::size_t>(--first_[p])] = static_cast<int>(q);
        }
    }

    const int* begin(int v) const { return list_.data() + first_[static_cast<std::size_t>(v)]; }
    const int* end(int v) const { return list_.data() + first_[static_cast<std::size_t>(v) + 1]; }

  private:
    static std::size_t Corner(const selvora_triangulation& result, std::size_t k) {
        return static_cast<std::size_t>(result.corners[k]);
    }

    std::vector<int> first_;
    std::vector<int> list_;
};

// Whether a chain of edges through vertices near the segment leads from
// `from` to `to`: a search over such vertices. `mark` is set in `reached`
// for each vertex the search comes to; `stack` is room for the search.
bool Leads(int from, int to, const Segment& s, const Neighbours& neighbours, const double* xy,
           int mark, std::vector<int>& reached, std::vector<int>& stack) {
    stack.assign(1, from);
    reached[static_cast<std::size_t>(from)] = mark;
    while (!stack.empty()) {
        const int v = stack.back();
        stack.pop_back();
        for (const int* w = neighbours.begin(v); w != neighbours.end(v); ++w) {
            if (*w == to) return true;
            int& seen = reached[static_cast<std::size_t>(*w)];
            if (seen != mark && Near(s, xy + 2 * static_cast<std::size_t>(*w))) {
                seen = mark;
                stack.push_back(*w);
            }
        }
    }
    return false;
}

// Whether a chain of edges through vertices near the segment leads from one
// of its ends to the other. Where the triangulator routed a segment through a
// vertex away from its line, there is no such chain. A chain along the
// boundary of the triangles leads one way only, so both are tried. `reached`
// holds, for each vertex, the last search that came to it.
bool IsChain(int index, const Segment& s, const Neighbours& neighbours, const double* xy,
             std::vector<int>& reached, std::vector<int>& stack) {
    return s.a == s.b || Leads(s.a, s.b, s, neighbours, xy, 2 * index, reached, stack) ||
           Leads(s.b, s.a, s, neighbours, xy, 2 * index + 1, reached, stack);
}

// No edge of a triangle crosses one of the input's segments unless an end of
// the edge lies near the segment (a vertex added on it, whose edges may pass
// its line by the rounding). Where the triangulator routed a segment through
// vertices away from it, an edge crosses it elsewhere. Edges find the
// segments near them in a grid; an edge between two triangles is tried from
// each end.
bool NoEdgeCutsASegment(const selvora_triangulation& result, const Neighbours& neighbours,
                        const std::vector<Segment>& segments) {
    const BoxGrid grid = GridOf(segments);
    // The cheap tests first: an edge along a segment, or from a vertex on
    // it, would need the exact orientation's slow path to be told apart.
    auto cut = [](const Segment& edge, const Segment& s) {
        if (!Overlap(edge.bounds, s.bounds)) return false;
        if (Near(s, edge.pa) || Near(s, edge.pb)) return false;
        return SegmentsCross(edge, s);
    };
    for (int p = 0; p < result.numPoints; ++p) {
        for (const int* q = neighbours.begin(p); q != neighbours.end(p); ++q) {
            const Segment edge = SegmentOf(result.xy, p, *q);
            if (grid.AnyOver(edge.bounds, [&](int s) {
                    return cut(edge, segments[static_cast<std::size_t>(s)]);
                })) {
                return false;
            }
        }
    }
    return true;
}

// No input segment cut by an edge away from the vertices near it. Most
// segments are shown uncut by a chain of edges through vertices near them:
// the chain runs within the segment's reach, and an edge that crossed the
// segment away from the vertices near it would have to cross the chain too.
// A segment without such a chain (where the triangles on both sides of it
// were carved away, or where the triangulator routed it through a vertex away
// from its line, or folded its mesh over it) is tried against every edge.
// Every segment is searched, those far from any added vertex too: an added
// vertex near segments of a large magnitude may fold the mesh over a small
// one far from it.
bool NoSegmentIsCut(const selvora_triangulation& result, const std::vector<Segment>& segments) {
    const Neighbours neighbours(result);
    std::vector<int> reached(static_cast<std::size_t>(result.numPoints), -1), stack;
    std::vector<Segment> unchained;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        if (!IsChain(static_cast<int>(k), segments[k], neighbours, result.xy, reached, stack)) {
            unchained.push_back(segments[k]);
        }
    }
    return unchained.empty() || NoEdgeCutsASegment(result, neighbours, unchained);
}

// No vertex that is a corner of no triangle lies inside or on one. Where the
// triangulator's mesh folded over itself, the triangles of the fold may have
// been carved away with the region outside the segments, leaving the
// vertices between them under a triangle that remains.
bool NoVertexInsideATriangle(const selvora_triangulation& result) {
    std::vector<char> corners(static_cast<std::size_t>(result.numPoints), 0);
    for (std::size_t k = 0; k < 3 * static_cast<std::size_t>(result.count); ++k) {
        corners[static_cast<std::size_t>(result.corners[k])] = 1;
    }
    if (std::find(corners.begin(), corners.end(), 0) == corners.end()) return true;
    auto corner = [&](int t, int k) {
        return result.xy +
               2 * static_cast<std::size_t>(result.corners[3 * static_cast<std::size_t>(t) + k]);
    };
    std::vector<Box> boxes;
    boxes.reserve(static_cast<std::size_t>(result.count));
    for (int t = 0; t < result.count; ++t) {
        const double *a = corner(t, 0), *b = corner(t, 1), *c = corner(t, 2);
        boxes.push_back({std::min({a[0], b[0], c[0]}), std::min({a[1], b[1], c[1]}),
                         std::max({a[0], b[0], c[0]}), std::max({a[1], b[1], c[1]})});
    }
    const BoxGrid grid(boxes, 256);
    // Whether p lies inside or on triangle t without being one of its corners.
    auto holds = [&](int t, const double* p) {
        const double *a = corner(t, 0), *b = corner(t, 1), *c = corner(t, 2);
        for (const double* q : {a, b, c}) {
            if (q[0] == p[0] && q[1] == p[1]) return false;
        }
        return Turn(a, b, p) >= 0 && Turn(b, c, p) >= 0 && Turn(c, a, p) >= 0;
    };
    for (int i = 0; i < result.numPoints; ++i) {
        if (corners[static_cast<std::size_t>(i)]) continue;
        const double* p = result.xy + 2 * static_cast<std::size_t>(i);
        const Box at{p[0], p[1], p[0], p[1]};
        if (grid.AnyOver(at, [&](int t) { return holds(t, p); })) return false;
    }
    return true;
}

}  // namespace

bool IsSound(const selvora_triangulation& result, TriangulatorInput& input) {
    // Without added vertices every decision of the run was exact: its mesh is
    // a constrained Delaunay triangulation of the graph as it stands.
    if (result.numPoints == input.NumPoints()) return true;
    if (!TrianglesTurnLeft(result) || !NoVertexInsideATriangle(result)) return false;
    const InputPoints points(input.Points(), input.NumPoints());
    if (!AddedVerticesStandAlone(result, input.NumPoints(), points)) return false;
    const std::vector<Segment> segments = SegmentsOf(input);
    return AddedVerticesLieOnCrossings(result, input.NumPoints(), segments, points) &&
           NoSegmentIsCut(result, segments);
}

}  // namespace selvora
