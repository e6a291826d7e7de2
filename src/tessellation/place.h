// The place of a point: the bits of its coordinates, -0 taken as +0, so that
// two points share a place exactly when their coordinates compare equal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace selvora {

struct Place {
    std::uint64_t x, y;
    bool operator==(const Place& o) const { return x == o.x && y == o.y; }
};

inline std::uint64_t Bits(double v) {
    if (v == 0.0) v = 0.0;  // -0 is the place of +0
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

inline Place PlaceOf(double x, double y) { return {Bits(x), Bits(y)}; }

// Every bit of both coordinates reaches every bit of the hash: coordinates
// made from a few significant bits (a grid, a scaled integer) end in long
// runs of zero bits, which a plain product would pass on to the low bits.
struct PlaceHash {
    std::size_t operator()(const Place& p) const {
        std::uint64_t h = p.x * 0x9E3779B97F4A7C15ull;
        h = (h ^ (h >> 32) ^ p.y) * 0xC2B2AE3D27D4EB4Full;
        return static_cast<std::size_t>(h ^ (h >> 29));
    }
};

// Places with a count each, in an open-addressed table of a fixed size: a
// lookup costs a hash and, most often, one comparison.
class PlaceCounts {
  public:
    explicit PlaceCounts(std::size_t places) {
        std::size_t capacity = 16;
        while (capacity < 2 * places) capacity *= 2;
        slots_.resize(capacity);
    }

    void Add(Place p) {
        Slot& slot = slots_[IndexOf(p)];
        slot.place = p;
        slot.used = true;
    }

    // The count of p, or null when p was never added.
    int* Find(Place p) {
        Slot& slot = slots_[IndexOf(p)];
        return slot.used ? &slot.count : nullptr;
    }

    bool Has(Place p) const { return slots_[IndexOf(p)].used; }

  private:
    struct Slot {
        Place place{};
        int count = 0;
        bool used = false;
    };

    // The slot holding p, or the free slot where p would go.
    std::size_t IndexOf(Place p) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t i = PlaceHash()(p) & mask;
        while (slots_[i].used && !(slots_[i].place == p)) i = (i + 1) & mask;
        return i;
    }

    std::vector<Slot> slots_;
};

}  // namespace selvora
