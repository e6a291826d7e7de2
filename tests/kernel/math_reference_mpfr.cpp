// The expected values on Linux: GNU MPFR, called as the test runs.
#include "kernel/math_mpfr.h"
#include "kernel/math_reference.h"

namespace selvora_test {

namespace {

// MPFR's functions of one argument, for the MathFunction they check.
struct OneArgument {
    MathFunction function;
    double (MpfrDoubles::*value)(double);
};

const OneArgument kOneArgument[] = {
    {MathFunction::kSin, &MpfrDoubles::Sin},
    {MathFunction::kCos, &MpfrDoubles::Cos},
    {MathFunction::kAcos, &MpfrDoubles::Acos},
    {MathFunction::kAtan, &MpfrDoubles::Atan},
};

}  // namespace

bool ReferenceConstants(RoundedConstants* constants, std::string*) {
    MpfrDoubles mpfr;
    constants->pi = mpfr.Pi();
    constants->halfPi = mpfr.PiTimes(1, 2);
    constants->quarterPi = mpfr.PiTimes(1, 4);
    constants->threeQuarterPi = mpfr.PiTimes(3, 4);
    return true;
}

bool ReferenceValues(const MathFamily& family, const std::vector<MathArgs>& args,
                     std::vector<double>* values, std::string*) {
    MpfrDoubles mpfr;
    values->clear();
    values->reserve(args.size());
    if (family.function == MathFunction::kAtan2) {
        for (const MathArgs& a : args) values->push_back(mpfr.Atan2(a.y, a.x));
        return true;
    }
    for (const OneArgument& one : kOneArgument) {
        if (one.function != family.function) continue;
        for (const MathArgs& a : args) values->push_back((mpfr.*one.value)(a.x));
    }
    return true;
}

MathSize ReferenceSize() { return MathSize::kFull; }

const char* ReferenceName() { return "GNU MPFR"; }

}  // namespace selvora_test
