// What the daemon says: error reports on standard error, trace lines on standard output.
#pragma once

// Writes "[Error][errCode: CODE][errMsg: MESSAGE]|[errno: HEX]" to standard error, with the errno
// of the moment of the call; without a message (null) that field is left out. Returns `code`, so
// that a caller reports and returns in one statement.
int report(int code, const char* message);

// The place a trace line is printed for: a shared worker prints under the name of the handler that
// it serves, so that a log reads the same whichever commands share code.
struct CallSite {
    const char* function;
    int line;
};

// The caller's own place, when used as a default argument.
constexpr CallSite mfgp_callSite(const char* function = __builtin_FUNCTION(),
                                 int line = __builtin_LINE()) {
    return {function, line};
}

// Writes "[FUNCTION():LINE] " and the formatted text (printf rules) to standard output.
[[gnu::format(printf, 2, 3)]] void mfgp_traceAt(CallSite site, const char* format, ...);

#define MFGP_TRACE(...) mfgp_traceAt(CallSite{__func__, __LINE__}, __VA_ARGS__)
