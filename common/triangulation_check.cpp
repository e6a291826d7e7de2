// The check of a triangulation against its planar graph, and the checked call
// through the buffers.
#include "common/triangulation_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <unordered_set>
#include <utility>

#include "selvora/tessellation/tessellation.h"

namespace selvora_common {

namespace {

// --- Exact arithmetic ----------------------------------------------------------
//
// Expansion arithmetic after J. R. Shewchuk, "Adaptive Precision
// Floating-Point Arithmetic and Fast Robust Geometric Predicates" (1997): a
// real number is held exactly as an expansion, a sum of doubles that do not
// overlap, in order of increasing magnitude, without zeros. The largest
// component then has the sign of the whole sum.
//
// Why nothing here overflows or underflows: a coordinate is 0 or has a
// magnitude from 1e-60 (about 2^-199.3) to 1e75 (about 2^249.1). A product of
// two coordinates is then 0 or between 2^-399 and 2^499, and its rounding
// error, a multiple of the unit in the last place of the smaller factor's
// product (at least 2^-252 * 2^-252 = 2^-504), is far above the smallest
// normal double 2^-1022: TwoProduct's error terms are exact. Dekker's split
// multiplies by 2^27 + 1, at most about 2^276, and sums of a few products stay
// below 2^503: far from the largest double, about 2^1024. The same holds for
// the differences of coordinates in the filter below (at most 2^250, and a
// non-zero one at least 2^-252, so their products are normal numbers too).

// a + b = x + y exactly, x the rounded sum (Knuth's TwoSum: no assumption on
// the magnitudes).
inline void TwoSum(double a, double b, double& x, double& y) {
    x = a + b;
    const double bVirtual = x - a;
    const double aVirtual = x - bVirtual;
    const double bRoundoff = b - bVirtual;
    const double aRoundoff = a - aVirtual;
    y = aRoundoff + bRoundoff;
}

// a - b = x + y exactly, x the rounded difference.
inline void TwoDiff(double a, double b, double& x, double& y) {
    x = a - b;
    const double bVirtual = a - x;
    const double aVirtual = x + bVirtual;
    const double bRoundoff = bVirtual - b;
    const double aRoundoff = a - aVirtual;
    y = aRoundoff + bRoundoff;
}

// Dekker's split: a = hi + lo, each with at most 26 significant bits, so that
// products of halves are exact.
inline void Split(double a, double& hi, double& lo) {
    const double c = 134217729.0 * a;  // 2^27 + 1
    const double big = c - a;
    hi = c - big;
    lo = a - hi;
}

// a * b = x + y exactly, x the rounded product (Dekker, without a fused
// multiply-add: the library is compiled with -ffp-contract=off).
inline void TwoProduct(double a, double b, double& x, double& y) {
    x = a * b;
    double aHi, aLo, bHi, bLo;
    Split(a, aHi, aLo);
    Split(b, bHi, bLo);
    const double err1 = x - aHi * bHi;
    const double err2 = err1 - aLo * bHi;
    const double err3 = err2 - aHi * bLo;
    y = aLo * bLo - err3;
}

// Adds b to the expansion e of n components in place (Shewchuk's
// Grow-Expansion with zero elimination); e must have room for n + 1. Returns
// the new length.
int Grow(double* e, int n, double b) {
    double q = b;
    int length = 0;
    for (int i = 0; i < n; ++i) {
        double sum, tail;
        TwoSum(q, e[i], sum, tail);
        q = sum;
        if (tail != 0) e[length++] = tail;  // length <= i: e[i] was read first
    }
    if (q != 0) e[length++] = q;
    return length;
}

int SignOf(const double* e, int n) {
    for (int i = n - 1; i >= 0; --i) {
        if (e[i] != 0) return e[i] > 0 ? 1 : -1;
    }
    return 0;
}

// Twice the signed area of the triangle a, b, c exactly, as an expansion of
// at most 12 components: the six products of
//   ax*by - ax*cy + bx*cy - bx*ay + cx*ay - cx*by,
// each split exactly into two doubles, summed exactly. Returns the length.
int OrientationExpansion(const double* a, const double* b, const double* c, double* e) {
    const double factors[6][2] = {{a[0], b[1]},  {-a[0], c[1]}, {b[0], c[1]},
                                  {-b[0], a[1]}, {c[0], a[1]},  {-c[0], b[1]}};
    int n = 0;
    for (const auto& f : factors) {
        double product, error;
        TwoProduct(f[0], f[1], product, error);
        n = Grow(e, n, error);
        n = Grow(e, n, product);
    }
    return n;
}

// The sign of twice the signed area of a, b, c: 1 counter-clockwise, -1
// clockwise, 0 on one line; exact.
//
// First the usual evaluation (a - c) x (b - c) in doubles. Its error is at
// most (3 + 16 eps) eps (|left| + |right|) with eps = 2^-53 (Shewchuk's bound
// for this very evaluation); a result beyond 4 eps (|left| + |right|), which
// exceeds that bound also after rounding, has the right sign. Otherwise, when
// the four differences were exact (as they often are for points close
// together, and always for nearby points of a grid of binary fractions), the
// two products split exactly decide; else the full expansion does.
int Orientation(const double* a, const double* b, const double* c) {
    double acx, acxTail, bcy, bcyTail, acy, acyTail, bcx, bcxTail;
    TwoDiff(a[0], c[0], acx, acxTail);
    TwoDiff(b[1], c[1], bcy, bcyTail);
    TwoDiff(a[1], c[1], acy, acyTail);
    TwoDiff(b[0], c[0], bcx, bcxTail);
    const double left = acx * bcy;
    const double right = acy * bcx;
    const double det = left - right;
    const double bound = 4.440892098500626e-16 * (std::fabs(left) + std::fabs(right));  // 4 eps
    if (det > bound) return 1;
    if (-det > bound) return -1;
    double e[12];
    if (acxTail == 0 && bcyTail == 0 && acyTail == 0 && bcxTail == 0) {
        double product, error;
        TwoProduct(acx, bcy, product, error);
        int n = Grow(e, 0, error);
        n = Grow(e, n, product);
        TwoProduct(acy, bcx, product, error);
        n = Grow(e, n, -error);
        n = Grow(e, n, -product);
        return SignOf(e, n);
    }
    const int n = OrientationExpansion(a, b, c, e);
    return SignOf(e, n);
}

// Shewchuk's Compress: the value of the expansion e of m > 0 components in
// as few components as it takes, still non-overlapping and in order of
// increasing magnitude, written to h (room for m, not e itself). Returns
// the new length. TwoSum stands for his Fast-Two-Sum: the same results where
// that applies, and exact wherever.
int Compress(const double* e, int m, double* h) {
    int bottom = m - 1;
    double q = e[m - 1];
    for (int i = m - 2; i >= 0; --i) {
        double sum, tail;
        TwoSum(q, e[i], sum, tail);
        if (tail != 0) {
            h[bottom--] = sum;
            q = tail;
        } else {
            q = sum;
        }
    }
    int top = 0;
    for (int i = bottom + 1; i < m; ++i) {
        double sum, tail;
        TwoSum(h[i], q, sum, tail);  // h[i] is read before h[top] (top < i) is written
        if (tail != 0) h[top++] = tail;
        q = sum;
    }
    h[top] = q;
    return top + 1;
}

// An exact sum of many expansions, compressed now and then so that its
// length stays near the number of components the value needs.
class ExactSum {
  public:
    void Add(const double* f, int n, bool negate) {
        for (int i = 0; i < n; ++i) {
            terms_.push_back(0);  // room for one more component
            const int length =
                Grow(terms_.data(), static_cast<int>(terms_.size()) - 1, negate ? -f[i] : f[i]);
            terms_.resize(static_cast<std::size_t>(length));
        }
        if (terms_.size() > 32) {
            std::vector<double> h(terms_.size());
            h.resize(static_cast<std::size_t>(
                Compress(terms_.data(), static_cast<int>(terms_.size()), h.data())));
            terms_.swap(h);
        }
    }
    void AddOrientation(const double* a, const double* b, const double* c, bool negate) {
        double e[12], h[12];
        const int n = OrientationExpansion(a, b, c, e);
        if (n > 0) Add(h, Compress(e, n, h), negate);  // most often one or two components
    }
    int Sign() const { return SignOf(terms_.data(), static_cast<int>(terms_.size())); }
    // The value rounded (nearly) to a double, for messages.
    double Estimate() const {
        double sum = 0;
        for (double t : terms_) sum += t;
        return sum;
    }

