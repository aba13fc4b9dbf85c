#include "protocol/parser.h"

#include "commands/encrypted_commands.h"
#include "commands/special_commands.h"
#include "core/clock.h"
#include "core/report.h"
#include "protocol/codec.h"
#include "protocol/usb_test.h"

namespace {

const char* requestText(const ServiceContext* ctx) {
    return reinterpret_cast<const char*>(mfgp_payload(ctx->recvBuf));
}

// Answered only while the unit is ready for a test.
void systemInit(ServiceContext* ctx) {
    if ((ctx->flags & kFlagSystemReady) != 0)
        mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    else
        ctx->flags &= ~kFlagSendReply;
}

// Sends the station away without an answer. The unit stays ready for the next one until a MAC
// address or a PIN has been written: from then on its test counts as done.
void cancelTest(ServiceContext* ctx) {
    constexpr uint32_t kUntouched = kFlagSetMac | kFlagSetPin | kFlagCancelGuard;
    if ((ctx->flags & kUntouched) != kUntouched)
        ctx->flags &= ~kFlagSystemReady;
    ctx->peerBound = 0;
    ctx->flags &= ~kFlagSendReply;
}

// The log names the parser as a whole.
constexpr CallSite parserSite(int line = __builtin_LINE()) {
    return {"mfgp_parserVerTwoOpt", line};
}

void encryptedCommand(ServiceContext* ctx) {
    mfgp_cmd_encCmd(ctx);
    mfgp_traceAt(parserSite(), "packet len:%d, packet buf:%s\n",
                 static_cast<int>(mfgp_payloadLength(ctx->replyBuf)),
                 requestText(ctx) + kInnerHeaderSize);
}

// Lets the handler of the packet's type fill the reply. Returns 0, or -1 for an unknown type.
int dispatch(ServiceContext* ctx) {
    const uint8_t type = mfgp_type(ctx->recvBuf);
    switch (type) {
        case kTypeSetConfig:
            mfgp_traceAt(parserSite(), "MFGPv2: Set basic configure\n");
            mfgp_cmd_setCfg(ctx);
            return 0;
        case kTypeGetConfig:
            mfgp_traceAt(parserSite(), "MFGPv2: Get basic configure\n");
            mfgp_cmd_getCfg(ctx);
            return 0;
        case kTypeSpecial:
            mfgp_traceAt(parserSite(), "MFGPv2: Special cmd\n");
            mfgp_cmd_spCmd(ctx);
            return 0;
        case kTypeHeartbeat:
            mfgp_traceAt(parserSite(), "MFGPv2: Recive heartbeat packet\n");
            ctx->lastBeat = mfgp_clock();  // the reply is the decoded request itself
            return 0;
        case kTypeSystemInit:
            mfgp_traceAt(parserSite(), "MFGPv2: Receive sys init packet 0X%0X\n", ctx->flags);
            systemInit(ctx);
            return 0;
        case kTypeCancelTest:
            mfgp_traceAt(parserSite(), "MFGPv2: receive CANCEL TEST\n");
            cancelTest(ctx);
            return 0;
        case kTypeEncrypted:
            mfgp_traceAt(parserSite(), "MFGPv2: encrypted command\n");
            encryptedCommand(ctx);
            return 0;
        case kTypeUsbTest:
            mfgp_traceAt(parserSite(), "MFGPv2: receive TYPE_FTEST_USB\n");
            mfgp_usbTest(ctx);
            return 0;
        default:
            mfgp_traceAt(parserSite(), "MFGPv2: unknow packet type: %d\n", type);
            return -1;
    }
}

}  // namespace

int mfgp_cmd_setCfg(ServiceContext* ctx) {
    MFGP_TRACE("setCfg: %s\n", requestText(ctx));
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    mfgp_setSubType(ctx->replyBuf, mfgp_subType(ctx->recvBuf));
    return 0;
}

int mfgp_cmd_getCfg(ServiceContext* ctx) {
    // Every unit says this, whatever its real address: stations compare it to the letter.
    static constexpr char kAnswer[] = "lan_ip 192.168.1.123";
    constexpr size_t kLength = sizeof kAnswer - 1;
    MFGP_TRACE("getCfg: %s\n", requestText(ctx));
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    mfgp_setSubType(ctx->replyBuf, mfgp_subType(ctx->recvBuf));
    memcpy(mfgp_payload(ctx->replyBuf), kAnswer, kLength);
    mfgp_setPayloadLength(ctx->replyBuf, kLength);
    return 0;
}

int mfgp_parserVerTwoOpt(ServiceContext* ctx, size_t* replyLength) {
    mfgp_setVersion(ctx->replyBuf, kProtocolVersion);
    if (mfgp_decode(ctx) != 0)
        mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoDecodeFailed);
    else if (dispatch(ctx) != 0)
        return -1;
    const int encoded = mfgp_encode(ctx, replyLength);
    return encoded == 0 ? 0 : report(encoded, "version 2 parser error");
}
