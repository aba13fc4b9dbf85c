#include "station/json_values.h"

#include <json-c/json_visit.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <memory>

namespace station {
namespace {

// Returns a name as the key of a member: "guest Wi-Fi" as guest_wifi.
std::string jsonKey(const std::string& name) {
    std::string key;
    for (const char character : name)
        if (character != '-')
            key += character == ' ' ? '_' : static_cast<char>(tolower(character));
    return key;
}

json_object* objectOf(const std::vector<Member>& members) {
    json_object* const object = json_object_new_object();
    for (const Member& member : members)
        json_object_object_add(object, jsonKey(member.name).c_str(), jsonOf(member.value));
    return object;
}

json_object* arrayOf(const std::vector<Value>& items) {
    json_object* const array = json_object_new_array();
    for (const Value& item : items)
        json_object_array_add(array, jsonOf(item));
    return array;
}

int stopAtInfinity(json_object* object, int, json_object*, const char*, size_t*, void* found) {
    const bool isNumber = json_object_is_type(object, json_type_double) != 0;
    if (!isNumber || std::isfinite(json_object_get_double(object)))
        return JSON_C_VISIT_RETURN_CONTINUE;
    *static_cast<bool*>(found) = true;
    return JSON_C_VISIT_RETURN_STOP;
}

}  // namespace

json_object* jsonOf(const Value& value) {
    struct Visitor {
        json_object* operator()(std::monostate) { return nullptr; }
        json_object* operator()(const std::string& text) { return jsonString(text); }
        json_object* operator()(bool yes) { return json_object_new_boolean(yes ? 1 : 0); }
        json_object* operator()(const Number& number) {
            return number.isWhole ? json_object_new_int64(number.whole)
                                  : json_object_new_double(number.real);
        }
        json_object* operator()(const Flags& flags) { return objectOf(membersOf(flags)); }
        json_object* operator()(const List& list) { return arrayOf(list.items); }
        json_object* operator()(const Record& record) { return objectOf(record.members); }
        // As the unit wrote it, because json-c would write its \u escapes as UTF-8.
        json_object* operator()(const ParsedJson& json) {
            json_object* const object = json_object_new_object();
            json_object_set_serializer(object, json_object_userdata_to_json_string,
                                       strdup(json.text.c_str()), json_object_free_userdata);
            return object;
        }
        json_object* operator()(const RawReply& raw) { return jsonString(dottedText(raw.payload)); }
    };
    return std::visit(Visitor{}, value.of);
}

json_object* jsonString(const std::string& text) {
    const std::string shown = printable(text);
    return json_object_new_string_len(shown.data(), static_cast<int>(shown.size()));
}

json_object* parseJson(const std::string& text) {
    const std::unique_ptr<json_tokener, decltype(&json_tokener_free)> parser(json_tokener_new(),
                                                                             json_tokener_free);
    json_tokener_set_flags(parser.get(), JSON_TOKENER_STRICT);
    json_object* const object =
        json_tokener_parse_ex(parser.get(), text.data(), static_cast<int>(text.size()) + 1);
    const bool isWhole = json_tokener_get_error(parser.get()) == json_tokener_success &&
                         json_tokener_get_parse_end(parser.get()) >= text.size();
    bool isInfinite = false;
    if (object != nullptr)
        json_c_visit(object, 0, stopAtInfinity, &isInfinite);
    if (isWhole && !isInfinite)
        return object;
    json_object_put(object);
    return nullptr;
}

std::string jsonLine(json_object* object) {
    return json_object_to_json_string_ext(object,
                                          JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
}

}  // namespace station
