/* What libstdc++'s headers for glibc ask of the C library, and the daemon does not. */
#define __GLIBC_PREREQ(major, minor) 0
#include <bits/c++config.h>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_HAVE_LINUX_FUTEX
#define __locale_t locale_t
enum {
    _ISupper = 1,
    _ISlower = 2,
    _ISalpha = 4,
    _ISdigit = 8,
    _ISxdigit = 16,
    _ISspace = 32,
    _ISprint = 64,
    _ISgraph = 128,
    _ISblank = 256,
    _IScntrl = 512,
    _ISpunct = 1024,
    _ISalnum = 12
};
