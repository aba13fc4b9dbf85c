#include "commands/reply.h"

#include <algorithm>

namespace {

Reply begin(ServiceContext* ctx, const CommandBlock& block, const char* function) {
    const std::span payload(block.replyPayload, block.payloadCapacity);
    mfgp_startReply(block.replyHeader, block.requestHeader, kInfoSuccess);
    std::fill(payload.begin(), payload.end(), uint8_t{0});
    return {ctx, block.requestPayload, block.replyHeader, payload, function};
}

}  // namespace

Reply mfgp_replyBegin(ServiceContext* ctx, uint8_t subType, const char* function) {
    const CommandBlock packet = {ctx->recvBuf, ctx->replyBuf, mfgp_payload(ctx->recvBuf),
                                 mfgp_payload(ctx->replyBuf), kBufferSize - kHeaderSize};
    const Reply reply = begin(ctx, packet, function);
    mfgp_setSubType(reply.header, subType);
    return reply;
}

Reply mfgp_replyBeginInner(ServiceContext* ctx, const char* function) {
    return begin(ctx, ctx->cmdBlock, function);
}

char* mfgp_argumentText(const Reply& reply) { return reinterpret_cast<char*>(reply.argument); }

bool mfgp_hasArgument(const Reply& reply) { return mfgp_payloadLength(reply.ctx->recvBuf) != 0; }

void mfgp_argumentMessage(const Reply& reply, std::span<char> text) {
    memcpy(text.data(), reply.argument, text.size() - 1);
    text.back() = '\0';
    MFGP_TRACE_AS(reply.function, "msg buf is:%s\r\n", text.data());
}

void mfgp_replyLogArgument(const Reply& reply) {
    const char* const text = mfgp_argumentText(reply);
    MFGP_TRACE_AS(reply.function, "pRcvBuf:%s,len:%d\n", text, static_cast<int>(strlen(text)));
}

char* mfgp_payloadText(const Reply& reply) { return reinterpret_cast<char*>(reply.payload.data()); }

int mfgp_replyOk(const Reply& reply, uint32_t length) {
    mfgp_setPayloadLength(reply.header, length);
    return 0;
}

void mfgp_replyPut(const Reply& reply, const char* text) {
    if (text[0] != '\n')
        memcpy(reply.payload.data(), text, strnlen(text, reply.payload.size() - 1));
}

void mfgp_replyLogPayload(const Reply& reply) {
    const char* const text = mfgp_payloadText(reply);
    MFGP_TRACE_AS(reply.function, "pRplyBuf is: %s, len is %d\n", text,
                  static_cast<int>(strlen(text)));
}

int mfgp_replyText(const Reply& reply, const char* text, uint32_t length) {
    mfgp_replyPut(reply, text);
    mfgp_replyLogPayload(reply);
    return mfgp_replyOk(reply, length);
}

int mfgp_replyText(const Reply& reply, const char* text) {
    const size_t length = strnlen(text, reply.payload.size() - 1);
    return mfgp_replyText(reply, text, text[0] != '\n' ? static_cast<uint32_t>(length) : 0);
}

int mfgp_replyFail(const Reply& reply, int code, const char* message) {
    mfgp_setInfo(reply.header, kInfoFailed);
    return report(code, message);
}
