#include "common/graph_families.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "selvora/tessellation/tessellation.h"

namespace selvora_common {

namespace {

// Values from the raw outputs of the generator only.
class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}

    std::uint32_t Next() { return static_cast<std::uint32_t>(engine_()); }

    // 0 .. n - 1 (n >= 1), by multiplying and shifting.
    int Below(int n) { return static_cast<int>((std::uint64_t(Next()) * std::uint64_t(n)) >> 32); }

    // A double in [0, 1) with 53 random bits.
    double Unit() {
        const std::uint32_t high = Next() >> 5;  // 27 bits
        const std::uint32_t low = Next() >> 6;   // 26 bits
        return (double(high) * 67108864.0 + double(low)) * (1.0 / 9007199254740992.0);
    }

  private:
    std::mt19937 engine_;
};

// 10^e, correctly rounded (the C library's strtod is, unlike pow).
double PowerOfTen(int e) {
    char text[16];
    std::snprintf(text, sizeof text, "1e%d", e);
    return std::strtod(text, nullptr);
}

// Two different indices among `count` points (count >= 2).
void TwoPoints(Random& random, int first, int count, int* a, int* b) {
    *a = first + random.Below(count);
    do {
        *b = first + random.Below(count);
    } while (*b == *a);
}

}  // namespace

PlanarGraph GridSnappedSegments(unsigned seed, int segments, bool framed) {
    Random random(seed);
    PlanarGraph g;
    if (framed) g.AddRectangle(0, 0, 1, 1);
    const int first = g.Points();
    auto end = [&]() {
        // A quarter of the ends reuse an earlier point of the segments.
        if (g.Points() > first && random.Below(4) == 0) {
            return first + random.Below(g.Points() - first);
        }
        const double x = random.Below(101) / 100.0;
        const double y = random.Below(101) / 100.0;
        return g.AddPoint(x, y);
    };
    while (g.Segments() < segments + (framed ? 4 : 0)) {
        const int a = end();
        const int b = end();
        if (g.X(a) != g.X(b) || g.Y(a) != g.Y(b)) g.AddSegment(a, b);
    }
    return g;
}

PlanarGraph HalfGridSegments(unsigned seed, int segments) {
    Random random(seed);
    const int width = 2 + random.Below(8), height = 2 + random.Below(8);  // units
    PlanarGraph g;
    g.AddRectangle(0, 0, width, height);
    auto point = [&]() {
        return g.AddPoint(0.5 * random.Below(2 * width + 1), 0.5 * random.Below(2 * height + 1));
    };
    while (g.Segments() < segments + 4) {
        const int a = point();
        const int b = point();
        if (g.X(a) != g.X(b) || g.Y(a) != g.Y(b)) g.AddSegment(a, b);
    }
    return g;
}

PlanarGraph MixedMagnitudes(unsigned seed, int points, int segments) {
    Random random(seed);
    auto coordinate = [&]() {
        const int kind = random.Below(256);
        if (kind < 24) return kind % 2 ? -0.0 : 0.0;
        if (kind < 96) return double(kind % 8);  // a small grid: places repeat
        const int exponent = -60 + random.Below(136);
        const double mantissa = 1 + random.Below(256) / 256.0;
        const double v = std::clamp(mantissa * PowerOfTen(exponent), OV_TESSELLATION_MIN_COORDINATE,
                                    OV_TESSELLATION_MAX_COORDINATE);
        return kind % 2 ? -v : v;
    };
    PlanarGraph g;
    for (int i = 0; i < std::max(points, 3); ++i) {
        const double x = coordinate();
        g.AddPoint(x, coordinate());
    }
    for (int s = 0; s < segments; ++s) {
        int a, b;
        TwoPoints(random, 0, g.Points(), &a, &b);
        g.AddSegment(a, b);
    }
    return g;
}

PlanarGraph RandomCrossings(unsigned seed, int segments, double size, bool snapped) {
    Random random(seed);
    PlanarGraph g;
    g.AddRectangle(0, 0, size, size);
    auto coordinate = [&]() {
        return snapped ? random.Below(101) * size / 100 : random.Unit() * size;
    };
    while (g.Segments() < segments + 4) {
        const double x0 = coordinate(), y0 = coordinate();
        const double x1 = coordinate(), y1 = coordinate();
        if (x0 == x1 && y0 == y1) continue;
        const int a = g.AddPoint(x0, y0);
        g.AddSegment(a, g.AddPoint(x1, y1));
    }
    return g;
}

}  // namespace selvora_common