  private:
    std::vector<double> terms_;
};

// --- Boxes -------------------------------------------------------------------

struct Box {
    double x0, y0, x1, y1;
};

bool Overlap(const Box& a, const Box& b) {
    return a.x0 <= b.x1 && b.x0 <= a.x1 && a.y0 <= b.y1 && b.y0 <= a.y1;
}

Box Around(const double* p, const double* q) {
    return {std::min(p[0], q[0]), std::min(p[1], q[1]), std::max(p[0], q[0]), std::max(p[1], q[1])};
}

// A bounding-box tree over a list of boxes, split at the median of the boxes'
// centres along the longer side: magnitudes from 1e-60 to 1e75 in one graph
// do not matter to it, unlike a grid.
class BoxTree {
  public:
    explicit BoxTree(std::vector<Box> boxes) : boxes_(std::move(boxes)) {
        order_.resize(boxes_.size());
        for (std::size_t i = 0; i < order_.size(); ++i) order_[i] = static_cast<int>(i);
        if (!order_.empty()) Build(0, static_cast<int>(order_.size()));
    }

    // Calls visit(index) for every box that meets `query` (boundaries
    // included); stops early when visit returns false.
    template <class Visit>
    void Query(const Box& query, Visit visit) const {
        if (nodes_.empty()) return;
        // The tree is balanced, at most 32 levels for any count that fits an
        // int: the stack never holds more than two nodes per level.
        int stack[64];
        int top = 0;
        stack[top++] = 0;
        while (top > 0) {
            const Node& node = nodes_[static_cast<std::size_t>(stack[--top])];
            if (!Overlap(node.box, query)) continue;
            if (node.left < 0) {
                for (int k = node.first; k < node.first + node.count; ++k) {
                    const int index = order_[static_cast<std::size_t>(k)];
                    if (Overlap(boxes_[static_cast<std::size_t>(index)], query) && !visit(index)) {
                        return;
                    }
                }
            } else {
                stack[top++] = node.left;
                stack[top++] = node.right;
            }
        }
    }

  private:
    struct Node {
        Box box;
        int first, count;
        int left = -1, right = -1;
    };

    static double CentreX(const Box& b) { return b.x0 / 2 + b.x1 / 2; }
    static double CentreY(const Box& b) { return b.y0 / 2 + b.y1 / 2; }

