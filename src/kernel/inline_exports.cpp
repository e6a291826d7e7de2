// The kernel's hot paths are inline in the public headers so that callers can
// inline them. This file is compiled with -fkeep-inline-functions, which makes
// the library emit and export an out-of-line copy of every one of them, so
// they are part of the binary interface like every other operation.
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"
