// selvora_math_table HARD_CASES OUTPUT: computes with GNU MPFR the expected
// results of the trigonometric functions' tests for the Windows build, which
// has no MPFR: every family of math_arguments.h at its table size, and the
// rounded constants, written as math_reference.h lays them out.
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "kernel/math_arguments.h"
#include "kernel/math_reference.h"

namespace {

using namespace selvora_test;

void PutWord(std::FILE* f, std::uint64_t u) {
    unsigned char b[8];
    for (int i = 0; i < 8; ++i) b[i] = static_cast<unsigned char>(u >> (8 * i));
    std::fwrite(b, 1, 8, f);
}

void PutDouble(std::FILE* f, double d) { PutWord(f, DoubleBits(d)); }

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s HARD_CASES OUTPUT\n", argv[0]);
        return 2;
    }
    std::vector<HardCase> hard;
    std::string error;
    if (!ReadHardCases(argv[1], &hard, &error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    const std::string output = argv[2];
    const std::string partial = output + ".part";
    std::FILE* f = std::fopen(partial.c_str(), "wb");
    if (!f) {
        std::perror(partial.c_str());
        return 1;
    }
    std::fwrite(kMathTableMagic, 1, sizeof kMathTableMagic - 1, f);
    RoundedConstants constants;
    ReferenceConstants(&constants, &error);
    PutDouble(f, constants.pi);
    PutDouble(f, constants.halfPi);
    PutDouble(f, constants.quarterPi);
    PutDouble(f, constants.threeQuarterPi);
    std::uint64_t total = 0;
    for (const MathFamily& family : MathFamilies()) {
        const std::vector<MathArgs> args = MathArguments(family, MathSize::kTable, hard);
        std::vector<double> values;
        ReferenceValues(family, args, &values, &error);
        std::fwrite(family.name, 1, std::string(family.name).size() + 1, f);
        PutWord(f, args.size());
        PutWord(f, HashOfArguments(args));
        for (double v : values) PutDouble(f, v);
        total += args.size();
    }
    if (std::ferror(f) || std::fclose(f) != 0 ||
        std::rename(partial.c_str(), output.c_str()) != 0) {
        std::perror(output.c_str());
        return 1;
    }
    std::printf("%s: %" PRIu64 " expected values\n", output.c_str(), total);
    return 0;
}
