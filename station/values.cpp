#include "station/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "station/json_values.h"

namespace station {
namespace {

std::string printableText(std::span<const uint8_t> bytes) {
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return printable(all.substr(0, all.find('\0')));
}

std::string firstLine(const Reply& reply) {
    const auto end = std::find(reply.payload.begin(), reply.payload.end(), '\n');
    return printableText({reply.payload.begin(), end});
}

Words split(const std::string& text, char separator) {
    Words parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

// A text field of the configuration record.
struct Field {
    const char* name;
    size_t offset;
    size_t size;
};

constexpr Field kConfigTexts[] = {
    {"firmware version", 0, 64}, {"hardware version", 64, 16}, {"model", 80, 32},
    {"country", 112, 64},        {"region", 176, 64},
};
constexpr size_t kConfigFlags = 240;

Record deviceOf(const Words& fields) {
    static constexpr const char* kNames[] = {"version", "vendor", "product", "serial"};
    Record device;
    for (size_t i = 0; i < std::size(kNames); i++)
        device.members.push_back({kNames[i], {i < fields.size() ? fields[i] : std::string()}});
    return device;
}

std::string flagsText(const Flags& flags) {
    std::string text;
    for (const Member& flag : membersOf(flags))
        text += (text.empty() ? "" : ", ") + flag.name +
                (std::get<bool>(flag.value.of) ? " on" : " off");
    return text;
}

// Returns a line for each member. The members of an inner record have its name as a prefix.
std::string linesOf(const Record& record, const std::string& prefix) {
    std::string lines;
    for (const Member& member : record.members) {
        lines += lines.empty() ? "" : "\n";
        const auto* const inner = std::get_if<Record>(&member.value.of);
        lines += inner != nullptr ? linesOf(*inner, prefix + member.name + ' ')
                                  : prefix + member.name + ": " + textOf(member.value);
    }
    return lines;
}

std::string rawText(const RawReply& raw) {
    return "info: " + std::to_string(raw.info) + "\nlength: " + std::to_string(raw.payload.size()) +
           "\nhex: " + hexOf(raw.payload) + "\ntext: " + dottedText(raw.payload);
}

}  // namespace

Value decodeText(const Reply& reply) { return {printableText(reply.payload)}; }

Value decodeLine(const Reply& reply) { return {firstLine(reply)}; }

Value decodeNumber(const Reply& reply) { return numberOrText(firstLine(reply)); }

Value decodeRaw(const Reply& reply) { return {RawReply{reply.info, reply.payload}}; }

Value decodeYes(const Reply&) { return {true}; }

Value decodeEnableFlags(const Reply& reply) { return {Flags{reply.payload[0]}}; }

Value decodeFanSpeeds(const Reply& reply) {
    Bytes bytes = reply.payload;
    std::erase(bytes, '\n');  // a fan service may add one after each speed
    List list = {printableText(bytes), {}};
    Words words = splitAtBlanks(list.text);
    if (!words.empty() && words[0] != std::to_string(words.size() - 1))
        words = split(list.text + ' ', ' ');   // a fan without a speed leaves two blanks
    for (size_t i = 1; i < words.size(); i++)  // the first one is the number of fans
        list.items.push_back(words[i].empty() ? Value() : numberOrText(words[i]));
    list.text.insert(std::min(list.text.find(' '), list.text.size()), " fans:");
    return {list};
}

Value decodeConfigCheck(const Reply& reply) {
    Record record;
    const uint8_t* const bytes = reply.payload.data();
    for (const Field& field : kConfigTexts)
        record.members.push_back({field.name, {printableText({bytes + field.offset, field.size})}});
    record.members.push_back({"enabled", {Flags{bytes[kConfigFlags]}}});
    return {record};
}

Value decodeDevices(const Reply& reply) {
    List list = {printableText(reply.payload), {}};
    for (const std::string& device : split(list.text, ';')) {
        const Words fields = split(device, ',');
        if (fields.size() > 1)
            list.items.push_back({deviceOf(fields)});
    }
    return {list};
}

Value decodeJson(const Reply& reply) {
    const std::string text = printableText(reply.payload);
    std::shared_ptr<json_object> object(parseJson(text), json_object_put);
    if (object == nullptr)
        return {text};
    return {ParsedJson{text, object}};
}

std::string textOf(const Value& value) {
    struct Visitor {
        std::string operator()(std::monostate) { return ""; }
        std::string operator()(const std::string& text) { return text; }
        std::string operator()(bool yes) { return yes ? "yes" : "no"; }
        std::string operator()(const Number& number) { return number.text; }
        std::string operator()(const Flags& flags) { return flagsText(flags); }
        std::string operator()(const List& list) { return list.text; }
        std::string operator()(const Record& record) { return linesOf(record, ""); }
        std::string operator()(const ParsedJson& json) { return json.text; }
        std::string operator()(const RawReply& raw) { return rawText(raw); }
    };
    return std::visit(Visitor{}, value.of);
}

Value numberOrText(const std::string& text) {
    const char* const end = text.data() + text.size();
    Number number = {text, false, 0, 0};
    const auto [realEnd, realError] = std::from_chars(text.data(), end, number.real);
    if (realError != std::errc() || realEnd != end || !std::isfinite(number.real))
        return {text};
    const auto [wholeEnd, wholeError] = std::from_chars(text.data(), end, number.whole);
    number.isWhole = wholeError == std::errc() && wholeEnd == end;
    return {number};
}

std::vector<Member> membersOf(const Flags& flags) {
    static constexpr const char* kNames[] = {"Wi-Fi", "guest Wi-Fi", "IPv6", "Bluetooth"};
    std::vector<Member> members;
    for (size_t i = 0; i < std::size(kNames); i++)
        members.push_back({kNames[i], {(flags.bits >> i & 1) != 0}});
    return members;
}

std::string dottedText(const Bytes& payload) {
    std::string text;
    for (const uint8_t byte : payload)
        text += isPrintable(static_cast<char>(byte)) ? static_cast<char>(byte) : '.';
    return text;
}

}  // namespace station
