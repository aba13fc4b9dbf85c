// Datagrams without I/O: how a request looks on the wire, and what a datagram of the unit says.
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

// Makes the text the request's payload.
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

// The key of an account. An empty name or password stands for the unit's default.
Key keyOf(const std::string& user, const std::string& password);

// The most payload bytes that a unit deciphers in a request of this type.
size_t payloadLimit(uint8_t type);

// The datagram of a request. The payload must be within payloadLimit.
Bytes buildRequest(const Request& request, uint16_t packetId, const Key& key);

// The packet of a datagram in plain text with its digest zeroed, as both sides digest it. The
// datagram has a whole header.
Bytes plainPacket(const uint8_t* datagram, size_t length, const Key& key);

// Reads any datagram, however broken.
Reply openReply(const uint8_t* datagram, size_t length, const Key& key);

// Returns true if the reply may answer a request of this type that was sent under one of the ids.
// An echo of the request is not an answer, except to a heartbeat, which the unit sends back as it
// was. A datagram without an id cannot be told from an answer and counts as one.
bool answers(const Reply& reply, uint8_t type, const std::vector<uint16_t>& sentIds);

}  // namespace station
