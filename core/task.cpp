#include "core/task.h"

#include <sys/select.h>

#include "core/clock.h"
#include "core/produce_mode.h"
#include "core/receive.h"
#include "core/report.h"
#include "core/service_context.h"
#include "core/transport.h"

namespace {

constexpr int kWait = 600;              // seconds without a datagram after which the daemon ends
constexpr int kWaitProduceMode = 1800;  // seconds, in produce mode
constexpr int kIdleLimit = 60;          // seconds of silence after which the binding lapses

// Waits for a datagram, at most for the time of the present mode. Returns what select() returns.
int awaitDatagram(const ServiceContext* ctx) {
    timeval wait = {};
    wait.tv_sec = mfgp_isProduceMode() ? kWaitProduceMode : kWait;
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(ctx->sockFd, &readable);
    return select(ctx->sockFd + 1, &readable, nullptr, nullptr, &wait);
}

void serve(ServiceContext* ctx) {
    for (;;) {
        const int ready = awaitDatagram(ctx);
        if (mfgp_clock() - ctx->lastBeat > static_cast<uint32_t>(ctx->idleLimit))
            ctx->peerBound = 0;
        if (ready == 0)
            return;
        if (ready > 0)
            mfgp_parserHandler(ctx);
    }
}

}  // namespace

void mfgp_taskEntry() {
    MFGP_TRACE("mfgp task start\n");
    ServiceContext* ctx = nullptr;
    if (mfgp_contextCreate(&ctx) == 0 && mfgp_udpSocketCreate(ctx) == 0 &&
        mfgp_udpSocketBind(ctx) == 0) {
        ctx->flags = kFlagsAtStart;
        ctx->idleLimit = kIdleLimit;
        ctx->lastBeat = mfgp_clock();
        serve(ctx);
    }
    mfgp_udpSocketClose(ctx);
    mfgp_contextDestroy(ctx);
    MFGP_TRACE("mfgp task exit\n");
}
