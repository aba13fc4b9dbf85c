// The codec alone: what deciphering, the digests and ciphering cost for a payload.
#include <benchmark/benchmark.h>

#include <memory>

#include "protocol/cipher.h"
#include "protocol/codec.h"

namespace {

// A context whose reply is a heartbeat with a payload of so many bytes.
std::unique_ptr<ServiceContext> plainReply(int64_t payloadBytes) {
    auto ctx = std::make_unique<ServiceContext>();
    mfgp_deriveKey(ctx->payloadKey, "kiosk", "kiosk");
    mfgp_setVersion(ctx->replyBuf, kProtocolVersion);
    mfgp_setType(ctx->replyBuf, kTypeHeartbeat);
    mfgp_setPayloadLength(ctx->replyBuf, static_cast<uint32_t>(payloadBytes));
    return ctx;
}

void encode(benchmark::State& state) {
    const auto ctx = plainReply(state.range(0));
    size_t length = 0;
    for (auto _ : state) {
        if (mfgp_encode(ctx.get(), &length) != 0)
            state.SkipWithError("not encoded");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(length));
}

void decode(benchmark::State& state) {
    const auto ctx = plainReply(state.range(0));
    size_t length = 0;
    mfgp_encode(ctx.get(), &length);
    const auto wire = std::make_unique<ServiceContext>(*ctx);
    for (auto _ : state) {
        memcpy(ctx->recvBuf, wire->replyBuf, length);  // decoding leaves the plain request there
        if (mfgp_decode(ctx.get()) != 0)
            state.SkipWithError("not decoded");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(length));
}

BENCHMARK(encode)->Arg(0)->Arg(64)->Arg(1024)->Arg(8192)->Arg(kMaxPayload);
BENCHMARK(decode)->Arg(0)->Arg(64)->Arg(1024)->Arg(8192)->Arg(kMaxPayload);

}  // namespace

BENCHMARK_MAIN();