    int Build(int first, int last) {
        const int index = static_cast<int>(nodes_.size());
        nodes_.push_back(Node{});
        Box box = boxes_[static_cast<std::size_t>(order_[static_cast<std::size_t>(first)])];
        double cx0 = CentreX(box), cx1 = cx0, cy0 = CentreY(box), cy1 = cy0;
        for (int k = first; k < last; ++k) {
            const Box& b = boxes_[static_cast<std::size_t>(order_[static_cast<std::size_t>(k)])];
            box = {std::min(box.x0, b.x0), std::min(box.y0, b.y0), std::max(box.x1, b.x1),
                   std::max(box.y1, b.y1)};
            cx0 = std::min(cx0, CentreX(b));
            cx1 = std::max(cx1, CentreX(b));
            cy0 = std::min(cy0, CentreY(b));
            cy1 = std::max(cy1, CentreY(b));
        }
        nodes_[static_cast<std::size_t>(index)].box = box;
        nodes_[static_cast<std::size_t>(index)].first = first;
        nodes_[static_cast<std::size_t>(index)].count = last - first;
        if (last - first <= 8) return index;
        const bool alongX = cx1 - cx0 >= cy1 - cy0;
        const int middle = first + (last - first) / 2;
        std::nth_element(order_.begin() + first, order_.begin() + middle, order_.begin() + last,
                         [&](int a, int b) {
                             const Box& p = boxes_[static_cast<std::size_t>(a)];
                             const Box& q = boxes_[static_cast<std::size_t>(b)];
                             return alongX ? CentreX(p) < CentreX(q) : CentreY(p) < CentreY(q);
                         });
        const int left = Build(first, middle);
        const int right = Build(middle, last);
        nodes_[static_cast<std::size_t>(index)].left = left;
        nodes_[static_cast<std::size_t>(index)].right = right;
        return index;
    }

    std::vector<Box> boxes_;
    std::vector<int> order_;
    std::vector<Node> nodes_;
};

// --- Messages ----------------------------------------------------------------

#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
std::string
Text(const char* format, ...) {
    char text[400];
    std::va_list values;
    va_start(values, format);
    const int n = std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return n > 0 ? std::string(text, std::min(std::size_t(n), sizeof text - 1)) : std::string();
}

// --- The check -----------------------------------------------------------------

std::size_t Z(int i) { return static_cast<std::size_t>(i); }

class Checker {
  public:
    Checker(const PlanarGraph& graph, const std::vector<double>& added,
            const std::vector<TriangleCorners>& triangles)
        : graph_(graph), added_(added), triangles_(triangles) {}

    std::string Run() {
        std::string fault;
        if (!(fault = CheckInput()).empty()) return fault;
        MakePlaces();
        if (!(fault = CheckCorners()).empty()) return fault;
        if (!(fault = CheckOrientation()).empty()) return fault;
        MakeHull();
        MakeSegments();
        full_ = graph_.Holes() == 0 && HullCoveredBySegments();
        if (!(fault = CheckArea()).empty()) return fault;
        if (!(fault = CheckOverlap()).empty()) return fault;
        if (!(fault = CheckPlacesUsed()).empty()) return fault;
        if (!(fault = CheckSegments()).empty()) return fault;
        if (!(fault = CheckHoleSeeds()).empty()) return fault;
        return CheckAddedVertices();
    }

  private:
    // A segment between two different places, each geometric segment once.
    struct Segment {
        int index;   // the first input segment it stands for
        int a, b;    // its end places
        double tol;  // 2^-40 times the largest coordinate magnitude of its ends, or 2e-60
        std::vector<int> near;      // places within tol of it, its ends included
        std::vector<int> required;  // input places exactly on it, its ends included
    };

    int Vertices() const { return graph_.Points() + static_cast<int>(added_.size() / 2); }
    const double* VertexXY(int v) const {
        return v < graph_.Points() ? &graph_.xy[2 * Z(v)] : &added_[2 * Z(v - graph_.Points())];
    }
    const double* P(int place) const { return VertexXY(placeVertex_[Z(place)]); }
    int Places() const { return static_cast<int>(placeVertex_.size()); }
    int PlaceOf(int vertex) const { return place_[Z(vertex)]; }
    std::string Where(int place) const { return Text("(%.17g, %.17g)", P(place)[0], P(place)[1]); }

    std::string CheckInput() {
        if (graph_.xy.size() % 2 != 0 || graph_.segments.size() % 2 != 0 ||
            graph_.holes.size() % 2 != 0 || added_.size() % 2 != 0) {
            return "a list of x, y pairs or of segment ends has an odd length";
        }
        for (std::size_t i = 0; i < graph_.xy.size(); ++i) {
            if (!std::isfinite(graph_.xy[i])) {
                return Text("point %zu has a coordinate that is not finite", i / 2);
            }
        }
        for (std::size_t i = 0; i < added_.size(); ++i) {
            if (!std::isfinite(added_[i])) {
                return Text("added vertex %zu has a coordinate that is not finite",
                            Z(graph_.Points()) + i / 2);
            }
        }
        for (std::size_t i = 0; i < graph_.segments.size(); ++i) {
            const int end = graph_.segments[i];
            if (end < 0 || end >= graph_.Points()) {
                return Text("segment %zu names point %d, which does not exist", i / 2, end);
            }
        }
        return "";
    }

    // Places: the distinct x, y among the points and the added vertices (0
    // and -0 alike), numbered in order of x, then y; each is named by its
    // first vertex.
    void MakePlaces() {
        const int n = Vertices();
        std::vector<int> order(Z(n));
        for (int i = 0; i < n; ++i) order[Z(i)] = i;
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
            const double* p = VertexXY(a);
            const double* q = VertexXY(b);
            return p[0] < q[0] || (p[0] == q[0] && p[1] < q[1]);
        });
        place_.assign(Z(n), -1);
        for (int k = 0; k < n; ++k) {
            const int v = order[Z(k)];
            const double* p = VertexXY(v);
            if (k == 0 ||
                !(p[0] == VertexXY(order[Z(k - 1)])[0] && p[1] == VertexXY(order[Z(k - 1)])[1])) {
                placeVertex_.push_back(v);  // stable: the first vertex at the place
                placeIsInput_.push_back(v < graph_.Points());
            }
            place_[Z(v)] = Places() - 1;
        }
    }

