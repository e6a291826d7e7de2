#include "kernel/math_arguments.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

namespace selvora_test {

namespace {

constexpr std::uint64_t kSignBit = 0x8000000000000000ull;
constexpr std::uint64_t kMantissaBits = 0x000fffffffffffffull;
constexpr std::uint64_t kLargestFinite = 0x7fefffffffffffffull;
constexpr std::uint64_t kInfinity = 0x7ff0000000000000ull;

// The Windows test draws one argument in kTableShare of each family's
// (the first ones of the Linux test's sequence).
constexpr int kTableShare = 30;

// splitmix64 (Steele, Lea and Flood, "Fast splittable pseudorandom number
// generators", 2014): a 64-bit state stepped by a constant, each output a
// mix of it. The bound draws take the high bits of a 64x64-bit product
// without a 128-bit type.
class SplitMix64 {
  public:
    explicit SplitMix64(std::uint64_t seed) : state_(seed) {}

    // Every step adds this odd constant to the state.
    static constexpr std::uint64_t kGamma = 0x9e3779b97f4a7c15ull;

    std::uint64_t State() const { return state_; }

    std::uint64_t Next() {
        std::uint64_t z = (state_ += kGamma);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }

    // Uniform in [0, n), n > 0: the high word of Next() * n.
    std::uint64_t Below(std::uint64_t n) {
        const std::uint64_t r = Next();
        const std::uint64_t rl = r & 0xffffffffull, rh = r >> 32;
        const std::uint64_t nl = n & 0xffffffffull, nh = n >> 32;
        const std::uint64_t ll = rl * nl, lh = rl * nh, hl = rh * nl, hh = rh * nh;
        const std::uint64_t mid = (ll >> 32) + (lh & 0xffffffffull) + (hl & 0xffffffffull);
        return hh + (lh >> 32) + (hl >> 32) + (mid >> 32);
    }

    // Uniform in [lo, hi].
    int Between(int lo, int hi) {
        return lo + static_cast<int>(Below(static_cast<std::uint64_t>(hi - lo) + 1));
    }

    bool Coin() { return (Next() >> 63) != 0; }

