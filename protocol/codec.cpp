#include "protocol/codec.h"

#include "core/report.h"
#include "protocol/cipher.h"

// Lengths are computed in 32 bits, so that they wrap on every machine as they do on the unit. A
// card status command without a reading sets length 0xFFFFFFFF, and the station receives 28 bytes
// with length 0.

int mfgp_decode(ServiceContext* ctx) {
    uint8_t* const request = ctx->recvBuf;
    uint8_t* const plain = ctx->replyBuf;
    memcpy(plain, request, kHeaderSize);

    const uint32_t length = mfgp_payloadLength(request);
    uint32_t plainLength = 0;
    if (length != 0) {
        plainLength = mfgp_desEcb(mfgp_payload(request), length, mfgp_payload(plain),
                                  kPayloadCapacity, ctx->payloadKey, CipherDirection::Decrypt);
        if (plainLength == 0)
            return report(-10306, "v2 decode des error");
    }
    memset(mfgp_digest(plain), 0, kDigestSize);
    if (!mfgp_md5Matches(mfgp_digest(request), plain, kHeaderSize + plainLength))
        return report(-10306, "v2 decode md5 error");

    const size_t packetLength = kHeaderSize + length;
    memcpy(request, plain, packetLength);
    // Bytes after the announced length were neither deciphered nor covered by the digest, so no
    // command may read them as its argument.
    memset(request + packetLength, 0, kBufferSize - packetLength);
    plain[packetLength] = 0;
    return 0;
}

int mfgp_encode(ServiceContext* ctx, size_t* replyLength) {
    uint8_t* const reply = ctx->replyBuf;
    uint8_t* const padded = ctx->recvBuf;
    const uint32_t length = mfgp_payloadLength(reply);
    const uint32_t paddedLength = (length + 7U) & ~7U;
    if (paddedLength > kMaxPayload)
        return report(-10307, "v2 encode error");

    const uint32_t packetLength = length + static_cast<uint32_t>(kHeaderSize);
    memcpy(padded, reply, packetLength);
    memset(padded + packetLength, 0, kCipherBlock - length % kCipherBlock);
    memset(mfgp_digest(padded), 0, kDigestSize);
    mfgp_setPayloadLength(padded, paddedLength);
    mfgp_md5(mfgp_digest(reply), padded, kHeaderSize + paddedLength);
    mfgp_setPayloadLength(reply, paddedLength);
    const uint32_t written =
        mfgp_desEcb(mfgp_payload(padded), paddedLength, mfgp_payload(reply), kPayloadCapacity,
                    ctx->payloadKey, CipherDirection::Encrypt);
    *replyLength = kHeaderSize + written;
    return 0;
}
