/* Triangle, compiled into the library, run under a guard.
 *
 * triangle_unit.c compiles Triangle's source with its C library calls mapped
 * to the hooks below: what it prints when it fails (a report), its exit, its
 * allocation and its release of memory. Every entry to and exit from one of
 * its functions is reported as well (-finstrument-functions). With that the
 * guard
 *   - names each fatal condition from the source: the function whose report
 *     preceded the exit and, for an internal error, which of that function's
 *     calls of internalerror() it was;
 *   - bounds, per call, how deep Triangle's recursion goes and how much work
 *     one activation of a Triangle function does (the calls it makes and its
 *     steps from a triangle to a neighbour: every loop of Triangle that input
 *     can drive without end makes one or the other on each turn), both in
 *     proportion to the input, and how much of the thread's stack it uses;
 *   - keeps every block Triangle allocates during the call, so that a run
 *     that is abandoned leaves nothing behind. */
#ifndef SELVORA_TESSELLATION_TRIANGLE_GUARD_H
#define SELVORA_TESSELLATION_TRIANGLE_GUARD_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The result of a triangulation that ran to its end: `count` triangles, three
 * corner indices each, valid until selvora_triangulation_release(). */
struct selvora_triangulation {
    const int* corners;
    int count;
    const double* xy; /* a checked run's vertices, added ones last; else null */
    int numPoints;
};

/* Triangulates the graph with the switches "pzNPBQ". `stackRoom` is how many
 * bytes of the calling thread's stack the run may use; less than Triangle's
 * entry alone takes (96 KiB) abandons the run at once. Returns 1 with the
 * result, or 0 when the run went past a bound and was abandoned (everything
 * it allocated is released). A fatal condition of the triangulator ends the
 * process through selvora_triangle_fatal(). */
int selvora_triangulate(double* xy, int numPoints, int* segments, int numSegments, double* holes,
                        int numHoles, size_t stackRoom, struct selvora_triangulation* result);

/* How a checked run ended. */
enum selvora_run_outcome {
    SELVORA_RUN_DONE,         /* the result is filled in */
    SELVORA_RUN_ABANDONED,    /* it went past a bound */
    SELVORA_RUN_FAILED,       /* the triangulator gave up (an internal error) */
    SELVORA_RUN_OUT_OF_MEMORY /* an allocation failed */
};

/* selvora_triangulate() that never ends the process: every fatal condition of
 * the triangulator abandons the run instead (everything it allocated is
 * released) and is told apart in the outcome. The switches are "pzPBQ": the
 * result holds the vertices as well, the input points first. */
enum selvora_run_outcome selvora_triangulate_checked(double* xy, int numPoints, int* segments,
                                                     int numSegments, double* holes, int numHoles,
                                                     size_t stackRoom,
                                                     struct selvora_triangulation* result);

/* Releases what the last triangulation allocated, its result included. */
void selvora_triangulation_release(void);

/* The fatal conditions of the triangulator. */
enum selvora_triangle_condition {
    SELVORA_TRIANGLE_EXIT,           /* its exit after a report of `function` */
    SELVORA_TRIANGLE_INTERNAL_ERROR, /* internalerror() after a report of `function` */
    SELVORA_TRIANGLE_OUT_OF_MEMORY   /* no memory for the guard's own bookkeeping */
};

/* Shows the condition's message boxes and ends the process with status 1.
 * `ordinal` numbers an internal error among the calls of internalerror() in
 * `function` (1 for the first in the source; 0 when unknown). Defined by the
 * library's fatal-error table. */
__attribute__((noreturn)) void selvora_triangle_fatal(enum selvora_triangle_condition condition,
                                                      const char* function, int ordinal);

/* The hooks Triangle's C library calls are mapped to. */
int selvora_triangle_report(const char* function, int line, const char* format, ...);
__attribute__((noreturn)) void selvora_triangle_exit(int status);
void* selvora_triangle_malloc(size_t size);
void selvora_triangle_free(void* block);

/* Triangle itself, called with the switches "pzNPBQ", or "pzPBQ" (the
 * vertices returned too) when `withVertices` (triangle_unit.c). */
void selvora_triangle_run(double* xy, int numPoints, int* segments, int numSegments, double* holes,
                          int numHoles, int withVertices, struct selvora_triangulation* result);

/* Triangle's exact orientation of the points a, b, c: positive when they
 * turn counter-clockwise, negative clockwise, 0 on one line. Not to be called
 * during a triangulation. */
double selvora_triangle_orientation(const double* a, const double* b, const double* c);

/* The work of the activation in progress (calls made and steps from a
 * triangle to its neighbour) and what one activation may do. Every step of
 * Triangle's walks is counted through SELVORA_TRIANGLE_STEP(). */
extern size_t* selvora_triangle_work;
extern size_t selvora_triangle_budget;
__attribute__((noreturn)) void selvora_triangle_overrun(void);
#define SELVORA_TRIANGLE_STEP()                                                             \
    do {                                                                                    \
        if (++*selvora_triangle_work > selvora_triangle_budget) selvora_triangle_overrun(); \
    } while (0)

/* Whether the activation in progress is a search for a point (locate(),
 * preciselocate()). Every step of Triangle's walks onto a triangle goes
 * through SELVORA_TRIANGLE_STEP_ONTO(), and during a search the guard checks
 * the triangle stepped onto (selvora_triangle_check_step()). */
extern int selvora_triangle_searching;
void selvora_triangle_check_step(const void* const* tri);
#define SELVORA_TRIANGLE_STEP_ONTO(tri)                                                         \
    do {                                                                                        \
        SELVORA_TRIANGLE_STEP();                                                                \
        if (selvora_triangle_searching) selvora_triangle_check_step((const void* const*)(tri)); \
    } while (0)

/* Functions of Triangle the guard tells apart, by address (triangle_unit.c). */
extern const void* const selvora_triangle_finddirection;
extern const void* const selvora_triangle_segmentintersection;
extern const void* const selvora_triangle_locate;
extern const void* const selvora_triangle_preciselocate;

#ifdef __cplusplus
}
#endif

#endif
