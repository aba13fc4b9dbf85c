// The packet header: the only place that knows byte positions.
//
//   0        1      2      3      4..7             8..9        10         11         12..27   28..
//   version  type   code   info   payload length   packet id   sub-type   reserved   digest payload
//
// The first twelve bytes also are the inner header of an encrypted command (type 7), so the same
// accessors serve both. Numbers are in network byte order; the packet id is the station's own and
// the unit only copies it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

inline constexpr uint16_t kServicePort = 1040;
inline constexpr uint8_t kProtocolVersion = 2;
inline constexpr uint8_t kReplyCode = 2;

inline constexpr size_t kHeaderSize = 28;
inline constexpr size_t kInnerHeaderSize = 12;
inline constexpr size_t kDigestOffset = 12;
inline constexpr size_t kDigestSize = 16;
inline constexpr size_t kShortReplySize = 12;

inline constexpr size_t kMaxDatagram = 45000;
inline constexpr size_t kBufferSize = kMaxDatagram + 1;  // one more, so that a payload is a text
inline constexpr uint32_t kPayloadCapacity = kMaxDatagram - kHeaderSize;  // bytes on the wire
inline constexpr uint32_t kMaxPayload = (kPayloadCapacity - 8) & ~7U;     // longest that encodes

enum PacketType : uint8_t {
    kTypeSetConfig = 1,
    kTypeGetConfig = 2,
    kTypeSpecial = 3,
    kTypeHeartbeat = 4,
    kTypeSystemInit = 5,
    kTypeCancelTest = 6,
    kTypeEncrypted = 7,
    kTypeUsbTest = 8,
};

enum ReplyInfo : uint8_t {
    kInfoSuccess = 0,
    kInfoFailed = 3,          // the command failed or was refused outside produce mode
    kInfoUnknownSubType = 5,  // no handler ran
    kInfoWrongVersion = 7,    // answered in the short form
    kInfoOtherPeer = 8,       // bound to another station
    kInfoDecodeFailed = 9,    // wrong digest, or a length that cannot be deciphered
};

inline uint8_t mfgp_version(const uint8_t* header) {
    return header[0];
}
inline uint8_t mfgp_type(const uint8_t* header) {
    return header[1];
}
inline uint8_t mfgp_code(const uint8_t* header) {
    return header[2];
}
inline uint8_t mfgp_info(const uint8_t* header) {
    return header[3];
}
inline uint8_t mfgp_subType(const uint8_t* header) {
    return header[10];
}
inline uint8_t mfgp_reserved(const uint8_t* header) {
    return header[11];
}

inline void mfgp_setVersion(uint8_t* header, uint8_t version) {
    header[0] = version;
}
inline void mfgp_setType(uint8_t* header, uint8_t type) {
    header[1] = type;
}
inline void mfgp_setCode(uint8_t* header, uint8_t code) {
    header[2] = code;
}
inline void mfgp_setInfo(uint8_t* header, uint8_t info) {
    header[3] = info;
}
inline void mfgp_setSubType(uint8_t* header, uint8_t subType) {
    header[10] = subType;
}

// The payload length in bytes, from network byte order.
inline uint32_t mfgp_payloadLength(const uint8_t* header) {
    return uint32_t{header[4]} << 24 | uint32_t{header[5]} << 16 | uint32_t{header[6]} << 8 |
           uint32_t{header[7]};
}

// The same four bytes taken in host order. Log lines use the length this way; on a little-endian
// unit it is a large number, and log readers on the line know it so.
inline uint32_t mfgp_payloadLengthHostOrder(const uint8_t* header) {
    uint32_t length = 0;
    memcpy(&length, header + 4, sizeof length);
    return length;
}

// Stores the payload length in bytes in network byte order.
inline void mfgp_setPayloadLength(uint8_t* header, uint32_t length) {
    header[4] = static_cast<uint8_t>(length >> 24);
    header[5] = static_cast<uint8_t>(length >> 16);
    header[6] = static_cast<uint8_t>(length >> 8);
    header[7] = static_cast<uint8_t>(length);
}

// Stores a number with its lowest byte first: the order of the numbers within payloads.
inline void mfgp_storeLittleEndian(uint8_t* to, uint32_t number) {
    for (int i = 0; i < 4; i++)
        to[i] = static_cast<uint8_t>(number >> (8 * i));
}

// Two bytes as they are, without a byte order.
inline const uint8_t* mfgp_packetId(const uint8_t* header) {
    return header + 8;
}
inline void mfgp_setPacketId(uint8_t* header, uint16_t id) {
    header[8] = static_cast<uint8_t>(id >> 8);
    header[9] = static_cast<uint8_t>(id);
}
inline void mfgp_copyPacketId(uint8_t* to, const uint8_t* from) {
    memcpy(to + 8, from + 8, 2);
}

inline uint8_t* mfgp_digest(uint8_t* header) {
    return header + kDigestOffset;
}
inline const uint8_t* mfgp_digest(const uint8_t* header) {
    return header + kDigestOffset;
}
inline uint8_t* mfgp_payload(uint8_t* packet) {
    return packet + kHeaderSize;
}
inline const uint8_t* mfgp_payload(const uint8_t* packet) {
    return packet + kHeaderSize;
}

// What every reply header starts from: the request's type and packet id, code 2, no payload.
inline void mfgp_startReply(uint8_t* reply, const uint8_t* request, ReplyInfo info) {
    mfgp_setType(reply, mfgp_type(request));
    mfgp_setCode(reply, kReplyCode);
    mfgp_setInfo(reply, info);
    mfgp_setPayloadLength(reply, 0);
    mfgp_copyPacketId(reply, request);
}
