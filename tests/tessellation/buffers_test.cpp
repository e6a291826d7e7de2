// The tessellation interface without its buffers, as a library whose
// allocations failed at load leaves it.
#include "tessellation/buffers.h"

#include <gtest/gtest.h>

#include "selvora/tessellation/tessellation.h"

namespace {

// A unit square, its sides the segments, with the buffers in place: two
// triangles.
int TessellateASquare() {
    double* points = nullptr;
    int* segments = nullptr;
    OV_getTessellationBuffer(&points, &segments, nullptr, nullptr);
    const double square[8] = {0, 0, 1, 0, 1, 1, 0, 1};
    const int sides[8] = {0, 1, 1, 2, 2, 3, 3, 0};
    for (int i = 0; i < 8; ++i) {
        points[i] = square[i];
        segments[i] = sides[i];
    }
    return OV_doTessellationChecked(4, 4, 0, nullptr);
}

TEST(TessellationBuffers, MissingBuffersRefuseEveryGraph) {
    const bool hadBuffers = selvora::Buffers().points != nullptr;
    selvora::ReleaseTessellationBuffers();

    // Not null before the call, so that the call is seen to write them.
    double coordinate = 0;
    int index = 0;
    double* points = &coordinate;
    int* segments = &index;
    int* triangles = &index;
    double* holes = &coordinate;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    EXPECT_EQ(nullptr, points);
    EXPECT_EQ(nullptr, segments);
    EXPECT_EQ(nullptr, triangles);
    EXPECT_EQ(nullptr, holes);
    int added = -1;
    EXPECT_EQ(OV_TESSELLATION_NO_BUFFERS, OV_doTessellationChecked(4, 4, 0, &added));
    EXPECT_EQ(0, added);
    EXPECT_EQ(0, OV_doTessellation(4, 4, 0));

    selvora::AllocateTessellationBuffers();
    EXPECT_EQ(2, TessellateASquare());
    if (!hadBuffers) selvora::ReleaseTessellationBuffers();
}

}  // namespace
