#include "station/message.h"

#include <algorithm>

namespace station {
namespace {

constexpr size_t kAccountTextLimit = 15;  // the unit cuts both texts before it derives the key
constexpr char kDefaultAccountText[] = "kiosk";

std::string accountText(const std::string& text) {
    return text.empty() ? kDefaultAccountText : text.substr(0, kAccountTextLimit);
}

uint16_t packetIdOf(const uint8_t* header) {
    const uint8_t* const id = mfgp_packetId(header);
    return static_cast<uint16_t>(id[0] << 8 | id[1]);
}

// Reads the first twelve bytes. The inner header consists of the same twelve bytes.
void fillHeader(uint8_t* header, uint8_t type, uint8_t subType, uint16_t packetId, size_t length) {
    mfgp_setVersion(header, kProtocolVersion);
    mfgp_setType(header, type);
    mfgp_setPayloadLength(header, static_cast<uint32_t>(length));
    mfgp_setPacketId(header, packetId);
    mfgp_setSubType(header, subType);
}

Bytes wrapInner(const Request& request, uint16_t packetId) {
    Bytes inner(kInnerHeaderSize);
    fillHeader(inner.data(), kTypeEncrypted, request.subType, packetId, request.payload.size());
    inner.insert(inner.end(), request.payload.begin(), request.payload.end());
    return inner;
}

// Replaces the payload by the inner one. Returns false when the inner packet is incomplete.
// Refusals sent before the inner command is parsed (info 7, 8, 9) have none.
bool unwrapInner(Reply* reply) {
    const Bytes& outer = reply->payload;
    if (outer.empty())
        return reply->info != kInfoSuccess;
    if (outer.size() < kInnerHeaderSize)
        return false;
    const size_t length = mfgp_payloadLength(outer.data());
    if (length > outer.size() - kInnerHeaderSize)
        return false;
    reply->subType = mfgp_subType(outer.data());
    const auto begin = outer.begin() + kInnerHeaderSize;
    reply->payload = Bytes(begin, begin + static_cast<ptrdiff_t>(length));
    return true;
}

bool isShortForm(const uint8_t* datagram, size_t length) {
    return length == kShortReplySize && mfgp_version(datagram) == 0 &&
           mfgp_info(datagram) == kInfoWrongVersion;
}

bool lengthHolds(const uint8_t* datagram, size_t length) {
    if (length < kHeaderSize)
        return false;
    const uint32_t announced = mfgp_payloadLength(datagram);
    return announced == length - kHeaderSize && announced <= kMaxPayload &&
           announced % kCipherBlock == 0;
}

void readHeader(const uint8_t* datagram, Reply* reply) {
    reply->hasId = true;
    reply->type = mfgp_type(datagram);
    reply->code = mfgp_code(datagram);
    reply->info = mfgp_info(datagram);
    reply->subType = mfgp_subType(datagram);
    reply->packetId = packetIdOf(datagram);
}

}  // namespace

Key keyOf(const std::string& user, const std::string& password) {
    Key key = {};
    mfgp_deriveKey(key.bytes, accountText(user).c_str(), accountText(password).c_str());
    return key;
}

size_t payloadLimit(uint8_t type) {
    return type == kTypeEncrypted ? kMaxPayload - kInnerHeaderSize : size_t{kMaxPayload};
}

Bytes buildRequest(const Request& request, uint16_t packetId, const Key& key) {
    const bool inner = request.type == kTypeEncrypted;
    const Bytes payload = inner ? wrapInner(request, packetId) : request.payload;
    const size_t padded = (payload.size() + kCipherBlock - 1) / kCipherBlock * kCipherBlock;

    Bytes packet(kHeaderSize + padded + kCipherBlock);  // the cipher needs a spare block
    uint8_t* const header = packet.data();
    fillHeader(header, request.type, inner ? uint8_t{0} : request.subType, packetId, padded);
    std::copy(payload.begin(), payload.end(), mfgp_payload(header));

    uint8_t digest[kDigestSize];
    mfgp_md5(digest, header, kHeaderSize + padded);
    memcpy(mfgp_digest(header), digest, sizeof digest);
    mfgp_desEcb(mfgp_payload(header), static_cast<uint32_t>(padded), mfgp_payload(header),
                static_cast<uint32_t>(padded + kCipherBlock), key.bytes, CipherDirection::Encrypt);
    packet.resize(kHeaderSize + padded);
    return packet;
}

Bytes plainPacket(const uint8_t* datagram, size_t length, const Key& key) {
    Bytes plain(length + kCipherBlock);
    memcpy(plain.data(), datagram, kHeaderSize);
    memset(mfgp_digest(plain.data()), 0, kDigestSize);
    mfgp_desEcb(mfgp_payload(datagram), static_cast<uint32_t>(length - kHeaderSize),
                mfgp_payload(plain.data()), static_cast<uint32_t>(plain.size() - kHeaderSize),
                key.bytes, CipherDirection::Decrypt);
    plain.resize(length);
    return plain;
}

Reply openReply(const uint8_t* datagram, size_t length, const Key& key) {
    Reply reply = {};
    reply.status = DecodeStatus::Malformed;
    if (length == 0) {
        reply.status = DecodeStatus::Empty;
        return reply;
    }
    if (isShortForm(datagram, length)) {
        reply.status = DecodeStatus::ShortForm;
        return reply;
    }
    if (length < kInnerHeaderSize || mfgp_version(datagram) != kProtocolVersion)
        return reply;
    readHeader(datagram, &reply);
    if (!lengthHolds(datagram, length))
        return reply;

    const Bytes plain = plainPacket(datagram, length, key);
    if (!mfgp_md5Matches(mfgp_digest(datagram), plain.data(), plain.size())) {
        reply.status = DecodeStatus::WrongDigest;
        return reply;
    }
    reply.payload.assign(plain.begin() + kHeaderSize, plain.end());
    if (reply.type != kTypeEncrypted || unwrapInner(&reply))
        reply.status = DecodeStatus::Whole;
    return reply;
}

bool answers(const Reply& reply, uint8_t type, const std::vector<uint16_t>& sentIds) {
    if (!reply.hasId)
        return true;
    const bool isReply = reply.code == kReplyCode || reply.type == kTypeHeartbeat ||
                         reply.info == kInfoUnknownSubType;
    return isReply && reply.type == type &&
           std::find(sentIds.begin(), sentIds.end(), reply.packetId) != sentIds.end();
}

}  // namespace station