  private:
    std::uint64_t state_;
};

std::uint64_t Fnv1a(const void* data, std::size_t n, std::uint64_t h = 0xcbf29ce484222325ull) {
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < n; ++i) h = (h ^ bytes[i]) * 0x100000001b3ull;
    return h;
}

// The double in [2^e, 2^(e+1)) with the given low mantissa bits, for
// -1074 <= e <= 1023; below 2^-1022 a subnormal with e + 1074 bits.
double InBinade(int e, std::uint64_t mantissa) {
    if (e >= -1022) {
        return DoubleFromBits((static_cast<std::uint64_t>(e + 1023) << 52) |
                              (mantissa & kMantissaBits));
    }
    const int width = e + 1074;  // the subnormal's bits below its leading one
    const std::uint64_t lead = std::uint64_t{1} << width;
    return DoubleFromBits(lead | (mantissa & (lead - 1)));
}

double RandomInBinades(SplitMix64& rng, int emin, int emax) {
    const int e = rng.Between(emin, emax);
    return InBinade(e, rng.Next());
}

double WithRandomSign(SplitMix64& rng, double d) { return rng.Coin() ? -d : d; }

// Any finite double, its 64 bits uniform.
double RandomFiniteBits(SplitMix64& rng) {
    for (;;) {
        const std::uint64_t u = rng.Next();
        if ((u & kInfinity) != kInfinity) return DoubleFromBits(u);
    }
}

// The double `steps` places from d in the order of magnitudes (d's sign
// kept), held between zero and the largest finite double.
double Neighbour(double d, std::int64_t steps) {
    const std::uint64_t u = DoubleBits(d);
    const std::uint64_t sign = u & kSignBit, magnitude = u & ~kSignBit;
    std::uint64_t moved;
    if (steps < 0) {
        const std::uint64_t down = static_cast<std::uint64_t>(-(steps + 1)) + 1;
        moved = down > magnitude ? 0 : magnitude - down;
    } else {
        const std::uint64_t up = static_cast<std::uint64_t>(steps);
        moved = up > kLargestFinite - magnitude ? kLargestFinite : magnitude + up;
    }
    return DoubleFromBits(sign | moved);
}

// A signed count of steps below 2^r, r uniform in [0, maxLog]: most offsets
// small, some far.
std::int64_t RandomOffset(SplitMix64& rng, int maxLog) {
    const int r = rng.Between(0, maxLog);
    const std::int64_t steps = static_cast<std::int64_t>(rng.Below(std::uint64_t{1} << r));
    return rng.Coin() ? -steps : steps;
}

unsigned Bit(MathFunction f) { return 1u << static_cast<unsigned>(f); }

std::vector<double> HardArguments(MathFunction f, const std::vector<HardCase>& hard,
                                  bool (*kind)(const std::string&)) {
    std::vector<double> xs;
    for (const HardCase& c : hard)
        if ((c.functions & Bit(f)) && kind(c.kind)) xs.push_back(c.args.x);
    return xs;
}

bool NearMultipleKind(const std::string& kind) { return kind == "multiple" || kind == "reduction"; }

// A family drawn as a random sign times a double from the binades 2^emin to
// 2^emax.
struct BinadeFamily {
    const char* name;
    int emin, emax;
};

const BinadeFamily kSinCosBinades[] = {
    {"tiny", -1074, -27}, {"small", -26, 1}, {"medium", 2, 19}, {"large", 20, 1023}};
const BinadeFamily kAcosBinades[] = {{"near_zero", -1074, -11}, {"middle", -10, -1}};
const BinadeFamily kAtanBinades[] = {
    {"tiny", -1074, -27}, {"small", -26, -1}, {"medium", 0, 25}, {"huge", 26, 1023}};

// Draws *x when `name` is one of these families; false, drawing nothing, when
// it is not.
template <std::size_t N>
bool DrawFromBinades(const BinadeFamily (&families)[N], const std::string& name, SplitMix64& rng,
                     double* x) {
    for (const BinadeFamily& family : families) {
        if (name == family.name) {
            *x = WithRandomSign(rng, RandomInBinades(rng, family.emin, family.emax));
            return true;
        }
    }
    return false;
}

// One argument of the family `name` (without its function's prefix).
MathArgs Draw(MathFunction f, const std::string& name, SplitMix64& rng,
              const std::vector<double>& centres) {
    MathArgs a;
    double& x = a.x;
    double& y = a.y;
    if (f == MathFunction::kSin || f == MathFunction::kCos) {
        if (name == "near_pi_multiples") {
            const double centre = centres[rng.Below(centres.size())];
            x = WithRandomSign(rng, Neighbour(centre, RandomOffset(rng, 40)));
        } else if (!DrawFromBinades(kSinCosBinades, name, rng, &x)) {  // bits
            x = RandomFiniteBits(rng);
        }
    } else if (f == MathFunction::kAcos) {
        if (name == "near_one") {
            // 1 - j 2^-53 is exact for 1 <= j <= 2^52 (the spacing in [1/2, 1)).
            const int r = rng.Between(0, 52);
            const std::uint64_t j = 1 + rng.Below(std::uint64_t{1} << r);
            x = WithRandomSign(rng, 1.0 - static_cast<double>(j) * 0x1p-53);
        } else if (name == "outside") {
            x = WithRandomSign(rng, Neighbour(RandomInBinades(rng, 0, 1023), 1));
        } else if (!DrawFromBinades(kAcosBinades, name, rng, &x)) {
            // bits: any double of magnitude below 1
            x = WithRandomSign(rng, DoubleFromBits(rng.Next() & 0x3fefffffffffffffull));
        }
    } else if (f == MathFunction::kAtan) {
        if (!DrawFromBinades(kAtanBinades, name, rng, &x)) {  // bits
            x = RandomFiniteBits(rng);
        }
    } else {  // atan2
        if (name == "quadrants") {
            y = RandomInBinades(rng, -30, 30);
            x = RandomInBinades(rng, -30, 30);
        } else if (name == "ratio_small" || name == "ratio_large") {
            // |y/x| below 2^-25, down to far past the subnormals (or the
            // reverse): the quotient underflows or overflows.
            const int big = rng.Between(-1074 + 26, 1023);
            const int small = rng.Between(-1074, big - 26);
            y = InBinade(small, rng.Next());
            x = InBinade(big, rng.Next());
            if (name == "ratio_large") std::swap(x, y);
        } else if (name == "near_diagonal") {
            x = RandomInBinades(rng, -60, 60);
            y = Neighbour(x, RandomOffset(rng, 52));
            if (rng.Coin()) std::swap(x, y);
        } else if (name == "extreme") {
            // Both at an end of the exponent range: subnormal or near overflow.
            y = rng.Coin() ? RandomInBinades(rng, -1074, -1000) : RandomInBinades(rng, 990, 1023);
            x = rng.Coin() ? RandomInBinades(rng, -1074, -1000) : RandomInBinades(rng, 990, 1023);
        } else {  // bits
            y = RandomFiniteBits(rng);
            x = RandomFiniteBits(rng);
        }
        y = WithRandomSign(rng, y);
        x = WithRandomSign(rng, x);
    }
    return a;
}

bool ParseHexDouble(const std::string& text, double* value) {
    std::size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    if (text.compare(i, 2, "0x") != 0 && text.compare(i, 2, "0X") != 0) return false;
    i += 2;
    std::uint64_t mantissa = 0;
    int digits = 0, fractionDigits = 0;
    bool point = false;
    for (; i < text.size() && text[i] != 'p' && text[i] != 'P'; ++i) {
        const char c = text[i];
        int v;
        if (c >= '0' && c <= '9') {
            v = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            v = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            v = c - 'A' + 10;
        } else if (c == '.' && !point) {
            point = true;
            continue;
        } else {
            return false;
        }
        if (mantissa == 0 && v == 0 && !point) continue;  // leading zeros
        if (mantissa >> 60) return false;                 // more than 16 hex digits
        mantissa = mantissa * 16 + static_cast<std::uint64_t>(v);
        ++digits;
        if (point) ++fractionDigits;
    }
    if (i >= text.size() || digits == 0) return false;
    const std::string exponentText = text.substr(i + 1);
    if (exponentText.empty()) return false;
    std::size_t used = 0;
    long exponent;
    try {
        exponent = std::stol(exponentText, &used);
    } catch (...) {
        return false;
    }
    if (used != exponentText.size()) return false;
    long e2 = exponent - 4L * fractionDigits;
    // More bits than a double's are fine when the extra ones are zeros.
    while ((mantissa >> 53) && (mantissa & 1) == 0) mantissa >>= 1, ++e2;
    if (mantissa >> 53) return false;
    if (e2 < -2000 || e2 > 2000) return false;
    const double d = std::ldexp(static_cast<double>(mantissa), static_cast<int>(e2));
    // Exact: scaling back gives the mantissa (ldexp rounds only when bits are lost).
    if (!std::isfinite(d) || std::ldexp(d, static_cast<int>(-e2)) != static_cast<double>(mantissa))
        return false;
    *value = negative ? -d : d;
    return true;
}

}  // namespace

