#include "station/explain.h"

#include <algorithm>
#include <iterator>

#include "station/commands.h"
#include "station/diagnostics.h"
#include "station/outcome.h"

namespace station {
namespace {

void addNumber(Record* fields, const char* name, uint32_t value) {
    fields->members.push_back({name, numberOrText(std::to_string(value))});
}

void addText(Record* fields, const char* name, const std::string& text) {
    fields->members.push_back({name, {text}});
}

const char* typeName(uint8_t type) {
    static constexpr const char* kNames[] = {
        "unknown",         "set configuration", "get configuration",
        "special command", "heartbeat",         "system initialisation",
        "cancel test",     "encrypted command", "USB test"};
    return kNames[type < std::size(kNames) ? type : 0];
}

// Returns the names of all commands with this sub-type.
std::string commandNames(uint8_t type, uint8_t subType) {
    std::string names;
    for (const Command& command : commands())
        if (command.type == type && command.subType == subType && command.run == nullptr)
            names += (names.empty() ? "" : ", ") + std::string(command.name);
    return names.empty() ? "unknown" : names;
}

// Adds the first twelve bytes, which the outer and the inner header have in common.
void addHeader(Record* fields, const uint8_t* header) {
    const bool isReply = mfgp_code(header) == kReplyCode;
    const uint8_t* const id = mfgp_packetId(header);
    addText(fields, "direction", isReply ? "reply" : "request");
    addNumber(fields, "version", mfgp_version(header));
    addNumber(fields, "type", mfgp_type(header));
    addText(fields, "type name", typeName(mfgp_type(header)));
    addNumber(fields, "code", mfgp_code(header));
    addNumber(fields, "info", mfgp_info(header));
    addText(fields, "meaning", isReply ? infoMeaning(mfgp_info(header)) : "none in a request");
    addNumber(fields, "length", mfgp_payloadLength(header));
    addText(fields, "packet id", "0x" + hexOf({id, 2}));
    addNumber(fields, "sub type", mfgp_subType(header));
    addNumber(fields, "reserved", mfgp_reserved(header));
}

void addPayload(Record* fields, const Bytes& plain, const Reply& reply) {
    const auto type = mfgp_type(plain.data());
    if (type == kTypeEncrypted && plain.size() >= kHeaderSize + kInnerHeaderSize) {
        Record inner;
        addHeader(&inner, mfgp_payload(plain.data()));
        fields->members.push_back({"inner", {inner}});
    }
    addText(fields, "command", commandNames(type, reply.subType));
    addText(fields, "payload", hexOf(reply.payload));
    addText(fields, "text", textOf(decodeText(reply)));
}

}  // namespace

const char* decodeStatusText(DecodeStatus status) {
    static constexpr const char* kTexts[] = {
        // in the order of DecodeStatus
        "whole", "empty: the unit does not know the packet type",
        "short form: the unit does not know the version",
        "malformed: version or a length cannot be right",
        "wrong digest: another account, or damaged"};
    return kTexts[static_cast<size_t>(status)];
}

Record explainDatagram(const Bytes& datagram, const Key& key) {
    Record fields;
    const Reply reply = openReply(datagram.data(), datagram.size(), key);
    addText(&fields, "reading", decodeStatusText(reply.status));
    if (datagram.size() >= kInnerHeaderSize)
        addHeader(&fields, datagram.data());
    if (datagram.size() >= kHeaderSize)
        addText(&fields, "digest", hexOf({mfgp_digest(datagram.data()), kDigestSize}));
    if (reply.status == DecodeStatus::Whole)
        addPayload(&fields, plainPacket(datagram.data(), datagram.size(), key), reply);
    return fields;
}

Record headerFields(const Bytes& datagram, const Key& key) {
    Record fields = explainDatagram(datagram, key);
    std::erase_if(fields.members, [](const Member& member) {
        return member.name == "payload" || member.name == "text";
    });
    return fields;
}

void traceDatagram(unsigned verbosity, const std::string& what, const Bytes& datagram,
                   const Key& key) {
    constexpr unsigned kFields = 2;
    constexpr unsigned kBytes = 3;
    if (verbosity > 0)
        say(what + ": " + std::to_string(datagram.size()) + " bytes");
    if (verbosity == kFields)
        say(textOf({headerFields(datagram, key)}));
    if (verbosity < kBytes)
        return;
    say(textOf({explainDatagram(datagram, key)}));
    if (datagram.size() > kHeaderSize)
        say("plain: " + hexOf(plainPacket(datagram.data(), datagram.size(), key)));
    say("wire: " + hexOf(datagram));
}

}  // namespace station
