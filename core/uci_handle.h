#pragma once

#include <uci.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

struct UciContextCloser {
    void operator()(uci_context* context) const { uci_free_context(context); }
};

// Owns a UCI context and every package loaded in it.
using UciContext = std::unique_ptr<uci_context, UciContextCloser>;

// Writes "PREFIX: TEXT" for the context's last error to standard error. Used instead of the
// library's uci_perror, which appends to a static buffer at every call and writes past its end from
// the 128th call on.
inline void mfgp_uciPrintError(uci_context* context, const char* prefix) {
    char* text = nullptr;
    uci_get_errorstr(context, &text, prefix);
    if (text != nullptr)
        fprintf(stderr, "%s\n", text);
    free(text);
}
