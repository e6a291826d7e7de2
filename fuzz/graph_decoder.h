// Planar graphs made from arbitrary bytes, for the tessellation fuzzers:
// points of every magnitude the interface accepts (0, 1e-60 to 1e75, mixed
// freely), points on a small grid (repeated places), raw doubles it refuses
// (NaN, infinities, out of range), segments naming any vertex or none, hole
// seeds anywhere.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/planar_graph.h"
#include "selvora/tessellation/tessellation.h"

namespace selvora_fuzz {

// The input bytes read in order; zeros after the end.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }

    double Raw() {
        std::uint8_t bits[8] = {};
        for (std::uint8_t& b : bits) b = Byte();
        double v;
        std::memcpy(&v, bits, sizeof v);
        return v;
    }

  private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

inline double Coordinate(Bytes& in) {
    const std::uint8_t kind = in.Byte();
    if (kind < 24) return kind % 2 ? -0.0 : 0.0;
    if (kind < 32) return in.Raw();
    if (kind < 96) return kind % 8;  // a small grid: places repeat
    const int exponent = -60 + (in.Byte() | in.Byte() << 8) % 136;
    const double mantissa = 1 + in.Byte() / 256.0;
    const double v = std::clamp(mantissa * std::pow(10.0, exponent), OV_TESSELLATION_MIN_COORDINATE,
                                OV_TESSELLATION_MAX_COORDINATE);
    return kind % 2 ? -v : v;
}

// 3 to 64 points, up to 63 segments (an end may be -1 or one past the last
// point) and up to 4 hole seeds.
inline selvora_common::PlanarGraph Decode(const std::uint8_t* data, std::size_t size) {
    Bytes in(data, size);
    selvora_common::PlanarGraph g;
    const int n = 3 + in.Byte() % 62, s = in.Byte() % 64, h = in.Byte() % 5;
    for (int i = 0; i < 2 * n; ++i) g.xy.push_back(Coordinate(in));
    for (int i = 0; i < 2 * s; ++i) g.segments.push_back(in.Byte() % (n + 2) - 1);
    for (int i = 0; i < 2 * h; ++i) g.holes.push_back(Coordinate(in));
    return g;
}

}  // namespace selvora_fuzz
