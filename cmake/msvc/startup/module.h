// What the entry points share with module.c.
#pragma once

// Set by the program's entry point: atexit then registers with the C runtime.
extern int selvora_module_is_program;
// Starts the module's atexit list and runs its initialisers and static
// constructors; non-zero when an initialiser failed.
int selvora_initialize_module(void);
// Runs a DLL's atexit list and frees its type names.
void selvora_finalize_dll(void);
// Gives the module's /GS stack cookie its unpredictable value: called first
// by each entry point, before any function that checks the cookie.
void selvora_init_security_cookie(void);
