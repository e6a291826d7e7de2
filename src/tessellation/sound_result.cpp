#include "tessellation/sound_result.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "selvora/tessellation/tessellation.h"
#include "tessellation/exact_crossing.h"

namespace selvora {

namespace {

// How far from a segment, relative to the larger magnitude of its ends'
// coordinates, a vertex added at one of its crossings may lie. The
// triangulator's own crossings land within a few units in the last place of
// that magnitude; a vertex further away is one of its failures.
const double kReach = std::ldexp(1.0, -42);

struct Vertex {
    double x, y;
    bool added;
    bool operator<(const Vertex& o) const { return x != o.x ? x < o.x : y < o.y; }
};

// A segment's ends and its bounds widened by how far a crossing of it may lie.
struct Segment {
    double ax, ay, bx, by;
    double x0, y0, x1, y1;
    double reach;
};

bool TrianglesTurnLeft(const selvora_triangulation& result) {
    const double* xy = result.xy;
    for (int t = 0; t < result.count; ++t) {
        const int* c = result.corners + 3 * static_cast<std::size_t>(t);
        for (int k = 0; k < 3; ++k) {
            if (c[k] < 0 || c[k] >= result.numPoints) return false;
        }
        if (selvora_triangle_orientation(xy + 2 * static_cast<std::size_t>(c[0]),
                                         xy + 2 * static_cast<std::size_t>(c[1]),
                                         xy + 2 * static_cast<std::size_t>(c[2])) <= 0) {
            return false;
        }
    }
    return true;
}

// Every added vertex a coordinate the predicates take, and at a place where
// no other vertex stands.
bool AddedVerticesStandAlone(const selvora_triangulation& result, int inputPoints) {
    std::vector<Vertex> vertices;
    vertices.reserve(static_cast<std::size_t>(result.numPoints));
    for (int i = 0; i < result.numPoints; ++i) {
        // + 0.0 makes -0 the place of +0.
        const double x = result.xy[2 * static_cast<std::size_t>(i)] + 0.0;
        const double y = result.xy[2 * static_cast<std::size_t>(i) + 1] + 0.0;
        const bool added = i >= inputPoints;
        if (added && !(OV_isTessellationCoordinate(x) && OV_isTessellationCoordinate(y))) {
            return false;
        }
        vertices.push_back({x, y, added});
    }
    std::sort(vertices.begin(), vertices.end());
    for (std::size_t i = 1; i < vertices.size(); ++i) {
        const Vertex &p = vertices[i - 1], &q = vertices[i];
        if (p.x == q.x && p.y == q.y && (p.added || q.added)) return false;
    }
    return true;
}

Segment SegmentOf(const double* a, const double* b) {
    Segment s{a[0], a[1], b[0], b[1], 0, 0, 0, 0, 0};
    s.reach =
        kReach * std::max({std::fabs(a[0]), std::fabs(a[1]), std::fabs(b[0]), std::fabs(b[1])});
    s.x0 = std::min(a[0], b[0]) - s.reach;
    s.x1 = std::max(a[0], b[0]) + s.reach;
    s.y0 = std::min(a[1], b[1]) - s.reach;
    s.y1 = std::max(a[1], b[1]) + s.reach;
    return s;
}

// Whether (x, y) lies within the segment's reach of it, in double arithmetic
// (the reach is far above its rounding errors).
bool Near(const Segment& s, double x, double y) {
    if (x < s.x0 || x > s.x1 || y < s.y0 || y > s.y1) return false;
    const double dx = s.bx - s.ax, dy = s.by - s.ay;
    const double length = std::hypot(dx, dy);
    if (length == 0) return false;
    const double across = std::fabs(dx * (y - s.ay) - dy * (x - s.ax)) / length;
    return across <= s.reach;
}

int Orientation(double ax, double ay, double bx, double by, double cx, double cy) {
    const double a[2] = {ax, ay}, b[2] = {bx, by}, c[2] = {cx, cy};
    const double det = selvora_triangle_orientation(a, b, c);
    return (det > 0) - (det < 0);
}

bool CrossProperly(const Segment& s, const Segment& t) {
    return Orientation(s.ax, s.ay, s.bx, s.by, t.ax, t.ay) *
                   Orientation(s.ax, s.ay, s.bx, s.by, t.bx, t.by) <
               0 &&
           Orientation(t.ax, t.ay, t.bx, t.by, s.ax, s.ay) *
                   Orientation(t.ax, t.ay, t.bx, t.by, s.bx, s.by) <
               0;
}

// Two of the segments that cross each other (exactly decided), or nulls.
std::pair<const Segment*, const Segment*> CrossingPair(
    const std::vector<const Segment*>& segments) {
    for (std::size_t i = 0; i < segments.size(); ++i) {
        for (std::size_t j = i + 1; j < segments.size(); ++j) {
            if (CrossProperly(*segments[i], *segments[j])) return {segments[i], segments[j]};
        }
    }
    return {nullptr, nullptr};
}

// Whether the segment from a to b separates p from q: it crosses the segment
// between them at a point inside both.
bool Separate(const double* a, const double* b, const double* p, const double* q) {
    return Orientation(a[0], a[1], b[0], b[1], p[0], p[1]) *
                   Orientation(a[0], a[1], b[0], b[1], q[0], q[1]) <
               0 &&
           Orientation(p[0], p[1], q[0], q[1], a[0], a[1]) *
                   Orientation(p[0], p[1], q[0], q[1], b[0], b[1]) <
               0;
}

// The input's points sorted by x, for the points within a box.
class PointsByX {
  public:
    PointsByX(const double* xy, int numPoints) {
        for (int i = 0; i < numPoints; ++i) {
            points_.push_back({xy[2 * static_cast<std::size_t>(i)],
                               xy[2 * static_cast<std::size_t>(i) + 1], false});
        }
        std::sort(points_.begin(), points_.end());
    }

