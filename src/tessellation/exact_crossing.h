// The crossing point of two segments, rounded from its exact value.
#pragma once

namespace selvora {

// The point where the segment from a to b crosses the one from c to d (x, y
// each), for segments that cross at one point inside both. Its coordinates
// come from the exact rational values x = (ax db - bx da) / (db - da) (and
// alike for y), da and db being the orientations of a and b against the line
// from c to d, with a relative error of a few units in the last place
// whatever the magnitudes of the ends: da, db and the numerators are formed
// exactly as sums of doubles (Shewchuk's expansion arithmetic) and only the
// final quotient is rounded. The coordinates must be 0 or of a magnitude
// from 1e-60 to 1e75, so that no product formed overflows or underflows.
void ExactCrossing(const double* a, const double* b, const double* c, const double* d,
                   double* crossing);

}  // namespace selvora