    std::string CheckCorners() {
        const int n = Vertices();
        corners_.resize(triangles_.size());
        for (std::size_t t = 0; t < triangles_.size(); ++t) {
            const TriangleCorners& c = triangles_[t];
            for (int k = 0; k < 3; ++k) {
                if (c[Z(k)] < 0 || c[Z(k)] >= n) {
                    return Text("triangle %zu has corner %d, outside 0 .. %d", t, c[Z(k)], n - 1);
                }
                corners_[t][Z(k)] = PlaceOf(c[Z(k)]);
            }
            const auto& p = corners_[t];
            if (p[0] == p[1] || p[1] == p[2] || p[2] == p[0]) {
                return Text("triangle %zu (%d, %d, %d) has two corners at one place", t, c[0], c[1],
                            c[2]);
            }
        }
        return "";
    }

    std::string CheckOrientation() {
        for (std::size_t t = 0; t < triangles_.size(); ++t) {
            const auto& p = corners_[t];
            const int sign = Orientation(P(p[0]), P(p[1]), P(p[2]));
            if (sign <= 0) {
                const TriangleCorners& c = triangles_[t];
                return Text("triangle %zu (%d, %d, %d) is %s", t, c[0], c[1], c[2],
                            sign < 0 ? "clockwise" : "flat (its corners on one line)");
            }
        }
        std::vector<Box> boxes(triangles_.size());
        for (std::size_t t = 0; t < triangles_.size(); ++t) {
            const auto& p = corners_[t];
            const Box b = Around(P(p[0]), P(p[1]));
            boxes[t] = {std::min(b.x0, P(p[2])[0]), std::min(b.y0, P(p[2])[1]),
                        std::max(b.x1, P(p[2])[0]), std::max(b.y1, P(p[2])[1])};
        }
        triangleTree_ = BoxTree(std::move(boxes));
        return "";
    }

    // The convex hull of all places, counter-clockwise from the first place,
    // without places in the middle of its edges (Andrew's monotone chain; the
    // places are already in order of x, then y). Fewer than 3 corners when all
    // places are on one line.
    void MakeHull() {
        const int n = Places();
        if (n < 3) return;
        std::vector<int> hull;
        for (int pass = 0; pass < 2; ++pass) {
            const std::size_t start = hull.size();
            for (int k = 0; k < n; ++k) {
                const int p = pass == 0 ? k : n - 1 - k;
                while (hull.size() >= start + 2 &&
                       Orientation(P(hull[hull.size() - 2]), P(hull.back()), P(p)) <= 0) {
                    hull.pop_back();
                }
                hull.push_back(p);
            }
            hull.pop_back();  // the first of the other chain
        }
        hull_ = hull;
        if (hull_.size() < 3) return;
        hullArea_ = ExactSum();
        for (std::size_t i = 1; i + 1 < hull_.size(); ++i) {
            hullArea_.AddOrientation(P(hull_[0]), P(hull_[i]), P(hull_[i + 1]), false);
        }
        // The lower chain runs from place 0 to place n - 1 (x rising), the
        // upper one back (x falling).
        upperStart_ = 0;
        while (hull_[upperStart_] != n - 1) ++upperStart_;
    }

    // The hull edges (edge i runs from hull_[i] to hull_[i + 1]) that place p
    // lies on, ends included: by x along the two chains, then exactly.
    std::vector<int> HullEdgesThrough(int p) const {
        std::vector<int> edges;
        const int h = static_cast<int>(hull_.size());
        if (h < 3) return edges;
        const double x = P(p)[0];
        auto test = [&](int i) {
            const int a = hull_[Z(i)], b = hull_[Z((i + 1) % h)];
            if (a == p || b == p ||
                (Orientation(P(a), P(b), P(p)) == 0 &&
                 Overlap(Around(P(a), P(b)), Around(P(p), P(p))))) {
                if (std::find(edges.begin(), edges.end(), i) == edges.end()) edges.push_back(i);
            }
        };
        // Lower chain: hull positions 0 .. upperStart_, x not falling.
        {
            int lo = 0, hi = static_cast<int>(upperStart_);
            while (lo < hi) {  // the first position with x >= the place's
                const int mid = (lo + hi) / 2;
                if (P(hull_[Z(mid)])[0] < x)
                    lo = mid + 1;
                else
                    hi = mid;
            }
            for (int i = lo - 2; i <= lo + 1; ++i) {
                if (i >= 0 && i < static_cast<int>(upperStart_)) test(i);
            }
        }
        // Upper chain: positions upperStart_ .. h (h standing for 0), x not rising.
        {
            auto at = [&](int k) { return P(hull_[Z(k % h)])[0]; };
            int lo = static_cast<int>(upperStart_), hi = h;
            while (lo < hi) {  // the first position with x <= the place's
                const int mid = (lo + hi) / 2;
                if (at(mid) > x)
                    lo = mid + 1;
                else
                    hi = mid;
            }
            for (int i = lo - 2; i <= lo + 1; ++i) {
                if (i >= static_cast<int>(upperStart_) && i < h) test(i);
            }
        }
        return edges;
    }