    // Whether a point lies in the box, the point `apart` aside.
    bool AnyWithin(double x0, double y0, double x1, double y1, const double* apart) const {
        auto p = std::lower_bound(points_.begin(), points_.end(), Vertex{x0, -HUGE_VAL, false});
        for (; p != points_.end() && p->x <= x1; ++p) {
            if (y0 <= p->y && p->y <= y1 && !(p->x == apart[0] && p->y == apart[1])) return true;
        }
        return false;
    }

  private:
    std::vector<Vertex> points_;
};

// Whether the vertex v that the triangulator added for the crossing of s and
// t may stand for it: the exact crossing x, rounded, is a coordinate the
// predicates take, and nothing of the graph lies between the two (no point in
// their bounding box but one at x itself, no other segment crossing the line
// from one to the other). The triangulator then sees the graph around v as it
// is around x.
bool StandsFor(const Vertex& v, const Segment& s, const Segment& t,
               const std::vector<const Segment*>& nearby, const PointsByX& points) {
    const double sa[2] = {s.ax, s.ay}, sb[2] = {s.bx, s.by}, ta[2] = {t.ax, t.ay},
                 tb[2] = {t.bx, t.by};
    double x[2];
    ExactCrossing(sa, sb, ta, tb, x);
    if (!OV_isTessellationCoordinate(x[0]) || !OV_isTessellationCoordinate(x[1])) return false;
    const double p[2] = {v.x, v.y};
    if (p[0] == x[0] && p[1] == x[1]) return true;
    if (points.AnyWithin(std::min(p[0], x[0]), std::min(p[1], x[1]), std::max(p[0], x[0]),
                         std::max(p[1], x[1]), x)) {
        return false;
    }
    for (const Segment* u : nearby) {
        if (u == &s || u == &t) continue;
        const double ua[2] = {u->ax, u->ay}, ub[2] = {u->bx, u->by};
        if (Separate(ua, ub, p, x)) return false;
    }
    return true;
}

// The input's segments, widened, in order of their left bounds.
std::vector<Segment> SegmentsByX(TriangulatorInput& input) {
    const double* xy = input.Points();
    const int* ends = input.Segments();
    std::vector<Segment> segments;
    segments.reserve(static_cast<std::size_t>(input.NumSegments()));
    for (int s = 0; s < input.NumSegments(); ++s) {
        segments.push_back(SegmentOf(xy + 2 * static_cast<std::size_t>(ends[2 * s]),
                                     xy + 2 * static_cast<std::size_t>(ends[2 * s + 1])));
    }
    std::sort(segments.begin(), segments.end(),
              [](const Segment& p, const Segment& q) { return p.x0 < q.x0; });
    return segments;
}

// Every added vertex near two of the input's segments that cross each other,
// and standing for their crossing; the segments are found by a sweep in x
// over their widened bounds.
bool AddedVerticesLieOnCrossings(const selvora_triangulation& result, TriangulatorInput& input) {
    const double* xy = input.Points();
    const std::vector<Segment> segments = SegmentsByX(input);
    std::vector<Vertex> added;
    for (int i = input.NumPoints(); i < result.numPoints; ++i) {
        added.push_back({result.xy[2 * static_cast<std::size_t>(i)],
                         result.xy[2 * static_cast<std::size_t>(i) + 1], true});
    }
    std::sort(added.begin(), added.end());
    const PointsByX points(xy, input.NumPoints());
    std::vector<const Segment*> active, near;
    std::size_t next = 0;
    for (const Vertex& v : added) {
        while (next < segments.size() && segments[next].x0 <= v.x)
            active.push_back(&segments[next++]);
        active.erase(std::remove_if(active.begin(), active.end(),
                                    [&](const Segment* s) { return s->x1 < v.x; }),
                     active.end());
        near.clear();
        for (const Segment* s : active) {
            if (Near(*s, v.x, v.y)) near.push_back(s);
        }
        const auto crossing = CrossingPair(near);
        if (!crossing.first) return false;
        if (!StandsFor(v, *crossing.first, *crossing.second, active, points)) return false;
    }
    return true;
}

// Segments in a grid of cells over their bounds, for the segments whose
// bounds may overlap a box. The cell of a coordinate is monotone in it, so a
// box's cells cover those of every segment overlapping it.
class SegmentGrid {
  public:
    explicit SegmentGrid(const std::vector<Segment>& segments) : segments_(segments) {
        for (const Segment& s : segments) {
            x0_ = std::min(x0_, s.x0);
            x1_ = std::max(x1_, s.x1);
            y0_ = std::min(y0_, s.y0);
            y1_ = std::max(y1_, s.y1);
        }
        while (side_ * side_ < static_cast<int>(segments.size()) && side_ < 1024) side_ *= 2;
        cells_.resize(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_));
        for (std::size_t k = 0; k < segments.size(); ++k) {
            const Range r = RangeOf(segments[k]);
            if (r.Cells() > kMostCells) {
                large_.push_back(k);
                continue;
            }
            for (int cy = r.cy0; cy <= r.cy1; ++cy) {
                for (int cx = r.cx0; cx <= r.cx1; ++cx) cells_[Index(cx, cy)].push_back(k);
            }
        }
    }

