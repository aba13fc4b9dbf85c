#include "core/receive.h"

#include "core/clock.h"
#include "core/transport.h"
#include "protocol/account_check.h"
#include "protocol/codec.h"
#include "protocol/parser.h"

namespace {

constexpr int kOtherPeer = -10301;

bool sameStation(const sockaddr_in& a, const sockaddr_in& b) {
    return a.sin_family == b.sin_family && a.sin_port == b.sin_port &&
           a.sin_addr.s_addr == b.sin_addr.s_addr;
}

// Returns 1 when the packet may be handled: it is from the bound station, or no station is bound
// and its sender becomes the bound one. Returns 0 otherwise.
int checkPeer(ServiceContext* ctx, const sockaddr_in& sender) {
    if (ctx->peerBound != 0)
        return sameStation(ctx->peerAddr, sender) ? 1 : 0;
    ctx->peerAddr = sender;
    ctx->peerBound = 1;
    return 1;
}

// Drops the reply when many replies already wait to be sent, so that forged datagrams never delay
// the bound station. Is called only for other versions and other senders.
void limitAnswers(ServiceContext* ctx) {
    if (mfgp_udpIsCongested(ctx))
        ctx->flags &= ~kFlagSendReply;
}

// A datagram that equals the short reply is another unit's answer. Answering it would start an
// endless exchange between the two units.
bool isShortReply(const uint8_t* datagram, size_t length) {
    static constexpr uint8_t kShortReply[kShortReplySize] = {0, 0, 0, kInfoWrongVersion};
    return length == kShortReplySize && memcmp(datagram, kShortReply, kShortReplySize) == 0;
}

int refusePeer(ServiceContext* ctx, size_t* replyLength) {
    limitAnswers(ctx);
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoOtherPeer);
    // The reply to another station contains neither the sub-type nor the reserved byte.
    mfgp_setSubType(ctx->replyBuf, 0);
    mfgp_setReserved(ctx->replyBuf, 0);
    mfgp_encode(ctx, replyLength);
    return kOtherPeer;
}

int handleDatagram(ServiceContext* ctx, const sockaddr_in& sender, size_t* replyLength) {
    if (mfgp_version(ctx->recvBuf) != kProtocolVersion) {
        // The short reply: twelve bytes, all zero except the info.
        limitAnswers(ctx);
        mfgp_setInfo(ctx->replyBuf, kInfoWrongVersion);
        *replyLength = kShortReplySize;
        return 0;
    }
    if (checkPeer(ctx, sender) == 0)
        return refusePeer(ctx, replyLength);
    ctx->lastBeat = mfgp_clock();
    return mfgp_parserVerTwoOpt(ctx, replyLength);
}

}  // namespace

int mfgp_parserHandler(ServiceContext* ctx) {
    memset(ctx->recvBuf, 0, sizeof ctx->recvBuf);
    memset(ctx->replyBuf, 0, sizeof ctx->replyBuf);
    sockaddr_in sender = {};
    size_t length = 0;
    const int received = mfgp_udpReceive(ctx, &sender, &length);
    if (received != 0 || isShortReply(ctx->recvBuf, length))
        return received;

    mfgp_checkAccount(ctx);  // The digest check then refuses a station that uses another account.
    ctx->flags |= kFlagSendReply;
    size_t replyLength = 0;
    const int result = handleDatagram(ctx, sender, &replyLength);

    if ((ctx->flags & kFlagSendReply) != 0) {
        const int sent = mfgp_udpSend(ctx, replyLength, sender);
        if (sent != 0)
            return sent;
    }
    return result;
}
