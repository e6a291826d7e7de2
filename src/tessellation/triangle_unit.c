/* Triangle's source (Debian's source package `triangle`, patched), compiled
 * into the library. The C library calls it makes are mapped to the guard's
 * hooks (triangle_guard.h) before its text is included:
 *   printf  its report of what went wrong, with the function and line that
 *           print it; nothing is printed
 *   exit    its exit, which ends in the library's message boxes
 *   malloc  its allocation and release, kept per call
 *   free
 * The build compiles this unit with -finstrument-functions, so that the
 * guard sees every entry to and exit from Triangle's functions, and the text
 * included is the copy of triangle.c made at configure time, whose one
 * addition counts every step from a triangle to its neighbour as well, and
 * checks the triangle stepped onto during a search for a point
 * (cmake/TriangleSource.cmake). */

/* The C library's own declarations come first, before the names are mapped. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tessellation/triangle_guard.h"

#define printf(...) selvora_triangle_report(__func__, __LINE__, __VA_ARGS__)
#define exit(status) selvora_triangle_exit(status)
#define malloc(size) selvora_triangle_malloc(size)
#define free(block) selvora_triangle_free(block)

#include "triangle.c"

/* Triangle's entry, with the library's switches: PSLG (segments are
 * constraints, holes are carved), zero-based, no output segments or boundary
 * markers, quiet; output vertices only when asked for. Triangle allocates the
 * output lists itself. */
__attribute__((no_instrument_function)) void selvora_triangle_run(
    double* xy, int numPoints, int* segments, int numSegments, double* holes, int numHoles,
    int withVertices, struct selvora_triangulation* result) {
    static char withoutVertexSwitches[] = "pzNPBQ";
    static char withVertexSwitches[] = "pzPBQ";
    char* switches = withVertices ? withVertexSwitches : withoutVertexSwitches;
    struct triangulateio in, out;
    memset(&in, 0, sizeof in);
    in.pointlist = xy;
    in.numberofpoints = numPoints;
    in.segmentlist = segments;
    in.numberofsegments = numSegments;
    in.holelist = numHoles > 0 ? holes : NULL;
    in.numberofholes = numHoles;
    memset(&out, 0, sizeof out);
    triangulate(switches, &in, &out, NULL);
    result->corners = out.trianglelist;
    result->count = out.numberoftriangles;
    result->xy = withVertices ? out.pointlist : NULL;
    result->numPoints = withVertices ? out.numberofpoints : 0;
}

/* Triangle's exact orientation predicate, for the library's own tests of
 * its input. */
__attribute__((no_instrument_function)) double selvora_triangle_orientation(const double* pa,
                                                                            const double* pb,
                                                                            const double* pc) {
    static int initialised;
    static struct mesh m;
    static struct behavior b; /* exact arithmetic: b.noexact is 0 */
    if (!initialised) {
        exactinit();
        initialised = 1;
    }
    return counterclockwise(&m, &b, (vertex)pa, (vertex)pb, (vertex)pc);
}

const void* const selvora_triangle_finddirection = (const void*)finddirection;
const void* const selvora_triangle_segmentintersection = (const void*)segmentintersection;
const void* const selvora_triangle_locate = (const void*)locate;
const void* const selvora_triangle_preciselocate = (const void*)preciselocate;
