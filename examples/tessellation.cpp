// tessellation: triangulates an L-shaped outline with a triangular hole.
//
// The library owns four buffers (points, segments, triangles, hole seeds) for
// the whole process. A client fetches their addresses, writes its input into
// them, runs the triangulation and reads the triangles back. The segments are
// kept as edges of the result and the hole seeds mark the areas to leave out.
#include <cstdio>

#include <selvora/selvora.h>

int main() {
    // The outline, counter-clockwise, then the hole's three corners.
    const double corners[][2] = {
        {0, 0},     {6, 0},     {6, 2},   {2, 2}, {2, 6}, {0, 6},  // the L
        {0.5, 0.5}, {1.5, 0.5}, {1, 1.5},                          // the hole
    };
    // Each edge joins two corners, by zero-based index; both rings are closed.
    const int edges[][2] = {
        {0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {5, 0},  // the L
        {6, 7}, {7, 8}, {8, 6},                          // the hole
    };
    const int numPoints = 9, numSegments = 9;
    const int numHoles = 1;
    const double seed[2] = {1.0, 0.8};  // any point inside the hole

    // Fewer than three points is a fatal error: the library prints a message
    // and ends the whole process with status 1. Counts above the buffers' capacities are
    // refused with a result of 0. So check the counts before calling.
    if (numPoints < 3 || numPoints > OV_TESSELLATION_MAX_POINTS ||
        numSegments > OV_TESSELLATION_MAX_SEGMENTS || numHoles > OV_TESSELLATION_MAX_HOLES) {
        std::fprintf(stderr, "tessellation: input counts out of range\n");
        return 1;
    }

    double* points;
    int* segments;
    int* triangles;
    double* holes;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);

    // Points are x, y pairs; a segment is a pair of point indices.
    for (int i = 0; i < numPoints; ++i) {
        points[2 * i] = corners[i][0];
        points[2 * i + 1] = corners[i][1];
        std::printf("point %d: %.17g %.17g\n", i, corners[i][0], corners[i][1]);
    }
    for (int i = 0; i < numSegments; ++i) {
        segments[2 * i] = edges[i][0];
        segments[2 * i + 1] = edges[i][1];
        std::printf("segment %d: %d %d\n", i, edges[i][0], edges[i][1]);
    }
    holes[0] = seed[0];
    holes[1] = seed[1];
    std::printf("hole 0: %.17g %.17g\n", seed[0], seed[1]);

    // The result is the number of triangles; each has three corner indices
    // into the points, counter-clockwise. No points are added unless two
    // segments cross, so every index refers to an input point.
    const int count = OV_doTessellation(numPoints, numSegments, numHoles);
    if (count == 0) {
        std::fprintf(stderr, "tessellation: no triangles\n");
        return 1;
    }
    std::printf("triangles: %d\n", count);
    for (int t = 0; t < count; ++t) {
        const int* v = triangles + 3 * t;
        std::printf("triangle %d: %d %d %d at", t, v[0], v[1], v[2]);
        for (int k = 0; k < 3; ++k)
            std::printf(" (%.17g, %.17g)", points[2 * v[k]], points[2 * v[k] + 1]);
        std::printf("\n");
    }
    return 0;
}
