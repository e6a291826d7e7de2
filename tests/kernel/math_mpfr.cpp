#include "kernel/math_mpfr.h"

#include <cstdio>
#include <cstdlib>

namespace selvora_test {

namespace {

// Doubles' exponent range in MPFR's terms for the span of one call.
class DoubleExponentRange {
  public:
    DoubleExponentRange() : emin_(mpfr_get_emin()), emax_(mpfr_get_emax()) {
        mpfr_set_emin(-1073);
        mpfr_set_emax(1024);
    }
    ~DoubleExponentRange() {
        mpfr_set_emin(emin_);
        mpfr_set_emax(emax_);
    }
    DoubleExponentRange(const DoubleExponentRange&) = delete;
    DoubleExponentRange& operator=(const DoubleExponentRange&) = delete;

  private:
    mpfr_exp_t emin_, emax_;
};

}  // namespace

MpfrDoubles::MpfrDoubles() {
    mpfr_inits2(53, a_, b_, result_, second_, static_cast<mpfr_ptr>(nullptr));
}

MpfrDoubles::~MpfrDoubles() {
    mpfr_clears(a_, b_, result_, second_, static_cast<mpfr_ptr>(nullptr));
}

double MpfrDoubles::Round(mpfr_t result, int t) {
    t = mpfr_subnormalize(result, t, MPFR_RNDN);
    return mpfr_get_d(result, MPFR_RNDN);  // exact: result has a double's precision and range
}

double MpfrDoubles::Unary(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), double x) {
    DoubleExponentRange range;
    mpfr_set_d(a_, x, MPFR_RNDN);
    return Round(result_, f(result_, a_, MPFR_RNDN));
}

double MpfrDoubles::Sin(double x) { return Unary(mpfr_sin, x); }

double MpfrDoubles::Cos(double x) { return Unary(mpfr_cos, x); }

void MpfrDoubles::SinCos(double x, double* s, double* c) {
    DoubleExponentRange range;
    mpfr_set_d(a_, x, MPFR_RNDN);
    // The return value is ts + 4 tc, each 0 when exact, 1 when the rounded
    // value is above the exact one, 2 when below.
    const int both = mpfr_sin_cos(result_, second_, a_, MPFR_RNDN);
    const int ts = both & 3, tc = (both >> 2) & 3;
    *s = Round(result_, ts == 0 ? 0 : ts == 1 ? 1 : -1);
    *c = Round(second_, tc == 0 ? 0 : tc == 1 ? 1 : -1);
}

double MpfrDoubles::Acos(double x) { return Unary(mpfr_acos, x); }

double MpfrDoubles::Atan(double x) { return Unary(mpfr_atan, x); }

double MpfrDoubles::Atan2(double y, double x) {
    DoubleExponentRange range;
    mpfr_set_d(a_, y, MPFR_RNDN);
    mpfr_set_d(b_, x, MPFR_RNDN);
    return Round(result_, mpfr_atan2(result_, a_, b_, MPFR_RNDN));
}

double MpfrDoubles::Pi() { return PiTimes(1, 1); }

double MpfrDoubles::PiTimes(int numerator, int denominator) {
    DoubleExponentRange range;
    // pi to 300 bits (error below 2^-300 relative), times the fraction, is
    // rounded to 53 bits only when MPFR proves that error cannot change the
    // rounding.
    mpfr_t wide;
    mpfr_init2(wide, 300);
    mpfr_const_pi(wide, MPFR_RNDN);
    mpfr_mul_si(wide, wide, numerator, MPFR_RNDN);
    mpfr_div_si(wide, wide, denominator, MPFR_RNDN);
    if (!mpfr_can_round(wide, 290, MPFR_RNDN, MPFR_RNDZ, 54)) {
        std::fprintf(stderr, "pi*%d/%d: cannot round\n", numerator, denominator);
        std::abort();
    }
    const int t = mpfr_set(result_, wide, MPFR_RNDN);
    mpfr_clear(wide);
    return Round(result_, t);
}

}  // namespace selvora_test