    // The input segments between different places, each once; for each, the
    // places near it and those exactly on it.
    void MakeSegments() {
        std::vector<Box> points(Z(Places()));
        for (int p = 0; p < Places(); ++p) points[Z(p)] = Around(P(p), P(p));
        const BoxTree pointTree(std::move(points));
        std::unordered_set<std::uint64_t> seen;
        segmentsNear_.assign(Z(Places()), {});
        for (int s = 0; s < graph_.Segments(); ++s) {
            int a = PlaceOf(graph_.segments[2 * Z(s)]);
            int b = PlaceOf(graph_.segments[2 * Z(s) + 1]);
            if (a == b) continue;
            const std::uint64_t key =
                std::uint64_t(std::min(a, b)) << 32 | std::uint64_t(std::max(a, b));
            if (!seen.insert(key).second) continue;
            Segment seg;
            seg.index = s;
            seg.a = a;
            seg.b = b;
            const double* pa = P(a);
            const double* pb = P(b);
            const double size = std::max(std::max(std::fabs(pa[0]), std::fabs(pa[1])),
                                         std::max(std::fabs(pb[0]), std::fabs(pb[1])));
            // A crossing near 0 can only be rounded to 0 or to a magnitude of
            // at least OV_TESSELLATION_MIN_COORDINATE (the coordinates the
            // triangulator takes): tol never goes below twice that.
            seg.tol = std::max(std::ldexp(size, -40), 2 * OV_TESSELLATION_MIN_COORDINATE);
            Box box = Around(pa, pb);
            box = {box.x0 - seg.tol, box.y0 - seg.tol, box.x1 + seg.tol, box.y1 + seg.tol};
            pointTree.Query(box, [&](int p) {
                if (DistanceToSegment(P(p), pa, pb) <= seg.tol) {
                    seg.near.push_back(p);
                    if (p == a || p == b ||
                        (placeIsInput_[Z(p)] && Orientation(pa, pb, P(p)) == 0)) {
                        seg.required.push_back(p);  // near and on the line: inside its box
                    }
                }
                return true;
            });
            const int id = static_cast<int>(segments_.size());
            for (int p : seg.near) segmentsNear_[Z(p)].push_back(id);
            segments_.push_back(std::move(seg));
        }
    }

    // The distance from p to the segment a-b, in doubles: for tolerances only.
    static double DistanceToSegment(const double* p, const double* a, const double* b) {
        const double dx = b[0] - a[0], dy = b[1] - a[1];
        const double px = p[0] - a[0], py = p[1] - a[1];
        const double along = px * dx + py * dy;
        const double length2 = dx * dx + dy * dy;
        if (along <= 0) return std::sqrt(px * px + py * py);
        if (along >= length2) {
            const double qx = p[0] - b[0], qy = p[1] - b[1];
            return std::sqrt(qx * qx + qy * qy);
        }
        return std::fabs(dx * py - dy * px) / std::sqrt(length2);
    }

    // Whether segments cover the whole boundary of the hull: then, without
    // holes, the triangulator eats nothing and the triangles cover the hull.
    bool HullCoveredBySegments() const {
        const int h = static_cast<int>(hull_.size());
        if (h < 3) return false;
        // Along each edge, by x, or by y for an upright one: the intervals the
        // segments lying on it cover.
        std::vector<std::vector<std::pair<double, double>>> covered(Z(h));
        auto along = [&](int edge, int place) {
            const double* a = P(hull_[Z(edge)]);
            const double* b = P(hull_[Z((edge + 1) % h)]);
            return a[0] != b[0] ? P(place)[0] : P(place)[1];
        };
        for (const Segment& s : segments_) {
            const std::vector<int> ea = HullEdgesThrough(s.a);
            if (ea.empty()) continue;
            const std::vector<int> eb = HullEdgesThrough(s.b);
            for (int e : ea) {
                if (std::find(eb.begin(), eb.end(), e) == eb.end()) continue;
                const double u = along(e, s.a), v = along(e, s.b);
                covered[Z(e)].push_back({std::min(u, v), std::max(u, v)});
            }
        }
        for (int e = 0; e < h; ++e) {
            const double u = along(e, hull_[Z(e)]), v = along(e, hull_[Z((e + 1) % h)]);
            std::vector<std::pair<double, double>>& c = covered[Z(e)];
            std::sort(c.begin(), c.end());
            double reach = std::min(u, v);
            for (const auto& interval : c) {
                if (interval.first > reach) break;
                reach = std::max(reach, interval.second);
            }
            if (reach < std::max(u, v)) return false;
        }
        return true;
    }

    // The sum of the triangles' doubled areas, exact, against the hull's.
    // Without holes and with the hull's boundary all segments, they are
    // equal: the triangles tile the hull, and both sums are exact, so the
    // comparison needs no tolerance, but for the slivers along an outline
    // segment routed through a vertex beside its line (2^-40 of the hull's
    // area at most). Otherwise the triangulator has eaten some of the
    // hull, and the sum can only be smaller.
    std::string CheckArea() {
        ExactSum sum;
        for (const auto& p : corners_) sum.AddOrientation(P(p[0]), P(p[1]), P(p[2]), false);
        const double total = sum.Estimate();
        const double hull = hull_.size() >= 3 ? hullArea_.Estimate() : 0.0;
        if (hull_.size() >= 3) {
            ExactSum difference = sum;
            // hullArea_ holds few components: subtract them one by one.
            for (std::size_t i = 1; i + 1 < hull_.size(); ++i) {
                difference.AddOrientation(P(hull_[0]), P(hull_[i]), P(hull_[i + 1]), true);
            }
            const int sign = difference.Sign();
            // Where crossings were resolved, a segment of the outline may run
            // through a vertex within a unit in the last place of its line,
            // and the triangles then miss or gain a sliver of that width.
            const bool sliver = std::fabs(difference.Estimate()) <= std::ldexp(hull, -40);
            if (full_ && sign != 0 && !sliver) {
                return Text(
                    "the triangles' doubled areas add up to %.17g, the hull's is %.17g "
                    "(its boundary is all segments and there are no holes)",
                    total, hull);
            }
            if (sign > 0 && !sliver) {
                return Text(
                    "the triangles' doubled areas add up to %.17g, more than the hull's "
                    "%.17g",
                    total, hull);
            }
        } else if (!triangles_.empty()) {
            return "triangles, but all places lie on one line";
        }
        return "";
    }

