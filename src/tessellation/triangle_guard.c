/* The guard around one run of Triangle: see triangle_guard.h. */
#include "tessellation/triangle_guard.h"

#include <setjmp.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "triangle_error_sites.h"

/* Kept out of the shared library's symbol table. A DLL exports only what is
 * marked for export, so Windows needs no mark. */
#if defined(_WIN32)
#define SELVORA_HIDDEN
#else
#define SELVORA_HIDDEN __attribute__((visibility("hidden")))
#endif

/* The bounds of one run, in proportion to its input: the points, segments and
 * holes handed over, plus the vertices Triangle adds where segments cross.
 * A walk or a sweep of a mesh of that size makes at most a few calls and
 * steps per triangle; a recursion goes at most once per vertex or triangle. */
enum {
    kWorkPerItem = 64, /* calls and steps of one activation of a function */
    kWorkSlack = 4096,
    kDepthPerItem = 4, /* nested activations */
    kDepthSlack = 256
};

/* Triangle's entry function alone takes about 81 KiB of stack (its option
 * and file name buffers) before the first of its frames the guard sees; a run
 * given less room than this is abandoned before it starts, for the stack
 * would overflow before the guard could tell. */
enum { kLeastStackRoom = 96 * 1024 };

/* One activation of a Triangle function and the work it has done. */
struct frame {
    const void* function;
    size_t work;
};

/* A block Triangle allocated, kept in a ring until it is freed. */
struct block {
    struct block* prev;
    struct block* next;
};

/* The state of the run in progress, set afresh by every run. Runs are
 * serialised by the caller. */
static struct {
    int active;
    jmp_buf abandon;
    size_t items;         /* points + segments + holes handed over */
    size_t addedVertices; /* where segments cross */
    struct frame* frames; /* frames[0] stands for the caller of triangulate() */
    size_t depth;
    size_t depthBudget;
    size_t capacity;
    uintptr_t stackStart;
    size_t stackRoom;
    const char* reportFunction; /* the last report outside internalerror() */
    int reportLine;
    int internalErrorReported;
    int checked;                     /* fatal conditions abandon the run */
    enum selvora_run_outcome ending; /* why a checked run was abandoned */
} g_run;

static struct block g_blocks = {&g_blocks, &g_blocks};

/* Outside a run, steps count here and meet no bound. */
static size_t g_idleWork;
size_t* selvora_triangle_work = &g_idleWork;
size_t selvora_triangle_budget = SIZE_MAX;

int selvora_triangle_searching;

/* Whether an activation of `function` is a search for a point. */
static int Searches(const void* function) {
    return function == selvora_triangle_locate || function == selvora_triangle_preciselocate;
}

/* Sets both bounds from the size of the mesh, as it grows. */
static void SetBudgets(void) {
    const size_t size = g_run.items + g_run.addedVertices;
    selvora_triangle_budget = kWorkPerItem * size + kWorkSlack;
    g_run.depthBudget = kDepthPerItem * size + kDepthSlack;
}

static size_t StackUsed(void) {
    return (size_t)(g_run.stackStart - (uintptr_t)__builtin_frame_address(0));
}

/* Which of `function`'s calls of internalerror() follows a report printed at
 * `line`: 1 for the function's first in the source, 0 when none does. */
static int ErrorOrdinal(const char* function, int line) {
    int ordinal = 0;
    size_t i;
    if (!function) return 0;
    for (i = 0; i < sizeof selvora_triangle_error_sites / sizeof selvora_triangle_error_sites[0];
         ++i) {
        if (strcmp(selvora_triangle_error_sites[i].function, function) != 0) continue;
        ++ordinal;
        if (selvora_triangle_error_sites[i].line >= line) return ordinal;
    }
    return 0;
}

__attribute__((noreturn)) static void Abandon(void) { longjmp(g_run.abandon, 1); }

/* A fatal condition: the library's message boxes and the end of the process,
 * or, in a checked run, the run abandoned with the condition kept. */
__attribute__((noreturn)) static void Fatal(enum selvora_triangle_condition condition,
                                            const char* function, int ordinal) {
    if (g_run.checked) {
        const int outOfMemory = condition == SELVORA_TRIANGLE_OUT_OF_MEMORY ||
                                (function && strcmp(function, "trimalloc") == 0);
        g_run.ending = outOfMemory ? SELVORA_RUN_OUT_OF_MEMORY : SELVORA_RUN_FAILED;
        Abandon();
    }
    selvora_triangle_fatal(condition, function, ordinal);
}

void selvora_triangle_overrun(void) {
    /* A walk around a vertex that never finds its way is what Triangle
     * reports as the first internal error of finddirection(). */
    if (g_run.frames[g_run.depth].function == selvora_triangle_finddirection)
        Fatal(SELVORA_TRIANGLE_INTERNAL_ERROR, "finddirection", 1);
    Abandon();
}

/* A search for a point steps only onto triangles of the mesh, and
 * preciselocate() onto the space outside it too (Triangle's dummy triangle,
 * whose vertices are null), which it tells apart before it reads a vertex.
 * A step onto a released triangle (its second neighbour and first vertex set
 * null), or locate()'s step onto the outside, from where preciselocate()
 * would start by reading a vertex, means the mesh has come apart: the run is
 * abandoned before Triangle reads the vertex that is not there. */
void selvora_triangle_check_step(const void* const* tri) {
    if (!tri || !tri[1]) Abandon();
    if (!tri[3] && g_run.frames[g_run.depth].function == selvora_triangle_locate) Abandon();
}

static int GrowFrames(void) {
    const size_t capacity = g_run.capacity * 2;
    struct frame* frames = (struct frame*)realloc(g_run.frames, capacity * sizeof *frames);
    if (!frames) return 0;
    g_run.frames = frames;
    g_run.capacity = capacity;
    selvora_triangle_work = &g_run.frames[g_run.depth].work;
    return 1;
}