    // Whether `test` holds for a segment whose cells meet the box's.
    template <typename Test>
    bool AnyOver(const Segment& box, Test test) const {
        for (std::size_t k : large_) {
            if (test(segments_[k])) return true;
        }
        const Range r = RangeOf(box);
        if (r.Cells() > kMostCells) {
            for (const Segment& s : segments_) {
                if (test(s)) return true;
            }
            return false;
        }
        for (int cy = r.cy0; cy <= r.cy1; ++cy) {
            for (int cx = r.cx0; cx <= r.cx1; ++cx) {
                for (std::size_t k : cells_[Index(cx, cy)]) {
                    if (test(segments_[k])) return true;
                }
            }
        }
        return false;
    }

  private:
    static constexpr int kMostCells = 64;

    struct Range {
        int cx0, cy0, cx1, cy1;
        long Cells() const { return long(cx1 - cx0 + 1) * long(cy1 - cy0 + 1); }
    };

    int Cell(double v, double lo, double hi) const {
        if (!(hi > lo)) return 0;
        const double at = std::floor((v - lo) / (hi - lo) * side_);
        return static_cast<int>(std::min(std::max(at, 0.0), side_ - 1.0));
    }
    Range RangeOf(const Segment& s) const {
        return {Cell(s.x0, x0_, x1_), Cell(s.y0, y0_, y1_), Cell(s.x1, x0_, x1_),
                Cell(s.y1, y0_, y1_)};
    }
    std::size_t Index(int cx, int cy) const {
        return static_cast<std::size_t>(cy) * static_cast<std::size_t>(side_) +
               static_cast<std::size_t>(cx);
    }