    std::string CheckOverlap() {
        // Each directed edge once: an edge shared by two triangles runs in
        // opposite directions in them, so they lie on its two sides.
        const std::uint64_t places = static_cast<std::uint64_t>(Places());
        for (std::size_t t = 0; t < corners_.size(); ++t) {
            for (int k = 0; k < 3; ++k) {
                const int u = corners_[t][Z(k)], v = corners_[t][Z((k + 1) % 3)];
                if (!edges_.insert(std::uint64_t(u) * places + std::uint64_t(v)).second) {
                    return Text(
                        "the edge from %s to %s is in two triangles on the same side "
                        "(triangle %zu is one)",
                        Where(u).c_str(), Where(v).c_str(), t);
                }
            }
        }
        // No place on or inside a triangle it is not a corner of. (For fans
        // of long thin triangles, whose boxes all overlap, this takes time in
        // proportion to the square of their number.)
        for (int p = 0; p < Places(); ++p) {
            int inside = -1;
            triangleTree_.Query(Around(P(p), P(p)), [&](int t) {
                const auto& c = corners_[Z(t)];
                if (c[0] == p || c[1] == p || c[2] == p) return true;
                if (Orientation(P(c[0]), P(c[1]), P(p)) >= 0 &&
                    Orientation(P(c[1]), P(c[2]), P(p)) >= 0 &&
                    Orientation(P(c[2]), P(c[0]), P(p)) >= 0) {
                    inside = t;
                    return false;
                }
                return true;
            });
            if (inside >= 0) {
                return Text("%s %d at %s lies on or inside triangle %d, not as its corner",
                            placeIsInput_[Z(p)] ? "point" : "added vertex", placeVertex_[Z(p)],
                            Where(p).c_str(), inside);
            }
        }
        // Around each place, the corners of its triangles are wedges of
        // less than half a turn that must not overlap.
        const std::string wedges = CheckWedges();
        if (!wedges.empty()) return wedges;
        // No edge on the boundary of the triangles (in one triangle only)
        // crosses another edge. An edge of another triangle can cross u-v
        // only if that triangle has corners strictly on both sides of the line
        // through u and v.
        for (std::size_t t = 0; t < corners_.size(); ++t) {
            for (int k = 0; k < 3; ++k) {
                const int u = corners_[t][Z(k)], v = corners_[t][Z((k + 1) % 3)];
                if (edges_.count(std::uint64_t(v) * places + std::uint64_t(u))) continue;
                const Box edge = Around(P(u), P(v));
                int crossing = -1;
                triangleTree_.Query(edge, [&](int other) {
                    if (Z(other) == t) return true;
                    const auto& c = corners_[Z(other)];
                    int side[3];
                    bool left = false, right = false;
                    for (int j = 0; j < 3; ++j) {
                        side[j] = Orientation(P(u), P(v), P(c[Z(j)]));
                        left = left || side[j] > 0;
                        right = right || side[j] < 0;
                    }
                    if (!left || !right) return true;
                    for (int j = 0; j < 3; ++j) {
                        const int r = c[Z(j)], s = c[Z((j + 1) % 3)];
                        if (side[j] * side[(j + 1) % 3] < 0 && Overlap(edge, Around(P(r), P(s))) &&
                            ProperCrossing(u, v, r, s)) {
                            crossing = other;
                            return false;
                        }
                    }
                    return true;
                });
                if (crossing >= 0) {
                    return Text(
                        "the edge from %s to %s of triangle %zu crosses an edge of "
                        "triangle %d",
                        Where(u).c_str(), Where(v).c_str(), t, crossing);
                }
            }
        }
        return "";
    }

    // Whether the direction from place v to place p comes before the one to
    // q, counter-clockwise from the positive x axis (exact).
    bool Before(int v, int p, int q) const {
        const double* o = P(v);
        auto half = [&](int r) {
            const double* d = P(r);
            return d[1] > o[1] || (d[1] == o[1] && d[0] > o[0]) ? 0 : 1;
        };
        const int hp = half(p), hq = half(q);
        if (hp != hq) return hp < hq;
        return Orientation(o, P(p), P(q)) > 0;
    }

    // The triangles around each place do not overlap there.
    //
    // Why this, with the other tests, rules out any overlap: with every
    // triangle counter-clockwise and each directed edge once, the number of
    // triangles over a point (off the edges) is the winding number of the
    // boundary edges around it, the interior edges cancelling in pairs. It
    // changes only across a boundary edge, by one, so it is at most one
    // everywhere if it is at most one beside each boundary edge e. Another
    // triangle T reaching e's side there would have e cross one of its edges
    // (tested for boundary edges), pass through one of its corners or have an
    // end on or inside it (no place lies on or inside a triangle it is no
    // corner of), or share a corner with it and enter it there: then the
    // wedges at that corner overlap.
    std::string CheckWedges() const {
        std::vector<std::vector<std::pair<int, int>>> wedges(Z(Places()));
        for (const auto& c : corners_) {
            for (int k = 0; k < 3; ++k) {
                wedges[Z(c[Z(k)])].push_back({c[Z((k + 1) % 3)], c[Z((k + 2) % 3)]});
            }
        }
        for (int v = 0; v < Places(); ++v) {
            std::vector<std::pair<int, int>>& w = wedges[Z(v)];
            if (w.size() < 2) continue;
            std::sort(w.begin(), w.end(),
                      [&](const std::pair<int, int>& a, const std::pair<int, int>& b) {
                          return Before(v, a.first, b.first);
                      });
            for (std::size_t i = 0; i < w.size(); ++i) {
                const std::pair<int, int>& a = w[i];
                const int next = w[(i + 1) % w.size()].first;
                const bool sameRay = !Before(v, a.first, next) && !Before(v, next, a.first);
                if (sameRay || (Orientation(P(v), P(a.first), P(next)) > 0 &&
                                Orientation(P(v), P(next), P(a.second)) > 0)) {
                    return Text("the triangles around %s overlap there", Where(v).c_str());
                }
            }
        }
        return "";
    }

