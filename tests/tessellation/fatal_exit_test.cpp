// The triangulator's fatal conditions end the process: the message box text
// (on Linux, UTF-8, as one line on stderr; on Windows the test program echoes
// the library's debug strings there) and exit status 1.
#include <gtest/gtest.h>

#include <cstdio>

#include "selvora/selvora.h"
#include "support/address_space.h"

namespace {

// A triangle's three corners, with one segment per side.
void WriteTriangle(double* points, int* segments) {
    const double xy[] = {0, 0, 1, 0, 0, 1};
    for (int i = 0; i < 6; ++i) points[i] = xy[i];
    const int ends[] = {0, 1, 1, 2, 2, 0};
    for (int i = 0; i < 6; ++i) segments[i] = ends[i];
}

TEST(TessellationDeathTest, FewerThanThreeVerticesExits) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    double *points, *holes;
    int *segments, *triangles;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    WriteTriangle(points, segments);
    EXPECT_EXIT(OV_doTessellation(2, 0, 0), ::testing::ExitedWithCode(1), "^错误: 顶点数小于3\n$");
    EXPECT_EXIT(OV_doTessellation(0, 0, 0), ::testing::ExitedWithCode(1), "^错误: 顶点数小于3\n$");
    EXPECT_EXIT(OV_doTessellation(-5, 0, 0), ::testing::ExitedWithCode(1), "^错误: 顶点数小于3\n$");
}

TEST(TessellationDeathTest, OutOfMemoryInsideTheTriangulatorExits) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer needs more address space than the cap leaves";
#elif defined(_WIN32)
    SELVORA_SKIP_WITHOUT_ADDRESS_SPACE_CAP();
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    double *points, *holes;
    int *segments, *triangles;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    const int n = 30000;  // a grid: the triangulator's pools need megabytes
    for (int i = 0; i < n; ++i) {
        points[2 * i] = i % 200;
        points[2 * i + 1] = i / 200 + (i % 7) * 0.01;
    }
    EXPECT_EXIT(
        {
            selvora_test::CapAddressSpace(1 << 20);
            OV_doTessellation(n, 0, 0);
        },
        ::testing::ExitedWithCode(1), "^错误:  内存不足\n$");
#endif
}

}  // namespace
