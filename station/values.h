// Reply payloads as text. A decoder gives one value without a line end.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "station/message.h"

namespace station {

using Decoder = std::string (*)(const Reply& reply);

// The text up to the first zero byte. All but printable ASCII is shown as \xNN, so that a damaged
// field can neither steer a terminal nor break the encoding of a log.
std::string decodeText(const Reply& reply);

// The same up to the first line end.
std::string decodeLine(const Reply& reply);

// Info, length, and the payload as hex digits and as text with a dot for what cannot be printed.
std::string decodeRaw(const Reply& reply);

// What the reply says by being no refusal; its payload holds nothing.
std::string decodeYes(const Reply& reply);

// The four settings, on or off. The payload has its four bytes.
std::string decodeEnableFlags(const Reply& reply);

// The number of fans and each one's speed.
std::string decodeFanSpeeds(const Reply& reply);

// The configuration record, a line for each field. The payload has its 244 bytes.
std::string decodeConfigCheck(const Reply& reply);

// Printable ASCII.
bool isPrintable(char character);

// The bytes as text with \xNN for all but printable ASCII, zero bytes included.
std::string printable(std::string_view bytes);

// Two digits for each byte.
std::string hexOf(std::span<const uint8_t> bytes);

// Turns hex digits into bytes. Returns what is wrong with them, or an empty text.
std::string parseHex(const std::string& digits, Bytes* bytes);

}  // namespace station
