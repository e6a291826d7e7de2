#include "tessellation/crossing_resolution.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <unordered_map>

#include "selvora/tessellation/tessellation.h"
#include "tessellation/exact_crossing.h"
#include "tessellation/orientation.h"
#include "tessellation/place.h"

namespace selvora {

namespace {

// Bounds on the rounds of resolution and on the routings within one (see
// Resolver::Run). Random crossing drawings settle in two or three rounds;
// the bounds only keep a pathological graph from going on.
constexpr int kMaxRounds = 64;
constexpr int kMaxRoutings = 64;

// How many steps to the next coordinate a crossing may lie from a segment
// end and be taken to it.
constexpr double kEndReach = 4;

struct Point {
    double x, y;
};

struct Edge {
    int a, b;  // a < b
    bool operator<(const Edge& o) const { return a != o.a ? a < o.a : b < o.b; }
    bool operator==(const Edge& o) const { return a == o.a && b == o.b; }
};

// The exact orientation of c against the line from a to b: 1 to the left,
// -1 to the right, 0 on it.
int Orientation(const Point& a, const Point& b, const Point& c) {
    const double pa[2] = {a.x, a.y}, pb[2] = {b.x, b.y}, pc[2] = {c.x, c.y};
    return Turn(pa, pb, pc);
}

// The coordinate next to v toward `toward` (an infinity) among those the
// exact predicates take: the next double, except that the magnitudes between
// 0 and the smallest are skipped, and that past the largest there is none
// (v itself).
double Next(double v, double toward) {
    const double next = std::nextafter(v, toward);
    if (OV_isTessellationCoordinate(next)) return next;
    if (std::fabs(next) > OV_TESSELLATION_MAX_COORDINATE) return v;
    if (v != 0) return 0;
    return toward > 0 ? OV_TESSELLATION_MIN_COORDINATE : -OV_TESSELLATION_MIN_COORDINATE;
}

double Below(double v) { return Next(v, -HUGE_VAL); }
double Above(double v) { return Next(v, HUGE_VAL); }

// How far a crossing may lie from a segment end along one axis and be taken
// to it: a few steps to the next coordinates.
double EndReach(double v) { return kEndReach * std::max(Above(v) - v, v - Below(v)); }

// A crossing's coordinate made one the predicates take: magnitudes below the
// smallest go to 0 or to the smallest, whichever is nearer.
double Representable(double v) {
    const double size = std::fabs(v);
    if (size >= OV_TESSELLATION_MIN_COORDINATE) return v;
    if (size < OV_TESSELLATION_MIN_COORDINATE / 2) return 0;
    return v < 0 ? -OV_TESSELLATION_MIN_COORDINATE : OV_TESSELLATION_MIN_COORDINATE;
}

struct Box {
    double x0, y0, x1, y1;
};

// The box around p, reaching to the next coordinates each way.
Box BoxAround(const Point& p) { return {Below(p.x), Below(p.y), Above(p.x), Above(p.y)}; }

bool Inside(const Point& p, const Box& box) {
    return box.x0 <= p.x && p.x <= box.x1 && box.y0 <= p.y && p.y <= box.y1;
}

Box BoundsOf(const Point& a, const Point& b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

bool Overlap(const Box& p, const Box& q) {
    return p.x0 <= q.x1 && q.x0 <= p.x1 && p.y0 <= q.y1 && q.y0 <= p.y1;
}

// True when the segment from a to b meets the closed box: their bounds
// overlap and the segment's line leaves no side of the box with all four
// corners (the three separating directions of a segment and a box).
bool SegmentMeetsBox(const Point& a, const Point& b, const Box& box) {
    if (!Overlap(BoundsOf(a, b), box)) return false;
    const Point corners[4] = {
        {box.x0, box.y0}, {box.x1, box.y0}, {box.x1, box.y1}, {box.x0, box.y1}};
    int left = 0, right = 0;
    for (const Point& c : corners) {
        const int side = Orientation(a, b, c);
        left += side > 0;
        right += side < 0;
    }
    return left < 4 && right < 4;
}

// True when p lies on the segment from a to b (p at neither end).
bool OnSegment(const Point& a, const Point& b, const Point& p) {
    return Inside(p, BoundsOf(a, b)) && Orientation(a, b, p) == 0;
}

// True when the segments cross at one point inside both.
bool CrossProperly(const Point& a, const Point& b, const Point& c, const Point& d) {
    const double pa[2] = {a.x, a.y}, pb[2] = {b.x, b.y}, pc[2] = {c.x, c.y}, pd[2] = {d.x, d.y};
    return selvora::CrossProperly(pa, pb, pc, pd);
}

// The crossing of two segments that cross properly, rounded, kept within
// both segments' bounds (where the exact crossing is) and made a coordinate
// the predicates take.
Point Crossing(const Point& a, const Point& b, const Point& c, const Point& d) {
    const double pa[2] = {a.x, a.y}, pb[2] = {b.x, b.y}, pc[2] = {c.x, c.y}, pd[2] = {d.x, d.y};
    double xy[2];
    ExactCrossing(pa, pb, pc, pd, xy);
    const Box e = BoundsOf(a, b), f = BoundsOf(c, d);
    const double x = std::clamp(xy[0], std::max(e.x0, f.x0), std::min(e.x1, f.x1));
    const double y = std::clamp(xy[1], std::max(e.y0, f.y0), std::min(e.y1, f.y1));
    return {Representable(x), Representable(y)};
}

class Resolver {
  public:
    Resolver(const double* xy, int numPoints, int maxPoints)
        : numInput_(numPoints), maxPoints_(maxPoints) {
        vertices_.reserve(static_cast<std::size_t>(numPoints));
        for (int i = 0; i < numPoints; ++i) {
            const Point p{xy[2 * static_cast<std::size_t>(i)],
                          xy[2 * static_cast<std::size_t>(i) + 1]};
            vertices_.push_back(p);
            places_.emplace(PlaceOf(p), i);
        }
    }

    void AddSegments(const int* segments, int numSegments) {
        for (int s = 0; s < numSegments; ++s) {
            AddEdge(First(segments[2 * s]), First(segments[2 * s + 1]), edges_);
        }
        Tidy(edges_);
    }

    // Rounds of two steps. The crossings of the segments as they stand are
    // rounded to vertices and the crossing segments split there; then every
    // segment is routed through the vertices whose boxes it passes, again
    // and again until none passes one, with no vertex added. Routed segments
    // rarely cross again; where they do, the next round rounds those
    // crossings. The graph is done when a round finds neither.
    Resolution Run(ResolvedGraph& out) {
        for (int round = 0; round < kMaxRounds; ++round) {
            std::vector<std::vector<int>> splits(edges_.size());
            if (!SplitAtCrossings(splits)) return Resolution::kTooManyPoints;
            bool changed = Split(splits);
            int routing = 0;
            for (;; ++routing) {
                if (routing == kMaxRoutings) return Resolution::kUnsettled;
                std::vector<std::vector<int>> near(edges_.size());
                SplitAtNearVertices(near);
                if (!Split(near)) break;
            }
            if (!changed && routing == 0) {
                Write(out);
                return Resolution::kDone;
            }
        }
        return Resolution::kUnsettled;
    }

  private:
    static Place PlaceOf(const Point& p) { return selvora::PlaceOf(p.x, p.y); }

    // The first input point at the place of point i.
    int First(int i) const { return places_.at(PlaceOf(vertices_[static_cast<std::size_t>(i)])); }

    // The vertex at p, added when no vertex stands there; -1 when the points
    // would go past their bound.
    int VertexAt(const Point& p) {
        const auto found = places_.find(PlaceOf(p));
        if (found != places_.end()) return found->second;
        if (static_cast<int>(vertices_.size()) >= maxPoints_) return -1;
        vertices_.push_back(p);
        const int index = static_cast<int>(vertices_.size()) - 1;
        places_.emplace(PlaceOf(p), index);
        return index;
    }

    const Point& At(int i) const { return vertices_[static_cast<std::size_t>(i)]; }

    static void AddEdge(int a, int b, std::vector<Edge>& edges) {
        if (a != b) edges.push_back({std::min(a, b), std::max(a, b)});
    }

    static void Tidy(std::vector<Edge>& edges) {
        std::sort(edges.begin(), edges.end());
        edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    }

    // Every vertex whose box the segment passes through, its ends apart.
    void SplitAtNearVertices(std::vector<std::vector<int>>& splits) const {
        std::vector<int> byX;  // one vertex per place
        for (int i = 0; i < static_cast<int>(vertices_.size()); ++i) {
            if (First(i) == i) byX.push_back(i);
        }
        std::sort(byX.begin(), byX.end(), [&](int p, int q) { return At(p).x < At(q).x; });
        for (std::size_t e = 0; e < edges_.size(); ++e) {
            const Point &a = At(edges_[e].a), &b = At(edges_[e].b);
            const Box bounds = BoundsOf(a, b);
            // A box reaching the bounds stands around a coordinate at or
            // above the one below them.
            const double from = Below(bounds.x0);
            auto v = std::lower_bound(byX.begin(), byX.end(), from,
                                      [&](int p, double x) { return At(p).x < x; });
            for (; v != byX.end(); ++v) {
                const Point& p = At(*v);
                const Box box = BoxAround(p);
                if (box.x0 > bounds.x1) break;
                if (*v == edges_[e].a || *v == edges_[e].b) continue;
                if (!SegmentMeetsBox(a, b, box)) continue;
                // A vertex next to an end is taken only when it lies on the
                // segment: the piece to a vertex beside it would pass through
                // the end's box and be split back at the end.
                if ((Inside(a, box) || Inside(b, box)) && !OnSegment(a, b, p)) continue;
                if (!Shortens(edges_[e].a, *v, edges_[e].b)) continue;
                splits[e].push_back(*v);
            }
        }
    }

    // The vertex where edges e and f cross: an end of either when the rounded
    // crossing lies within a few units in the last place of it and splitting
    // the other edge there shortens it, so that a cluster of nearly
    // coincident ends does not breed new vertices round after round; else a
    // new vertex (-1 when the points would go past their bound).
    int CrossingVertex(std::size_t e, std::size_t f) {
        const int ends[4] = {edges_[e].a, edges_[e].b, edges_[f].a, edges_[f].b};
        const Point p = Crossing(At(ends[0]), At(ends[1]), At(ends[2]), At(ends[3]));
        for (int k = 0; k < 4; ++k) {
            const Point& q = At(ends[k]);
            const Edge& other = edges_[k < 2 ? f : e];
            if (std::fabs(p.x - q.x) <= EndReach(q.x) && std::fabs(p.y - q.y) <= EndReach(q.y) &&
                Shortens(other.a, ends[k], other.b)) {
                return ends[k];
            }
        }
        return VertexAt(p);
    }

    // Every proper crossing, found by a sweep over the segments' bounds in x.
    // Returns false when the points would go past their bound.
    bool SplitAtCrossings(std::vector<std::vector<int>>& splits) {
        std::vector<int> order(edges_.size());
        std::vector<Box> bounds(edges_.size());
        for (std::size_t e = 0; e < edges_.size(); ++e) {
            order[e] = static_cast<int>(e);
            bounds[e] = BoundsOf(At(edges_[e].a), At(edges_[e].b));
        }
        std::sort(order.begin(), order.end(), [&](int p, int q) {
            return bounds[static_cast<std::size_t>(p)].x0 < bounds[static_cast<std::size_t>(q)].x0;
        });
        for (std::size_t i = 0; i < order.size(); ++i) {
            const std::size_t e = static_cast<std::size_t>(order[i]);
            for (std::size_t j = i + 1; j < order.size(); ++j) {
                const std::size_t f = static_cast<std::size_t>(order[j]);
                if (bounds[f].x0 > bounds[e].x1) break;
                if (!Overlap(bounds[e], bounds[f])) continue;
                const Point &a = At(edges_[e].a), &b = At(edges_[e].b);
                const Point &c = At(edges_[f].a), &d = At(edges_[f].b);
                if (!CrossProperly(a, b, c, d)) continue;
                const int v = CrossingVertex(e, f);
                if (v < 0) return false;
                splits[e].push_back(v);
                splits[f].push_back(v);
            }
        }
        return true;
    }

    // Whether splitting the segment from a to b at v gives pieces whose bounds
    // lie inside its own and are smaller: v within its bounds and at neither
    // end. Segments are split only so: the bounds of the segments only
    // shrink, so that routing can never come back to a segment it split.
    bool Shortens(int a, int v, int b) const {
        return v != a && v != b && Inside(At(v), BoundsOf(At(a), At(b)));
    }

    // Whether the bounds of the segment from p to q lie inside those of the
    // segment from a to b and are smaller.
    bool Within(int p, int q, int a, int b) const {
        const Box inner = BoundsOf(At(p), At(q)), outer = BoundsOf(At(a), At(b));
        const bool inside = outer.x0 <= inner.x0 && inner.x1 <= outer.x1 && outer.y0 <= inner.y0 &&
                            inner.y1 <= outer.y1;
        const bool same = inner.x0 == outer.x0 && inner.x1 == outer.x1 && inner.y0 == outer.y0 &&
                          inner.y1 == outer.y1;
        return inside && !same;
    }

    // Replaces every segment with splits by its pieces, in order along it;
    // when a piece's bounds would not lie inside the segment's and be
    // smaller, by the two pieces at its first split only (which always do).
    // Returns false when nothing was split.
    bool Split(std::vector<std::vector<int>>& splits) {
        bool any = false;
        std::vector<Edge> next;
        next.reserve(edges_.size());
        for (std::size_t e = 0; e < edges_.size(); ++e) {
            std::vector<int>& on = splits[e];
            const int a = edges_[e].a, b = edges_[e].b;
            on.erase(std::remove_if(on.begin(), on.end(), [&](int v) { return v == a || v == b; }),
                     on.end());
            if (on.empty()) {
                next.push_back(edges_[e]);
                continue;
            }
            any = true;
            // In order along the segment, by the projection on its direction.
            const Point &pa = At(a), &pb = At(b);
            const double dx = pb.x - pa.x, dy = pb.y - pa.y;
            auto along = [&](int v) { return (At(v).x - pa.x) * dx + (At(v).y - pa.y) * dy; };
            std::sort(on.begin(), on.end(), [&](int p, int q) { return along(p) < along(q); });
            on.erase(std::unique(on.begin(), on.end()), on.end());
            std::vector<int> chain{a};
            chain.insert(chain.end(), on.begin(), on.end());
            chain.push_back(b);
            for (std::size_t k = 1; k < chain.size(); ++k) {
                if (!Within(chain[k - 1], chain[k], a, b)) {
                    chain = {a, on.front(), b};
                    break;
                }
            }
            for (std::size_t k = 1; k < chain.size(); ++k) AddEdge(chain[k - 1], chain[k], next);
        }
        Tidy(next);
        edges_.swap(next);
        return any;
    }

    void Write(ResolvedGraph& out) const {
        out.added.clear();
        for (std::size_t i = static_cast<std::size_t>(numInput_); i < vertices_.size(); ++i) {
            out.added.push_back(vertices_[i].x);
            out.added.push_back(vertices_[i].y);
        }
        out.segments.clear();
        for (const Edge& e : edges_) {
            out.segments.push_back(e.a);
            out.segments.push_back(e.b);
        }
    }

    int numInput_;
    int maxPoints_;
    std::vector<Point> vertices_;
    std::unordered_map<Place, int, PlaceHash> places_;  // place -> first vertex there
    std::vector<Edge> edges_;
};

}  // namespace

Resolution ResolveCrossings(const double* xy, int numPoints, const int* segments, int numSegments,
                            int maxPoints, ResolvedGraph& out) {
    Resolver resolver(xy, numPoints, maxPoints);
    resolver.AddSegments(segments, numSegments);
    return resolver.Run(out);
}

}  // namespace selvora
