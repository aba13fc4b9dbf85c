#include "core/report.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

int report(int code, const char* message) {
    const int error = errno;
    const unsigned shownErrno = static_cast<unsigned>(error);
    if (message != nullptr)
        fprintf(stderr, "[Error][errCode: %d][errMsg: %s]|[errno: %x]\n", code, message,
                shownErrno);
    else
        fprintf(stderr, "[Error][errCode: %d]|[errno: %x]\n", code, shownErrno);
    errno = error;
    return code;
}

void mfgp_trace(const char* function, int line, const char* format, ...) {
    const int error = errno;  // A trace between a failure and its report must not hide the cause.
    printf("[%s():%d] ", function, line);
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
    errno = error;
}