    const std::vector<Segment>& segments_;
    double x0_ = HUGE_VAL, y0_ = HUGE_VAL, x1_ = -HUGE_VAL, y1_ = -HUGE_VAL;
    int side_ = 1;
    std::vector<std::vector<std::size_t>> cells_;
    std::vector<std::size_t> large_;
};

// No edge of a triangle crosses one of the input's segments unless an end of
// the edge lies near the segment (a vertex added on it, whose edges may pass
// its line by the rounding). Where the triangulator routed a segment through
// vertices away from it, an edge crosses it elsewhere. Edges find the
// segments near them in a grid.
bool NoEdgeCutsASegment(const selvora_triangulation& result, TriangulatorInput& input) {
    // Each edge once (most belong to two triangles), by its ends.
    std::vector<std::pair<int, int>> ends;
    ends.reserve(3 * static_cast<std::size_t>(result.count));
    for (int t = 0; t < result.count; ++t) {
        const int* c = result.corners + 3 * static_cast<std::size_t>(t);
        for (int k = 0; k < 3; ++k) {
            ends.push_back({std::min(c[k], c[(k + 1) % 3]), std::max(c[k], c[(k + 1) % 3])});
        }
    }
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    auto at = [&](int i) { return result.xy + 2 * static_cast<std::size_t>(i); };
    const std::vector<Segment> segments = SegmentsByX(input);
    const SegmentGrid grid(segments);
    auto cut = [](const Segment& edge, const Segment& s) {
        if (edge.x0 > s.x1 || s.x0 > edge.x1 || edge.y0 > s.y1 || s.y0 > edge.y1) return false;
        if (!CrossProperly(edge, s)) return false;
        return !Near(s, edge.ax, edge.ay) && !Near(s, edge.bx, edge.by);
    };
    for (const auto& [p, q] : ends) {
        const Segment edge = SegmentOf(at(p), at(q));
        if (grid.AnyOver(edge, [&](const Segment& s) { return cut(edge, s); })) return false;
    }
    return true;
}

// The triangles of a result in a grid of cells over their bounds, for the
// triangles that may hold a point.
class TriangleGrid {
  public:
    explicit TriangleGrid(const selvora_triangulation& result) : result_(result) {
        x0_ = y0_ = HUGE_VAL;
        x1_ = y1_ = -HUGE_VAL;
        for (int t = 0; t < result.count; ++t) {
            for (int k = 0; k < 3; ++k) {
                const double* p = Corner(t, k);
                x0_ = std::min(x0_, p[0]);
                x1_ = std::max(x1_, p[0]);
                y0_ = std::min(y0_, p[1]);
                y1_ = std::max(y1_, p[1]);
            }
        }
        while (side_ * side_ < result.count && side_ < 1024) side_ *= 2;
        cells_.resize(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_));
        for (int t = 0; t < result.count; ++t) {
            int cx0 = side_, cy0 = side_, cx1 = 0, cy1 = 0;
            for (int k = 0; k < 3; ++k) {
                const double* p = Corner(t, k);
                cx0 = std::min(cx0, Cell(p[0], x0_, x1_));
                cx1 = std::max(cx1, Cell(p[0], x0_, x1_));
                cy0 = std::min(cy0, Cell(p[1], y0_, y1_));
                cy1 = std::max(cy1, Cell(p[1], y0_, y1_));
            }
            if ((cx1 - cx0 + 1) * (cy1 - cy0 + 1) > kMostCells) {
                large_.push_back(t);
                continue;
            }
            for (int cy = cy0; cy <= cy1; ++cy) {
                for (int cx = cx0; cx <= cx1; ++cx) CellAt(cx, cy).push_back(t);
            }
        }
    }

