// The start-up code of a program or DLL built for Microsoft's C runtime, which
// Microsoft's static libraries (vcruntime.lib, msvcrt.lib) would bring. This
// file holds what every module has: the tables of static constructors,
// atexit, thread-local storage and thread-safe initialisation of local
// statics. The entry points are in dll_main.c and exe_main.c, so that a DLL
// needs no main(). The C runtime itself is ucrtbase.dll and vcruntime140.dll.
//
// The C runtime's headers declare atexit and _onexit as its own functions; the
// ones a module calls are defined here, so the headers' names are set aside.
#define atexit crt_atexit_declared
#define _onexit crt_onexit_declared
#include <corecrt_startup.h>
#include <limits.h>
#include <process.h>
#include <windows.h>
#undef atexit
#undef _onexit

#include "module.h"

// ucrtbase.dll: the constructor tables' walkers.
_ACRTIMP void __cdecl _initterm(_PVFV* first, _PVFV* last);
_ACRTIMP int __cdecl _initterm_e(_PIFV* first, _PIFV* last);
// vcruntime140.dll: frees the names type_info::name() made for this module.
struct __type_info_node;
extern struct __type_info_node __type_info_root_node;
void __cdecl __std_type_info_destroy_list(struct __type_info_node* root);

// The compiler marks a function that uses floating point with this symbol.
int _fltused = 0x9875;

// Tables of initialisers: the linker sorts the .CRT$X?? sections by name, so
// the entries the compiler puts in .CRT$XCU (static constructors) and
// .CRT$XIU (C initialisers) lie between these markers.
#pragma section(".CRT$XIA", long, read)
#pragma section(".CRT$XIZ", long, read)
#pragma section(".CRT$XCA", long, read)
#pragma section(".CRT$XCZ", long, read)
__declspec(allocate(".CRT$XIA")) _PIFV __xi_a[] = {0};
__declspec(allocate(".CRT$XIZ")) _PIFV __xi_z[] = {0};
__declspec(allocate(".CRT$XCA")) _PVFV __xc_a[] = {0};
__declspec(allocate(".CRT$XCZ")) _PVFV __xc_z[] = {0};

// Thread-local storage: the loader copies .tls (between _tls_start and
// _tls_end) for every thread and calls the callbacks listed between __xl_a
// and __xl_z; the compiler reads a thread's block through _tls_index.
#pragma section(".tls", long, read, write)
#pragma section(".tls$ZZZ", long, read, write)
#pragma section(".CRT$XLA", long, read)
#pragma section(".CRT$XLZ", long, read)
__declspec(allocate(".tls")) char _tls_start = 0;
__declspec(allocate(".tls$ZZZ")) char _tls_end = 0;
__declspec(allocate(".CRT$XLA")) PIMAGE_TLS_CALLBACK __xl_a = 0;
__declspec(allocate(".CRT$XLZ")) PIMAGE_TLS_CALLBACK __xl_z = 0;
ULONG _tls_index = 0;
const IMAGE_TLS_DIRECTORY64 _tls_used = {(ULONGLONG)(ULONG_PTR)&_tls_start,
                                         (ULONGLONG)(ULONG_PTR)&_tls_end,
                                         (ULONGLONG)(ULONG_PTR)&_tls_index,
                                         (ULONGLONG)(ULONG_PTR)(&__xl_a + 1),
                                         0,
                                         0};
// Nothing refers to the directory but the loader: kept whatever the linker
// leaves out as unused.
#pragma comment(linker, "/include:_tls_used")

// Destructors of thread_local objects: the compiler registers each with
// __tlregdtor when the thread first constructs the object; they run, last
// first, when the thread ends (and for the thread that ends the process).
typedef void(__cdecl* thread_destructor)(void);
static __declspec(thread) thread_destructor* thread_destructors;
static __declspec(thread) int thread_destructor_count, thread_destructor_capacity;

