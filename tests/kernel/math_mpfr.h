// Correctly rounded double results of sin, cos, acos, atan and atan2 by GNU
// MPFR (Linux only): the function evaluated to 53 bits with rounding to
// nearest, ties to even, in MPFR's exponent range of doubles ([-1073, 1024]
// for its mantissas in [1/2, 1)), then rounded again to the precision a
// subnormal result has with the first rounding's direction (the ternary
// value), which avoids a double rounding. Each call sets that exponent range
// and puts back the thread's own. Special arguments follow C99's Annex F, as
// MPFR's functions do. One object per thread.
#pragma once

#include <mpfr.h>

namespace selvora_test {

class MpfrDoubles {
  public:
    MpfrDoubles();
    ~MpfrDoubles();
    MpfrDoubles(const MpfrDoubles&) = delete;
    MpfrDoubles& operator=(const MpfrDoubles&) = delete;

    double Sin(double x);
    double Cos(double x);
    // Both with one evaluation (MPFR's sin_cos): about the time of one.
    void SinCos(double x, double* s, double* c);
    double Acos(double x);
    double Atan(double x);
    double Atan2(double y, double x);
    double Pi();
    // pi times 3/4 (or 1/2, 1/4: exact scalings of pi, one rounding).
    double PiTimes(int numerator, int denominator);

  private:
    // f(x) rounded to the nearest double, f one of MPFR's functions of one
    // argument.
    double Unary(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), double x);
    // The result held in result_, with ternary value t (the sign of the
    // rounding error), as the nearest double.
    double Round(mpfr_t result, int t);

    mpfr_t a_, b_, result_, second_;
};

}  // namespace selvora_test
