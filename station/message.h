// Builds requests and decodes replies, without I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/packet.h"
#include "protocol/cipher.h"

namespace station {

using Bytes = std::vector<uint8_t>;

struct Key {
    uint8_t bytes[kCipherBlock];
};

struct Request {
    uint8_t type;
    uint8_t subType;  // of an encrypted command the inner one
    Bytes payload;    // of an encrypted command the inner one
};

// Stores the text as the request's payload.
inline void putText(const std::string& text, Request* request) {
    request->payload.assign(text.begin(), text.end());
}

enum class DecodeStatus {
    Whole,
    Empty,        // the unit does not know the packet type
    ShortForm,    // the unit does not know the version
    Malformed,    // a length or the version cannot be right
    WrongDigest,  // type, id and info are as received, the payload is dropped
};

struct Reply {
    DecodeStatus status;
    bool hasId;  // type, packet id and info were there to be read
    uint8_t type;
    uint8_t code;  // kReplyCode, except of a heartbeat and of info 5
    uint8_t info;
    uint8_t subType;
    uint16_t packetId;
    Bytes payload;  // plain, with the zero bytes that pad it; of an encrypted command the inner one
};

// Returns the key of an account. An empty name or password means the unit's default.
Key keyOf(const std::string& user, const std::string& password);

// Returns the largest payload, in bytes, that a unit deciphers in a request of this type.
size_t payloadLimit(uint8_t type);

// Returns the datagram of a request. The payload must be within payloadLimit.
Bytes buildRequest(const Request& request, uint16_t packetId, const Key& key);

// Returns the packet in plain text with a zeroed digest, which is the input of the digest. The
// datagram must have a complete header.
Bytes plainPacket(const uint8_t* datagram, size_t length, const Key& key);

// Decodes any datagram, even a broken one.
Reply openReply(const uint8_t* datagram, size_t length, const Key& key);

// Returns true if the datagram can be the reply to a request of this type with one of the ids. An
// echo of the request is not a reply, except for a heartbeat, whose reply equals the request. A
// datagram without an id counts as a reply, because it cannot be distinguished from one.
bool answers(const Reply& reply, uint8_t type, const std::vector<uint16_t>& sentIds);

}  // namespace station