    // Whether the segments u-v and r-s cross at a point inside both.
    bool ProperCrossing(int u, int v, int r, int s) const {
        if (u == r || u == s || v == r || v == s) return false;
        const int a = Orientation(P(u), P(v), P(r)), b = Orientation(P(u), P(v), P(s));
        if (a == 0 || b == 0 || a == b) return false;
        const int c = Orientation(P(r), P(s), P(u)), d = Orientation(P(r), P(s), P(v));
        return c != 0 && d != 0 && c != d;
    }

    // With the hull all triangulated, every input place is a corner.
    std::string CheckPlacesUsed() const {
        if (!full_ || triangles_.empty()) return "";
        std::vector<bool> used(Z(Places()), false);
        for (const auto& c : corners_) {
            for (int p : c) used[Z(p)] = true;
        }
        for (int p = 0; p < Places(); ++p) {
            if (placeIsInput_[Z(p)] && !used[Z(p)]) {
                return Text("point %d at %s is no triangle's corner", placeVertex_[Z(p)],
                            Where(p).c_str());
            }
        }
        return "";
    }

    bool HasEdge(int u, int v) const {
        const std::uint64_t places = static_cast<std::uint64_t>(Places());
        return edges_.count(std::uint64_t(u) * places + std::uint64_t(v)) > 0 ||
               edges_.count(std::uint64_t(v) * places + std::uint64_t(u)) > 0;
    }

    std::string SegmentName(const Segment& s) const {
        return Text("segment %d from %s to %s", s.index, Where(s.a).c_str(), Where(s.b).c_str());
    }

    std::string CheckSegments() {
        // Every edge on the boundary of the triangulated region (in one
        // triangle only) runs along a segment: the triangulator stops eating
        // only at segments.
        for (std::size_t t = 0; t < corners_.size(); ++t) {
            for (int k = 0; k < 3; ++k) {
                const int u = corners_[t][Z(k)], v = corners_[t][Z((k + 1) % 3)];
                if (edges_.count(std::uint64_t(v) * std::uint64_t(Places()) + std::uint64_t(u))) {
                    continue;
                }
                const std::vector<int>& su = segmentsNear_[Z(u)];
                const std::vector<int>& sv = segmentsNear_[Z(v)];
                bool along = false;
                for (std::size_t i = 0, j = 0; i < su.size() && j < sv.size();) {
                    if (su[i] == sv[j]) {
                        along = true;
                        break;
                    }
                    if (su[i] < sv[j])
                        ++i;
                    else
                        ++j;
                }
                if (!along) {
                    return Text(
                        "the edge from %s to %s of triangle %zu is on the boundary of "
                        "the triangles but on no segment",
                        Where(u).c_str(), Where(v).c_str(), t);
                }
            }
        }
        if (full_) {
            MakeNeighbours();
            for (const Segment& s : segments_) {
                std::string fault = CheckChain(s);
                if (!fault.empty()) return fault;
            }
        }
        // No triangle edge cuts a segment: both of the edge's ends farther
        // than tol from the segment's line, on its two sides, and the
        // segment's ends on the two sides of the edge's line.
        for (const Segment& s : segments_) {
            const double* a = P(s.a);
            const double* b = P(s.b);
            const double dx = b[0] - a[0], dy = b[1] - a[1];
            const double scale = 1 / std::sqrt(dx * dx + dy * dy);
            // The signed distance from the segment's line, in doubles: its
            // error is far below tol, so beyond tol its sign is right.
            auto distance = [&](int p) {
                return (dx * (P(p)[1] - a[1]) - dy * (P(p)[0] - a[0])) * scale;
            };
            std::string fault;
            triangleTree_.Query(Around(a, b), [&](int t) {
                const auto& c = corners_[Z(t)];
                const double d[3] = {distance(c[0]), distance(c[1]), distance(c[2])};
                for (int k = 0; k < 3; ++k) {
                    const double dp = d[k], dq = d[(k + 1) % 3];
                    if (std::fabs(dp) <= s.tol || std::fabs(dq) <= s.tol || (dp > 0) == (dq > 0)) {
                        continue;
                    }
                    const int p = c[Z(k)], q = c[Z((k + 1) % 3)];
                    if (ProperCrossing(s.a, s.b, p, q)) {
                        fault = SegmentName(s) + Text(
                                                     " is cut by the edge from %s to %s of "
                                                     "triangle %d",
                                                     Where(p).c_str(), Where(q).c_str(), t);
                        return false;
                    }
                }
                return true;
            });
            if (!fault.empty()) return fault;
        }
        return "";
    }

    void MakeNeighbours() {
        neighbours_.assign(Z(Places()), {});
        for (const auto& c : corners_) {
            for (int k = 0; k < 3; ++k) {
                neighbours_[Z(c[Z(k)])].push_back(c[Z((k + 1) % 3)]);
                neighbours_[Z(c[Z((k + 1) % 3)])].push_back(c[Z(k)]);
            }
        }
        for (auto& n : neighbours_) {
            std::sort(n.begin(), n.end());
            n.erase(std::unique(n.begin(), n.end()), n.end());
        }
        mark_.assign(Z(Places()), -1);
    }

