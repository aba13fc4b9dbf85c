#include "protocol/parser.h"

#include "commands/dispatch.h"
#include "core/clock.h"
#include "core/report.h"
#include "protocol/codec.h"
#include "protocol/usb_list.h"

namespace {

const char* requestText(const ServiceContext* ctx) {
    return reinterpret_cast<const char*>(mfgp_payload(ctx->recvBuf));
}

// Logs the request's text and stores nothing. Returns 0.
int mfgp_cmd_setCfg(ServiceContext* ctx) {
    MFGP_TRACE("setCfg: %s\n", requestText(ctx));
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    return 0;
}

// Replies with a fixed LAN address, whatever the unit's real address is. Returns 0.
int mfgp_cmd_getCfg(ServiceContext* ctx) {
    static constexpr char kAnswer[] = "lan_ip 192.168.1.123";
    constexpr size_t kLength = sizeof kAnswer - 1;
    MFGP_TRACE("getCfg: %s\n", requestText(ctx));
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    memcpy(mfgp_payload(ctx->replyBuf), kAnswer, kLength);
    mfgp_setPayloadLength(ctx->replyBuf, kLength);
    return 0;
}

// Replies only while the unit is ready for a test.
void systemInit(ServiceContext* ctx) {
    if ((ctx->flags & kFlagSystemReady) != 0)
        mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    else
        ctx->flags &= ~kFlagSendReply;
}

// Releases the station without a reply. After a MAC address or a PIN has been written, the unit is
// no longer ready for another test.
void cancelTest(ServiceContext* ctx) {
    constexpr uint32_t kUntouched = kFlagSetMac | kFlagSetPin | kFlagCancelGuard;
    if ((ctx->flags & kUntouched) != kUntouched)
        ctx->flags &= ~kFlagSystemReady;
    ctx->peerBound = 0;
    ctx->flags &= ~kFlagSendReply;
}

// Handles the decoded request by its packet type and traces under the given function's name.
// Returns 0, or -1 for an unknown type.
int handle(ServiceContext* ctx, const char* function) {
    const uint8_t type = mfgp_type(ctx->recvBuf);
    switch (type) {
        case kTypeSetConfig:
            MFGP_TRACE_AS(function, "MFGPv2: Set basic configure\n");
            return mfgp_cmd_setCfg(ctx);
        case kTypeGetConfig:
            MFGP_TRACE_AS(function, "MFGPv2: Get basic configure\n");
            return mfgp_cmd_getCfg(ctx);
        case kTypeSpecial:
            MFGP_TRACE_AS(function, "MFGPv2: Special cmd\n");
            mfgp_cmd_spCmd(ctx);
            return 0;
        case kTypeHeartbeat:
            MFGP_TRACE_AS(function, "MFGPv2: Recive heartbeat packet\n");
            ctx->lastBeat = mfgp_clock();  // The reply is the decoded request itself.
            return 0;
        case kTypeSystemInit:
            MFGP_TRACE_AS(function, "MFGPv2: Receive sys init packet 0X%0X\n", ctx->flags);
            systemInit(ctx);
            return 0;
        case kTypeCancelTest:
            MFGP_TRACE_AS(function, "MFGPv2: receive CANCEL TEST\n");
            cancelTest(ctx);
            return 0;
        case kTypeEncrypted:
            MFGP_TRACE_AS(function, "MFGPv2: encrypted command\n");
            mfgp_cmd_encCmd(ctx);
            MFGP_TRACE_AS(function, "packet len:%d, packet buf:%s\n",
                          static_cast<int>(mfgp_payloadLength(ctx->replyBuf)),
                          requestText(ctx) + kInnerHeaderSize);
            return 0;
        case kTypeUsbTest:
            MFGP_TRACE_AS(function, "MFGPv2: receive TYPE_FTEST_USB\n");
            return mfgp_usbTest(ctx);
        default:
            MFGP_TRACE_AS(function, "MFGPv2: unknow packet type: %d\n", type);
            return -1;
    }
}

}  // namespace

int mfgp_parserVerTwoOpt(ServiceContext* ctx, size_t* replyLength) {
    if (mfgp_decode(ctx) != 0)
        mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoDecodeFailed);
    else if (handle(ctx, __func__) != 0)
        return -1;
    const int encoded = mfgp_encode(ctx, replyLength);
    return encoded == 0 ? 0 : report(encoded, "version 2 parser error");
}
