#include "station/json_values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <sstream>
#include <vector>

namespace station {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

}  // namespace

std::string jsonKey(const std::string& name) {
    std::string key;
    for (const char character : name)
        if (character != '-')
            key += character == ' ' ? '_' : static_cast<char>(tolower(character));
    return key;
}

json_object* jsonString(const std::string& text) {
    const std::string shown = printable(text);
    return json_object_new_string_len(shown.data(), static_cast<int>(shown.size()));
}

json_object* jsonNumber(const std::string& text) {
    const char* const end = text.data() + text.size();
    int64_t whole = 0;
    const std::from_chars_result result = std::from_chars(text.data(), end, whole);
    if (result.ec == std::errc() && result.ptr == end)
        return json_object_new_int64(whole);
    double number = 0;
    const auto [place, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && place == end && std::isfinite(number))
        return json_object_new_double(number);
    return jsonString(text);
}

json_object* jsonYes(const std::string&) {
    return json_object_new_boolean(1);
}

// From "Wi-Fi on, guest Wi-Fi off".
json_object* jsonFlags(const std::string& text) {
    json_object* const object = json_object_new_object();
    for (std::string part : split(text, ',')) {
        part.erase(0, part.find_first_not_of(' '));
        const size_t blank = part.rfind(' ');
        json_object_object_add(object, jsonKey(part.substr(0, blank)).c_str(),
                               json_object_new_boolean(part.substr(blank + 1) == "on" ? 1 : 0));
    }
    return object;
}

// From "2 fans: 3600 3540".
json_object* jsonFans(const std::string& text) {
    json_object* const array = json_object_new_array();
    std::istringstream words(text.substr(std::min(text.find(':') + 1, text.size())));
    for (std::string word; words >> word;)
        json_object_array_add(array, jsonNumber(word));
    return array;
}

// From lines of "name: value".
json_object* jsonConfig(const std::string& text) {
    json_object* const object = json_object_new_object();
    for (const std::string& line : split(text, '\n')) {
        const size_t colon = line.find(": ");
        const std::string key = jsonKey(line.substr(0, colon));
        const std::string value = line.substr(colon + 2);
        json_object_object_add(object, key.c_str(),
                               key == "enabled" ? jsonFlags(value) : jsonString(value));
    }
    return object;
}

// From "VERSION,VENDOR,PRODUCT,SERIAL;" for each device.
json_object* jsonDevices(const std::string& text) {
    static constexpr const char* kNames[] = {"version", "vendor", "product", "serial"};
    json_object* const array = json_object_new_array();
    for (const std::string& device : split(text, ';')) {
        const std::vector<std::string> values = split(device, ',');
        if (values.size() < 2)
            continue;  // there is none
        json_object* const fields = json_object_new_object();
        for (size_t i = 0; i < std::size(kNames); i++)
            json_object_object_add(fields, kNames[i],
                                   jsonString(i < values.size() ? values[i] : ""));
        json_object_array_add(array, fields);
    }
    return array;
}

json_object* jsonParsed(const std::string& text) {
    json_object* const parsed = json_tokener_parse(text.c_str());
    return parsed != nullptr ? parsed : jsonString(text);
}

json_object* jsonRaw(const std::string& text) {
    static constexpr std::string_view kLabel = "\ntext: ";
    return jsonString(text.substr(text.find(kLabel) + kLabel.size()));
}

}  // namespace station