    // Whether p lies inside or on a triangle without being one of its corners.
    bool Covers(const double* p) const {
        if (!(x0_ <= p[0] && p[0] <= x1_ && y0_ <= p[1] && p[1] <= y1_)) return false;
        const std::vector<int>& cell = cells_[Index(Cell(p[0], x0_, x1_), Cell(p[1], y0_, y1_))];
        for (int t : cell) {
            if (Holds(t, p)) return true;
        }
        for (int t : large_) {
            if (Holds(t, p)) return true;
        }
        return false;
    }

  private:
    static constexpr int kMostCells = 256;  // beyond, a triangle is tried for every point

    const double* Corner(int t, int k) const {
        return result_.xy +
               2 * static_cast<std::size_t>(result_.corners[3 * static_cast<std::size_t>(t) + k]);
    }

    // The cell of v between lo and hi: monotone in v, so that a triangle's
    // bounds cover the cells of every point inside it.
    int Cell(double v, double lo, double hi) const {
        if (!(hi > lo)) return 0;
        const double at = std::floor((v - lo) / (hi - lo) * side_);
        return static_cast<int>(std::min(std::max(at, 0.0), side_ - 1.0));
    }

    std::size_t Index(int cx, int cy) const {
        return static_cast<std::size_t>(cy) * static_cast<std::size_t>(side_) +
               static_cast<std::size_t>(cx);
    }
    std::vector<int>& CellAt(int cx, int cy) { return cells_[Index(cx, cy)]; }

    bool Holds(int t, const double* p) const {
        const double *a = Corner(t, 0), *b = Corner(t, 1), *c = Corner(t, 2);
        for (const double* corner : {a, b, c}) {
            if (corner[0] == p[0] && corner[1] == p[1]) return false;
        }
        return selvora_triangle_orientation(a, b, p) >= 0 &&
               selvora_triangle_orientation(b, c, p) >= 0 &&
               selvora_triangle_orientation(c, a, p) >= 0;
    }

    const selvora_triangulation& result_;
    double x0_, y0_, x1_, y1_;
    int side_ = 1;
    std::vector<std::vector<int>> cells_;
    std::vector<int> large_;
};

// No vertex that is a corner of no triangle lies inside or on one. Where the
// triangulator's mesh folded over itself, the triangles of the fold may have
// been carved away with the region outside the segments, leaving the
// vertices between them under a triangle that remains.
bool NoVertexInsideATriangle(const selvora_triangulation& result) {
    std::vector<char> corner(static_cast<std::size_t>(result.numPoints), 0);
    for (std::size_t k = 0; k < 3 * static_cast<std::size_t>(result.count); ++k) {
        corner[static_cast<std::size_t>(result.corners[k])] = 1;
    }
    if (std::find(corner.begin(), corner.end(), 0) == corner.end()) return true;
    const TriangleGrid grid(result);
    for (int i = 0; i < result.numPoints; ++i) {
        if (!corner[static_cast<std::size_t>(i)] &&
            grid.Covers(result.xy + 2 * static_cast<std::size_t>(i))) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool IsSound(const selvora_triangulation& result, TriangulatorInput& input) {
    // Without added vertices every decision of the run was exact: its mesh is
    // a constrained Delaunay triangulation of the graph as it stands.
    if (result.numPoints == input.NumPoints()) return true;
    return TrianglesTurnLeft(result) && NoVertexInsideATriangle(result) &&
           AddedVerticesStandAlone(result, input.NumPoints()) &&
           AddedVerticesLieOnCrossings(result, input) && NoEdgeCutsASegment(result, input);
}

}  // namespace selvora