const char* MathFunctionName(MathFunction f) {
    switch (f) {
        case MathFunction::kSin:
            return "sin";
        case MathFunction::kCos:
            return "cos";
        case MathFunction::kAcos:
            return "acos";
        case MathFunction::kAtan:
            return "atan";
        case MathFunction::kAtan2:
            return "atan2";
    }
    return "?";
}

bool ReadHardCases(const std::string& path, std::vector<HardCase>* cases, std::string* error) {
    std::ifstream in(path);
    if (!in) {
        *error = "cannot read " + path;
        return false;
    }
    cases->clear();
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        const std::size_t hash = line.find('#');
        if (hash != std::string::npos) line.erase(hash);
        std::istringstream fields(line);
        std::string functions, kind, first, second, extra;
        if (!(fields >> functions)) continue;  // blank or comment
        const std::string where = path + ":" + std::to_string(number) + ": ";
        HardCase c;
        std::istringstream names(functions);
        std::string name;
        while (std::getline(names, name, '/')) {
            bool known = false;
            for (MathFunction f : {MathFunction::kSin, MathFunction::kCos, MathFunction::kAcos,
                                   MathFunction::kAtan, MathFunction::kAtan2}) {
                if (name == MathFunctionName(f)) c.functions |= Bit(f), known = true;
            }
            if (!known) {
                *error = where + "unknown function " + name;
                return false;
            }
        }
        const bool two = c.functions == Bit(MathFunction::kAtan2);
        if (!two && (c.functions & Bit(MathFunction::kAtan2))) {
            *error = where + "atan2 shares no line with the functions of one argument";
            return false;
        }
        if (!(fields >> kind >> first) || (two && !(fields >> second)) || (fields >> extra)) {
            *error =
                where + "expected: FUNCTION[/FUNCTION] KIND ARGUMENT" + (two ? " ARGUMENT" : "");
            return false;
        }
        c.kind = kind;
        if (two ? !(ParseHexDouble(first, &c.args.y) && ParseHexDouble(second, &c.args.x))
                : !ParseHexDouble(first, &c.args.x)) {
            *error = where + "not a double in hexadecimal: " + line;
            return false;
        }
        cases->push_back(c);
    }
    if (cases->empty()) {
        *error = path + ": no cases";
        return false;
    }
    return true;
}

