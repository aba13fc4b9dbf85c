// Error reports on standard error and trace lines on standard output.
#pragma once

// Writes "[Error][errCode: CODE][errMsg: MESSAGE]|[errno: HEX]" to standard error, with the value
// of errno at the call. If message is null, the errMsg field is left out. Returns `code`, so
// that a caller reports and returns in one statement.
int report(int code, const char* message);

// Writes "[FUNCTION():LINE] " and the formatted text (printf rules) to standard output.
[[gnu::format(printf, 3, 4)]] void mfgp_trace(const char* function, int line, const char* format,
                                              ...);

// Traces under the enclosing function's name.
#define MFGP_TRACE(...) mfgp_trace(__func__, __LINE__, __VA_ARGS__)

// Traces under the given function's name, with the line of this call. A worker that serves several
// handlers logs under the name of the handler.
#define MFGP_TRACE_AS(function, ...) mfgp_trace(function, __LINE__, __VA_ARGS__)
