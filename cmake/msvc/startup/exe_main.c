// The entry point of a console program: its arguments and environment from
// the C runtime, its static constructors, main(), and exit() with main's
// result, which runs the atexit functions and static destructors.
#include <corecrt_startup.h>
#include <stdlib.h>

#include "module.h"

int main(int argc, char** argv, char** environment);

int mainCRTStartup(void) {
    selvora_init_security_cookie();
    selvora_module_is_program = 1;
    _set_app_type(_crt_console_app);
    _configure_narrow_argv(_crt_argv_unexpanded_arguments);
    _initialize_narrow_environment();
    if (selvora_initialize_module() != 0) exit(255);
    // exit() runs the atexit functions, then the C runtime's own clean-up.
    exit(main(*__p___argc(), *__p___argv(), _get_initial_narrow_environment()));
    return 0;
}
