// A Taylor expansion of degree 9 around a table point a, as the arc functions'
// fast paths keep them (acos_table.h, arc_tangent_table.h):
//
//     f(a + h) = T_0 + (lead + rest) h + T_2 h^2 + ... + T_9 h^9 + (tail),
//
// T_0 kept apart by the caller, f'(a) = T_1 split into a short leading part
// whose products with h are exact and a rounded rest, T_2..T_9 rounded to
// nearest. The generators (tools/taylor_expansions.py) bound the tail and
// the error of HigherTerms for every point.
#pragma once

namespace selvora {
namespace math {

constexpr int kExpansionDegree = 9;

struct TaylorExpansion {
    double lead;
    double rest;
    double c[kExpansionDegree - 1];  // T_2..T_9
};

static_assert(kExpansionDegree == 9, "HigherTerms evaluates T_2..T_9");

// T_2 h^2 + ... + T_9 h^9 by Estrin's scheme (short dependency chains; the
// generators' error bound follows this order of operations exactly).
inline double HigherTerms(const TaylorExpansion& expansion, double h) {
    const double* c = expansion.c;
    const double h2 = h * h;
    const double h4 = h2 * h2;
    const double e0 = c[0] + h * c[1];
    const double e1 = c[2] + h * c[3];
    const double e2 = c[4] + h * c[5];
    const double e3 = c[6] + h * c[7];
    return h2 * ((e0 + h2 * e1) + h4 * (e2 + h2 * e3));
}

}  // namespace math
}  // namespace selvora
