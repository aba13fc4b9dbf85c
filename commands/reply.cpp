#include "commands/reply.h"

Reply mfgp_replyBegin(ServiceContext* ctx, uint8_t subType, CallSite site) {
    // A packet of another version would have no header here; the receive path lets none through.
    const size_t offset = mfgp_version(ctx->recvBuf) == kProtocolVersion ? kHeaderSize : 0;
    const Reply reply = {ctx,
                         ctx->recvBuf + offset,
                         ctx->replyBuf,
                         ctx->replyBuf + offset,
                         static_cast<uint32_t>(kBufferSize - offset),
                         site};
    memset(reply.payload, 0, reply.capacity);
    mfgp_setType(reply.header, kTypeSpecial);
    mfgp_setCode(reply.header, kReplyCode);
    mfgp_setSubType(reply.header, subType);
    mfgp_setPayloadLength(reply.header, 0);
    mfgp_copyPacketId(reply.header, ctx->recvBuf);
    return reply;
}

Reply mfgp_replyBeginBlock(ServiceContext* ctx, CallSite site) {
    const CommandBlock& block = ctx->cmdBlock;
    const Reply reply = {
        ctx, block.requestPayload, block.replyHeader, block.replyPayload, block.payloadCapacity,
        site};
    memset(reply.payload, 0, reply.capacity);
    mfgp_setInfo(reply.header, kInfoSuccess);
    mfgp_setPayloadLength(reply.header, 0);
    return reply;
}

const char* mfgp_argumentText(const Reply& reply) {
    return reinterpret_cast<const char*>(reply.argument);
}

void mfgp_argumentMessage(const Reply& reply, char* text, size_t maxBytes) {
    memcpy(text, reply.argument, maxBytes);
    text[maxBytes] = '\0';
    mfgp_traceAt(reply.site, "msg buf is:%s\r\n", text);
}

void mfgp_replyLogArgument(const Reply& reply) {
    const char* const text = mfgp_argumentText(reply);
    mfgp_traceAt(reply.site, "pRcvBuf:%s,len:%d\n", text, static_cast<int>(strlen(text)));
}

char* mfgp_payloadText(const Reply& reply) {
    return reinterpret_cast<char*>(reply.payload);
}

int mfgp_replyOk(const Reply& reply, uint32_t length) {
    mfgp_setInfo(reply.header, kInfoSuccess);
    mfgp_setPayloadLength(reply.header, length);
    return 0;
}

void mfgp_replyPut(const Reply& reply, const char* text) {
    if (text[0] == '\n')
        return;
    memcpy(reply.payload, text, strnlen(text, reply.capacity - 1));
}

void mfgp_replyLogPayload(const Reply& reply) {
    const char* const text = mfgp_payloadText(reply);
    mfgp_traceAt(reply.site, "pRplyBuf is: %s, len is %d\n", text, static_cast<int>(strlen(text)));
}

int mfgp_replyText(const Reply& reply, const char* text) {
    mfgp_replyPut(reply, text);
    mfgp_replyLogPayload(reply);
    return mfgp_replyOk(reply, static_cast<uint32_t>(strlen(mfgp_payloadText(reply))));
}

int mfgp_replyFail(const Reply& reply, int code, const char* message) {
    mfgp_setInfo(reply.header, kInfoFailed);
    return report(code, message);
}
