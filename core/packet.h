// The packet header. No other file uses byte positions within it.
//
//   0        1      2      3      4..7             8..9        10         11         12..27   28..
//   version  type   code   info   payload length   packet id   sub-type   reserved   digest payload
//
// The inner header of an encrypted command (type 7) has the same form as the first twelve bytes, so
// the same accessors serve both. Numbers are in network byte order. The station chooses the packet
// id and the unit returns its two bytes unchanged.
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
inline constexpr size_t kBufferSize = kMaxDatagram + 1;  // with room for a terminator
inline constexpr uint32_t kPayloadCapacity = kMaxDatagram - kHeaderSize;  // bytes on the wire
inline constexpr uint32_t kMaxPayload =
    (kPayloadCapacity - 8) & ~7U;  // longest that can be encoded

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

inline uint8_t mfgp_version(const uint8_t* header) { return header[0]; }
inline uint8_t mfgp_type(const uint8_t* header) { return header[1]; }
inline uint8_t mfgp_code(const uint8_t* header) { return header[2]; }
inline uint8_t mfgp_info(const uint8_t* header) { return header[3]; }
inline uint8_t mfgp_subType(const uint8_t* header) { return header[10]; }
inline uint8_t mfgp_reserved(const uint8_t* header) { return header[11]; }

inline void mfgp_setVersion(uint8_t* header, uint8_t version) { header[0] = version; }
inline void mfgp_setType(uint8_t* header, uint8_t type) { header[1] = type; }
inline void mfgp_setCode(uint8_t* header, uint8_t code) { header[2] = code; }
inline void mfgp_setInfo(uint8_t* header, uint8_t info) { header[3] = info; }
inline void mfgp_setSubType(uint8_t* header, uint8_t subType) { header[10] = subType; }
inline void mfgp_setReserved(uint8_t* header, uint8_t value) { header[11] = value; }

// Returns the payload length in bytes, read in network byte order.
inline uint32_t mfgp_payloadLength(const uint8_t* header) {
    return uint32_t{header[4]} << 24 | uint32_t{header[5]} << 16 | uint32_t{header[6]} << 8 |
           uint32_t{header[7]};
}

// Returns the payload length read in host byte order, as the protocol defines for two log lines. On
// a little-endian unit the value is much too large.
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

// Stores a number in little-endian byte order, as in the answers that hold a number.
inline void mfgp_storeLittleEndian(uint8_t* to, uint32_t number) {
    for (int i = 0; i < 4; i++)
        to[i] = static_cast<uint8_t>(number >> (8 * i));
}

// Returns the two bytes of the packet id, which are copied unchanged.
inline const uint8_t* mfgp_packetId(const uint8_t* header) { return header + 8; }
inline void mfgp_setPacketId(uint8_t* header, uint16_t id) {
    header[8] = static_cast<uint8_t>(id >> 8);
    header[9] = static_cast<uint8_t>(id);
}

inline uint8_t* mfgp_digest(uint8_t* header) { return header + kDigestOffset; }
inline const uint8_t* mfgp_digest(const uint8_t* header) { return header + kDigestOffset; }
inline uint8_t* mfgp_payload(uint8_t* packet) { return packet + kHeaderSize; }
inline const uint8_t* mfgp_payload(const uint8_t* packet) { return packet + kHeaderSize; }

// Writes the first twelve bytes of a reply header: those of the request (version, type, packet id,
// sub-type and the reserved byte), with code 2, the given info and payload length 0.
inline void mfgp_startReply(uint8_t* reply, const uint8_t* request, ReplyInfo info) {
    memcpy(reply, request, kInnerHeaderSize);
    mfgp_setCode(reply, kReplyCode);
    mfgp_setInfo(reply, info);
    mfgp_setPayloadLength(reply, 0);
}
