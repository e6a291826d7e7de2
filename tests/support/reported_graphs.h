// Planar graphs that crashed and hung the triangulator, found by random
// graphs and the fuzzers mixing magnitudes from 1e-60 to 1e75.
#pragma once

#include "common/planar_graph.h"

namespace selvora_test {

// Its segment insertion recursed without end (a stack overflow). An open
// polyline: it encloses nothing, so a triangulation that ends keeps no
// triangle.
inline selvora_common::PlanarGraph GraphThatOverflowedTheStack() {
    // clang-format off
    return {{0, -1.2941292465998752e+28,
             1.3587408959707088e-29, -3.8660621547136084e+38,
             -3.3683428388781001e-60, 1.4948846787902541e-56,
             2.7377315004511858e-39, 8.0004819043127064e+66,
             0, -1.6130322312245683e-35,
             0, 3.0450987669205505e-21,
             -1.9881506878951213e+56, 2915486063.6075978},
            {0, 3, 1, 2, 4, 5},
            {}};
    // clang-format on
}

// Its point location never ended. An open polyline too.
inline selvora_common::PlanarGraph GraphThatNeverReturned() {
    // clang-format off
    return {{-8.6909167050185145e-22, 4.2891091351342634e-41,
             1.6165020916813824e+19, -2.9082726589422338e+27,
             -1.1216397993296759e+46, -6.9418515846465801e+31,
             4.4826806458074009e-16, 0.0010496918020760631,
             -2.6458402205562758e+67, 0,
             -2.6727918095709251e-59, -9.3944415402986377e-18,
             -1.1494876931947593e+50, 3.5903351697383424e-24,
             17136449614570766, 1.9538223842012274e-19,
             0, 4.518070398663148e-53,
             2.1954684179104103e+37, -5.9577330350022111e+24},
            {6, 8, 5, 9, 0, 1, 2, 4},
            {}};
    // clang-format on
}

// A rectangle whose bottom side passes through n points: inserting that side
// recurses once per point. With 30,000 points it overflowed the stacks of
// threads of 256 KiB.
inline selvora_common::PlanarGraph RectangleOverPointsInALine(int n) {
    selvora_common::PlanarGraph g;
    for (int i = 0; i < n; ++i) g.AddPoint(i, 0);
    g.AddPoint(n - 1, 1);
    g.AddPoint(0, 1);
    g.segments = {0, n - 1, n - 1, n, n, n + 1, n + 1, 0};
    return g;
}

// Its segments' crossings, computed in floating point, left a mesh that had
// come apart: a search for a segment's end stepped out of the mesh and read
// a vertex that is not there (a segmentation fault).
inline selvora_common::PlanarGraph GraphWhoseMeshCameApart() {
    // clang-format off
    return {{1.9960937500000002e+30, -1e-54,
             -1.12890625e+40, 9.9999999999999995e+60,
             -1.9843750000000001e-43, 0,
             4, 6,
             0, 4,
             0, 1,
             0, 9.9999999999999994e-12,
             0, 6,
             0, 2,
             0, 4,
             6, 0,
             4, 0,
             1, 0,
             1.08203125e-27, 0,
             6, 1.1289062499999999e+66,
             5, 6},
            {15, 1, 2, 1, 12, 14, 0, 2, 5, 2, 8, 15, 7, 7, 13, 1, 2, 1, 2, 1,
             8, 14, 0, 2, 8, 2, 8, 2, 2, 14, 14, 1, 1, 1, 14, 1, 9, 14, 2, 8,
             14, 1, 13, 1, 2, 1, 6, 8, 14, 10, 1, 1, 1, 1, 1, 1},
            {9.9999999999999995e+73, 0, 0, 0, 0, 0}};
    // clang-format on
}

}  // namespace selvora_test