int __cdecl __tlregdtor(thread_destructor destructor) {
    if (thread_destructor_count == thread_destructor_capacity) {
        int capacity = thread_destructor_capacity ? 2 * thread_destructor_capacity : 16;
        size_t size = (size_t)capacity * sizeof(thread_destructor);
        thread_destructor* grown = thread_destructors
                                       ? HeapReAlloc(GetProcessHeap(), 0, thread_destructors, size)
                                       : HeapAlloc(GetProcessHeap(), 0, size);
        if (!grown) return -1;
        thread_destructors = grown;
        thread_destructor_capacity = capacity;
    }
    thread_destructors[thread_destructor_count++] = destructor;
    return 0;
}

static void NTAPI run_thread_destructors(PVOID module, DWORD reason, PVOID reserved) {
    (void)module, (void)reserved;
    if (reason != DLL_THREAD_DETACH && reason != DLL_PROCESS_DETACH) return;
    while (thread_destructor_count > 0) thread_destructors[--thread_destructor_count]();
    if (thread_destructors) HeapFree(GetProcessHeap(), 0, thread_destructors);
    thread_destructors = NULL;
    thread_destructor_capacity = 0;
}

#pragma section(".CRT$XLD", long, read)
__declspec(allocate(".CRT$XLD"))
    PIMAGE_TLS_CALLBACK selvora_thread_destructors_callback = run_thread_destructors;
#pragma comment(linker, "/include:selvora_thread_destructors_callback")

// atexit: a program's functions run when the process exits (the C runtime's
// list); a DLL's when the DLL is unloaded or the process ends, from the DLL's
// own list, while its code is still there.
int selvora_module_is_program;
static _onexit_table_t module_exit_table;

_onexit_t __cdecl _onexit(_onexit_t function) {
    int failed = selvora_module_is_program
                     ? _crt_atexit((_PVFV)function)
                     : _register_onexit_function(&module_exit_table, function);
    return failed ? NULL : function;
}

int __cdecl atexit(_PVFV function) { return _onexit((_onexit_t)function) ? 0 : -1; }

// Runs the C initialisers, then the static constructors; non-zero when an
// initialiser failed.
int selvora_initialize_module(void) {
    _initialize_onexit_table(&module_exit_table);
    if (_initterm_e(__xi_a, __xi_z) != 0) return 1;
    _initterm(__xc_a, __xc_z);
    return 0;
}

void selvora_finalize_dll(void) {
    _execute_onexit_table(&module_exit_table);
    __std_type_info_destroy_list(&__type_info_root_node);
}

// Thread-safe initialisation of local statics, in the protocol of Microsoft's
// compiler. A guard is 0 before initialisation, -1 while a thread runs it,
// and then the epoch at which it finished. A thread that has seen every
// initialisation up to its own _Init_thread_epoch skips the guard's lock.
static SRWLOCK init_lock = SRWLOCK_INIT;
static CONDITION_VARIABLE init_done = CONDITION_VARIABLE_INIT;
static int init_global_epoch = INT_MIN;
__declspec(thread) int _Init_thread_epoch = INT_MIN;

// On return *guard is -1 if the caller is to run the initialisation.
void __cdecl _Init_thread_header(int* guard) {
    AcquireSRWLockExclusive(&init_lock);
    while (*guard == -1) SleepConditionVariableSRW(&init_done, &init_lock, INFINITE, 0);
    if (*guard == 0)
        *guard = -1;
    else
        _Init_thread_epoch = init_global_epoch;
    ReleaseSRWLockExclusive(&init_lock);
}

void __cdecl _Init_thread_footer(int* guard) {
    AcquireSRWLockExclusive(&init_lock);
    ++init_global_epoch;
    *guard = init_global_epoch;
    _Init_thread_epoch = init_global_epoch;
    ReleaseSRWLockExclusive(&init_lock);
    WakeAllConditionVariable(&init_done);
}

// The initialisation threw: another thread may try again.
void __cdecl _Init_thread_abort(int* guard) {
    AcquireSRWLockExclusive(&init_lock);
    *guard = 0;
    ReleaseSRWLockExclusive(&init_lock);
    WakeAllConditionVariable(&init_done);
}
