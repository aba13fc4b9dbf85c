// The decoded text of a reply as a JSON value. The caller owns what these return. A text that does
// not read as what is expected stays a string.
#pragma once

#include <json-c/json.h>

#include <string>

#include "station/values.h"

namespace station {

// How a command's reply is shown.
struct Form {
    Decoder text;
    json_object* (*json)(const std::string& text);
    size_t leastBytes = 0;  // a shorter payload is not understood
};

// A name as the key of a member: "guest Wi-Fi" as guest_wifi.
std::string jsonKey(const std::string& name);

// A string; all but printable ASCII in it as \xNN.
json_object* jsonString(const std::string& text);

// A number, or a string.
json_object* jsonNumber(const std::string& text);

json_object* jsonYes(const std::string& text);      // true
json_object* jsonFlags(const std::string& text);    // an object of booleans
json_object* jsonFans(const std::string& text);     // an array of speeds
json_object* jsonConfig(const std::string& text);   // an object of strings and the flags
json_object* jsonDevices(const std::string& text);  // an array of objects
json_object* jsonParsed(const std::string& text);   // what the unit sent as JSON
json_object* jsonRaw(const std::string& text);      // the payload's text

inline constexpr Form kText = {decodeText, jsonString};
inline constexpr Form kLine = {decodeLine, jsonString};
inline constexpr Form kNumber = {decodeLine, jsonNumber};
inline constexpr Form kYes = {decodeYes, jsonYes};
inline constexpr Form kFlags = {decodeEnableFlags, jsonFlags, 4};
inline constexpr Form kFans = {decodeFanSpeeds, jsonFans};
inline constexpr Form kConfig = {decodeConfigCheck, jsonConfig, 244};
inline constexpr Form kDevices = {decodeText, jsonDevices};
inline constexpr Form kParsed = {decodeText, jsonParsed};
inline constexpr Form kRaw = {decodeRaw, jsonRaw};

}  // namespace station