const std::vector<MathFamily>& MathFamilies() {
    using F = MathFunction;
    static const std::vector<MathFamily> families = {
        {F::kSin, "sin_tiny", 200000},
        {F::kSin, "sin_small", 600000},
        {F::kSin, "sin_medium", 400000},
        {F::kSin, "sin_large", 500000},
        {F::kSin, "sin_near_pi_multiples", 600000},
        {F::kSin, "sin_bits", 200000},
        {F::kSin, "sin_hard", 0},
        {F::kCos, "cos_tiny", 200000},
        {F::kCos, "cos_small", 600000},
        {F::kCos, "cos_medium", 400000},
        {F::kCos, "cos_large", 500000},
        {F::kCos, "cos_near_pi_multiples", 600000},
        {F::kCos, "cos_bits", 200000},
        {F::kCos, "cos_hard", 0},
        {F::kAcos, "acos_near_zero", 300000},
        {F::kAcos, "acos_middle", 800000},
        {F::kAcos, "acos_near_one", 800000},
        {F::kAcos, "acos_bits", 300000},
        {F::kAcos, "acos_outside", 20000},
        {F::kAcos, "acos_hard", 0},
        {F::kAtan, "atan_tiny", 200000},
        {F::kAtan, "atan_small", 800000},
        {F::kAtan, "atan_medium", 800000},
        {F::kAtan, "atan_huge", 400000},
        {F::kAtan, "atan_bits", 300000},
        {F::kAtan, "atan_hard", 0},
        {F::kAtan2, "atan2_quadrants", 800000},
        {F::kAtan2, "atan2_ratio_small", 300000},
        {F::kAtan2, "atan2_ratio_large", 300000},
        {F::kAtan2, "atan2_near_diagonal", 600000},
        {F::kAtan2, "atan2_extreme", 200000},
        {F::kAtan2, "atan2_bits", 300000},
        {F::kAtan2, "atan2_hard", 0},
    };
    return families;
}

std::vector<MathArgs> MathArguments(const MathFamily& family, MathSize size,
                                    const std::vector<HardCase>& hard) {
    std::vector<MathArgs> args;
    if (family.count == 0) {  // the hard cases, all of them on both platforms
        for (const HardCase& c : hard)
            if (c.functions & Bit(family.function)) args.push_back(c.args);
        return args;
    }
    MathArgumentStream stream(family, hard, 0);
    const int count = size == MathSize::kFull ? family.count : family.count / kTableShare;
    args.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) args.push_back(stream.Next());
    return args;
}

MathArgumentStream::MathArgumentStream(const MathFamily& family, const std::vector<HardCase>& hard,
                                       unsigned stream)
    : function_(family.function) {
    const std::string prefix = std::string(MathFunctionName(family.function)) + "_";
    name_ = std::string(family.name).substr(prefix.size());
    if (name_ == "near_pi_multiples") {
        centres_ = HardArguments(family.function, hard, NearMultipleKind);
        if (centres_.empty()) centres_.push_back(0x1.921fb54442d18p+0);  // no file: pi/2 alone
    }
    state_ = Fnv1a(family.name, std::strlen(family.name)) +
             (static_cast<std::uint64_t>(stream) << 60) * SplitMix64::kGamma;
}

MathArgs MathArgumentStream::Next() {
    SplitMix64 rng(state_);
    const MathArgs a = Draw(function_, name_, rng, centres_);
    state_ = rng.State();
    return a;
}

std::uint64_t HashOfArguments(const std::vector<MathArgs>& args) {
    std::uint64_t h = 0xcbf29ce484222325ull;
    for (const MathArgs& a : args) {
        const std::uint64_t bits[2] = {DoubleBits(a.y), DoubleBits(a.x)};
        h = Fnv1a(bits, sizeof bits, h);
    }
    return h;
}

std::uint64_t DoubleBits(double d) {
    std::uint64_t u;
    std::memcpy(&u, &d, sizeof u);
    return u;
}

double DoubleFromBits(std::uint64_t u) {
    double d;
    std::memcpy(&d, &u, sizeof d);
    return d;
}

std::string HexDouble(double d) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%a", d);
    return buffer;
}

std::string DescribeArgs(MathFunction f, const MathArgs& args) {
    if (f == MathFunction::kAtan2)
        return std::string("atan2(") + HexDouble(args.y) + ", " + HexDouble(args.x) + ")";
    return std::string(MathFunctionName(f)) + "(" + HexDouble(args.x) + ")";
}

}  // namespace selvora_test