SELVORA_HIDDEN void __cyg_profile_func_enter(void* function, void* callSite) {
    (void)callSite;
    if (!g_run.active) return;
    if (function == selvora_triangle_segmentintersection) {
        ++g_run.addedVertices;
        SetBudgets();
    }
    SELVORA_TRIANGLE_STEP(); /* the call is work of the caller */
    if (g_run.depth >= g_run.depthBudget || StackUsed() > g_run.stackRoom) Abandon();
    if (g_run.depth + 1 == g_run.capacity && !GrowFrames())
        Fatal(SELVORA_TRIANGLE_OUT_OF_MEMORY, NULL, 0);
    ++g_run.depth;
    g_run.frames[g_run.depth].function = function;
    g_run.frames[g_run.depth].work = 0;
    selvora_triangle_work = &g_run.frames[g_run.depth].work;
    selvora_triangle_searching = Searches(function);
}

SELVORA_HIDDEN void __cyg_profile_func_exit(void* function, void* callSite) {
    (void)function;
    (void)callSite;
    if (!g_run.active || g_run.depth == 0) return;
    --g_run.depth;
    selvora_triangle_work = &g_run.frames[g_run.depth].work;
    selvora_triangle_searching = Searches(g_run.frames[g_run.depth].function);
}

int selvora_triangle_report(const char* function, int line, const char* format, ...) {
    (void)format;
    if (strcmp(function, "internalerror") == 0) {
        g_run.internalErrorReported = 1;
    } else {
        g_run.reportFunction = function;
        g_run.reportLine = line;
    }
    return 0;
}

void selvora_triangle_exit(int status) {
    (void)status;
    if (g_run.internalErrorReported) {
        Fatal(SELVORA_TRIANGLE_INTERNAL_ERROR, g_run.reportFunction,
              ErrorOrdinal(g_run.reportFunction, g_run.reportLine));
    }
    Fatal(SELVORA_TRIANGLE_EXIT, g_run.reportFunction, 0);
}

void* selvora_triangle_malloc(size_t size) {
    struct block* b;
    if (size > SIZE_MAX - sizeof *b) return NULL;
    b = (struct block*)malloc(sizeof *b + size);
    if (!b) return NULL;
    b->prev = &g_blocks;
    b->next = g_blocks.next;
    g_blocks.next->prev = b;
    g_blocks.next = b;
    return b + 1;
}

void selvora_triangle_free(void* block) {
    struct block* b;
    if (!block) return;
    b = (struct block*)block - 1;
    b->prev->next = b->next;
    b->next->prev = b->prev;
    free(b);
}

void selvora_triangulation_release(void) {
    while (g_blocks.next != &g_blocks) selvora_triangle_free(g_blocks.next + 1);
}

/* Returns 0 when the guard's own bookkeeping finds no memory. */
static int BeginRun(size_t items, uintptr_t stackStart, size_t stackRoom, int checked) {
    memset(&g_run, 0, sizeof g_run);
    g_run.items = items;
    g_run.capacity = 256;
    g_run.frames = (struct frame*)calloc(g_run.capacity, sizeof *g_run.frames);
    if (!g_run.frames) return 0;
    g_run.stackStart = stackStart;
    g_run.stackRoom = stackRoom;
    g_run.checked = checked;
    g_run.active = 1;
    selvora_triangle_work = &g_run.frames[0].work;
    SetBudgets();
    return 1;
}

static void EndRun(void) {
    g_run.active = 0;
    selvora_triangle_searching = 0;
    selvora_triangle_work = &g_idleWork;
    selvora_triangle_budget = SIZE_MAX;
    free(g_run.frames);
    g_run.frames = NULL;
}

/* One guarded run; `stackStart` is the caller's frame. */
static enum selvora_run_outcome Run(double* xy, int numPoints, int* segments, int numSegments,
                                    double* holes, int numHoles, size_t stackRoom, int checked,
                                    uintptr_t stackStart, struct selvora_triangulation* result) {
    if (stackRoom < kLeastStackRoom) return SELVORA_RUN_ABANDONED;
    if (!BeginRun((size_t)numPoints + (size_t)numSegments + (size_t)numHoles, stackStart, stackRoom,
                  checked)) {
        if (!checked) selvora_triangle_fatal(SELVORA_TRIANGLE_OUT_OF_MEMORY, NULL, 0);
        return SELVORA_RUN_OUT_OF_MEMORY;
    }
    g_run.ending = SELVORA_RUN_ABANDONED;
    if (setjmp(g_run.abandon)) {
        const enum selvora_run_outcome ending = g_run.ending;
        EndRun();
        selvora_triangulation_release();
        return ending;
    }
    selvora_triangle_run(xy, numPoints, segments, numSegments, holes, numHoles, checked, result);
    EndRun();
    return SELVORA_RUN_DONE;
}

int selvora_triangulate(double* xy, int numPoints, int* segments, int numSegments, double* holes,
                        int numHoles, size_t stackRoom, struct selvora_triangulation* result) {
    return Run(xy, numPoints, segments, numSegments, holes, numHoles, stackRoom, 0,
               (uintptr_t)__builtin_frame_address(0), result) == SELVORA_RUN_DONE;
}

enum selvora_run_outcome selvora_triangulate_checked(double* xy, int numPoints, int* segments,
                                                     int numSegments, double* holes, int numHoles,
                                                     size_t stackRoom,
                                                     struct selvora_triangulation* result) {
    return Run(xy, numPoints, segments, numSegments, holes, numHoles, stackRoom, 1,
               (uintptr_t)__builtin_frame_address(0), result);
}
