// Values that a unit's replies carry. A reply is decoded once into a typed value; the text and the
// JSON that people and programs see are both made from that value.
#pragma once

#include <json-c/json.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "station/message.h"

namespace station {

struct Number {
    std::string text;  // as the unit sent it
    bool isWhole;
    int64_t whole;  // only if isWhole
    double real;    // always set, and finite
};

// The four settings, one bit each: Wi-Fi, guest Wi-Fi, IPv6, Bluetooth.
struct Flags {
    uint8_t bits;
};

// A JSON text of the unit that was parsed to its end.
struct ParsedJson {
    std::string text;
    std::shared_ptr<json_object> object;
};

// A reply shown as it came.
struct RawReply {
    uint8_t info;
    Bytes payload;
};

struct Value;

// A value with its name in words, "guest Wi-Fi". A template, because Value is not complete here.
template <typename ValueType>
struct MemberOf {
    std::string name;
    ValueType value;
};
using Member = MemberOf<Value>;

struct List {
    std::string text;  // as a person reads it
    std::vector<Value> items;
};

struct Record {
    std::vector<Member> members;
};

// std::monostate: there is no value. A std::string is already printable.
struct Value {
    std::variant<std::monostate, std::string, bool, Number, Flags, List, Record, ParsedJson,
                 RawReply>
        of = {};

    bool exists() const { return of.index() != 0; }
};

// Decodes the payload of a complete reply.
using ReplyFormat = Value (*)(const Reply& reply);

// Decodes the text up to the first zero byte. All but printable ASCII becomes \xNN, so that a
// damaged field can neither steer a terminal nor break the encoding of a log.
Value decodeText(const Reply& reply);

// Decodes the text up to the first zero byte or line end.
Value decodeLine(const Reply& reply);

// Decodes a number in decimal. A text that is not a finite number stays a text.
Value decodeNumber(const Reply& reply);

// Keeps info and payload.
Value decodeRaw(const Reply& reply);

// Returns true: the reply says yes by not being a refusal, and its payload says nothing more.
Value decodeYes(const Reply& reply);

// Decodes the four settings. The payload has at least four bytes.
Value decodeEnableFlags(const Reply& reply);

// Decodes the number of fans and the speed of each one. A fan without a speed has no value.
Value decodeFanSpeeds(const Reply& reply);

// Decodes the configuration record. The payload has at least 244 bytes.
Value decodeConfigCheck(const Reply& reply);

// Decodes "VERSION,VENDOR,PRODUCT,SERIAL;" for each USB device, or the unit's word for none.
Value decodeDevices(const Reply& reply);

// Parses JSON. A text that is not JSON to its end, or holds a number that is not finite, stays a
// text.
Value decodeJson(const Reply& reply);

// Returns the value as a person reads it, without a line end. Empty if there is none.
std::string textOf(const Value& value);

// Returns the number that the text holds, or the text.
Value numberOrText(const std::string& text);

// Returns the names and states of the four settings.
std::vector<Member> membersOf(const Flags& flags);

// Returns the payload with a dot for each byte that is not printable ASCII.
std::string dottedText(const Bytes& payload);

// Returns true for printable ASCII.
bool isPrintable(char character);

// Returns the bytes as text with \xNN for all but printable ASCII, zero bytes included.
std::string printable(std::string_view bytes);

// Returns two digits for each byte.
std::string hexOf(std::span<const uint8_t> bytes);

// Turns hex digits into bytes. Returns what is wrong with them, or an empty text.
std::string parseHex(const std::string& digits, Bytes* bytes);

}  // namespace station
