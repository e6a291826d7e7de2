// The expected values on Linux: GNU MPFR, called as the test runs.
#include "kernel/math_mpfr.h"
#include "kernel/math_reference.h"

namespace selvora_test {

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
    for (const MathArgs& a : args) {
        switch (family.function) {
            case MathFunction::kSin:
                values->push_back(mpfr.Sin(a.x));
                break;
            case MathFunction::kCos:
                values->push_back(mpfr.Cos(a.x));
                break;
            case MathFunction::kAcos:
                values->push_back(mpfr.Acos(a.x));
                break;
            case MathFunction::kAtan:
                values->push_back(mpfr.Atan(a.x));
                break;
            case MathFunction::kAtan2:
                values->push_back(mpfr.Atan2(a.y, a.x));
                break;
        }
    }
    return true;
}

MathSize ReferenceSize() { return MathSize::kFull; }

const char* ReferenceName() { return "GNU MPFR"; }

}  // namespace selvora_test