    // The segment is a chain of triangle edges: between each two places
    // exactly on it that follow each other, a path of triangle edges through
    // places near it that lie between the two along it.
    std::string CheckChain(const Segment& s) {
        const double* a = P(s.a);
        const double* b = P(s.b);
        const double dx = b[0] - a[0], dy = b[1] - a[1];
        auto along = [&](int p) { return (P(p)[0] - a[0]) * dx + (P(p)[1] - a[1]) * dy; };
        const double slack = s.tol * std::sqrt(dx * dx + dy * dy);
        // Places exactly on the segment, in order from a to b: exactly, by x
        // (or by y for an upright segment).
        std::vector<int> required = s.required;
        const bool byX = a[0] != b[0];
        const bool rising = byX ? a[0] < b[0] : a[1] < b[1];
        std::sort(required.begin(), required.end(), [&](int p, int q) {
            const double u = byX ? P(p)[0] : P(p)[1], v = byX ? P(q)[0] : P(q)[1];
            return rising ? u < v : u > v;
        });
        std::vector<int> queue;
        for (std::size_t k = 0; k + 1 < required.size(); ++k) {
            const int from = required[k], to = required[k + 1];
            if (HasEdge(from, to)) continue;
            // Between the two along the segment, give or take tol: a place
            // beside one of them may fall on either side in rounding. The
            // path still has to end at `to`.
            const double t0 = along(from) - slack, t1 = along(to) + slack;
            ++stamp_;
            for (int p : s.near) {
                const double t = along(p);
                if (t >= t0 && t <= t1) mark_[Z(p)] = stamp_;
            }
            queue.assign(1, from);
            mark_[Z(from)] = -1;
            bool reached = false;
            for (std::size_t head = 0; head < queue.size() && !reached; ++head) {
                for (int n : neighbours_[Z(queue[head])]) {
                    if (mark_[Z(n)] != stamp_) continue;
                    if (n == to) reached = true;
                    mark_[Z(n)] = -1;
                    queue.push_back(n);
                }
            }
            if (!reached) {
                return SegmentName(s) + Text(" is no chain of triangle edges from %s to %s",
                                             Where(from).c_str(), Where(to).c_str());
            }
        }
        return "";
    }

    std::string CheckHoleSeeds() const {
        for (int h = 0; h < graph_.Holes(); ++h) {
            const double* seed = &graph_.holes[2 * Z(h)];
            if (!std::isfinite(seed[0]) || !std::isfinite(seed[1])) continue;
            int inside = -1;
            triangleTree_.Query(Around(seed, seed), [&](int t) {
                const auto& c = corners_[Z(t)];
                if (Orientation(P(c[0]), P(c[1]), seed) > 0 &&
                    Orientation(P(c[1]), P(c[2]), seed) > 0 &&
                    Orientation(P(c[2]), P(c[0]), seed) > 0) {
                    inside = t;
                    return false;
                }
                return true;
            });
            if (inside >= 0) {
                return Text("hole seed %d at (%.17g, %.17g) lies inside triangle %d", h, seed[0],
                            seed[1], inside);
            }
        }
        return "";
    }

    // A vertex is added only where segments cross, or where the pieces of
    // segments routed through vertices beside their lines cross again: it
    // lies near a segment, most often near two.
    std::string CheckAddedVertices() const {
        for (int p = 0; p < Places(); ++p) {
            if (placeIsInput_[Z(p)] || !segmentsNear_[Z(p)].empty()) continue;
            return Text("added vertex %d at %s lies near no segment", placeVertex_[Z(p)],
                        Where(p).c_str());
        }
        return "";
    }

    const PlanarGraph& graph_;
    const std::vector<double>& added_;
    const std::vector<TriangleCorners>& triangles_;

    std::vector<int> place_;                   // vertex -> place
    std::vector<int> placeVertex_;             // place -> its first vertex
    std::vector<bool> placeIsInput_;           // place -> whether an input point is there
    std::vector<std::array<int, 3>> corners_;  // the triangles' corners as places
    BoxTree triangleTree_{{}};
    std::vector<int> hull_;
    std::size_t upperStart_ = 0;
    ExactSum hullArea_;
    bool full_ = false;
    std::vector<Segment> segments_;
    std::vector<std::vector<int>> segmentsNear_;  // place -> segments it is near, ascending
    std::unordered_set<std::uint64_t> edges_;     // directed edges, u * places + v
    std::vector<std::vector<int>> neighbours_;
    std::vector<int> mark_;
    int stamp_ = 0;
};

}  // namespace

std::string CheckTriangulation(const PlanarGraph& graph, const std::vector<double>& added,
                               const std::vector<TriangleCorners>& triangles) {
    return Checker(graph, added, triangles).Run();
}

CheckedTriangulation TessellateCheckedInBuffers(const PlanarGraph& graph) {
    WriteToBuffers(graph);
    CheckedTriangulation out;
    int added = -1;
    out.result = OV_doTessellationChecked(graph.Points(), graph.Segments(), graph.Holes(), &added);
    if (out.result < 0) return out;
    double* points = nullptr;
    OV_getTessellationBuffer(&points, nullptr, nullptr, nullptr);
    // A count the buffer cannot hold is left out: the corners that name those
    // vertices then fail the check.
    if (added > 0 && graph.Points() + added <= OV_TESSELLATION_MAX_POINTS) {
        out.added.assign(points + 2 * static_cast<std::size_t>(graph.Points()),
                         points + 2 * static_cast<std::size_t>(graph.Points() + added));
    }
    out.triangles = TrianglesInBuffer(out.result);
    return out;
}

}  // namespace selvora_common
