#include "station/listing.h"

#include <algorithm>

namespace station {
namespace {

Value textOrNone(const char* text) {
    return text == nullptr || text[0] == '\0' ? Value() : Value{std::string(text)};
}

Value numberOrNone(size_t number) {
    return number == 0 ? Value() : numberOrText(std::to_string(number));
}

// Returns the columns of a row as JSON members, without the columns that are empty in this row.
std::vector<Member> columnsOf(const Command& command) {
    const bool isOfUnit = command.run == nullptr;
    const bool isGated = command.type != 0 && command.gate == Gate::ProduceMode;
    const char* const nothing = command.nothing.text;
    return {{"type", numberOrNone(command.type)},
            {"sub type", numberOrNone(command.subType)},
            {"access", textOrNone(isOfUnit ? accessName(command.access) : "")},
            {"mode", textOrNone(isGated ? "produce" : "")},
            {"once", textOrNone(command.once ? "once" : "")},
            {"unit", textOrNone(command.unit)},
            {"read back", textOrNone(command.readBack)},
            {"payload", textOrNone(command.arguments[0] == '\0' ? command.payload : "")},
            {"least reply", numberOrNone(command.leastReply)},
            {"nothing", nothing != nullptr ? Value{std::string(nothing)} : Value()}};
}

void printJson(const Entry& entry, const Output& output) {
    Record object = {{{"schema", numberOrText(std::to_string(kSchema))},
                      {"name", {entry.name}},
                      {"arguments", {entry.arguments}}}};
    object.members.insert(object.members.end(), entry.facts.begin(), entry.facts.end());
    object.members.push_back({"help", {entry.help}});
    if (!entry.group.empty())
        object.members.push_back({"group", {entry.group}});
    const Json json(jsonOf({object}));
    fprintf(output.file, "%s\n", jsonLine(json.get()).c_str());
}

}  // namespace

Listing listCommands() {
    Listing listing;
    std::string group;
    for (const Command& command : commands()) {
        group = command.group[0] != '\0' ? command.group : group;
        listing.push_back(
            {command.name, command.arguments, command.help, columnsOf(command), group});
    }
    return listing;
}

Listing listOptions(const std::function<bool(const OptionRow&)>& isListed) {
    Listing listing;
    for (const OptionRow& row : optionRows())
        if (isListed(row))
            listing.push_back({optionName(row), row.argument, row.help});
    return listing;
}

Listing listExits() {
    Listing listing;
    for (const ExitCodeRow& row : exits())
        listing.push_back({std::to_string(row.code) + (row.code == kExitInterrupted ? "+N" : ""),
                           "",
                           row.meaning,
                           {{"outcome", {std::string(row.word)}}}});
    return listing;
}

std::string usageOf(const Entry& entry) {
    return entry.arguments.empty() ? entry.name : entry.name + " " + entry.arguments;
}

int usageWidth(const Listing& listing) {
    size_t width = 0;
    for (const Entry& entry : listing)
        width = std::max(width, usageOf(entry).size());
    return static_cast<int>(width);
}

void print(const Listing& listing, const Output& output) {
    const int width = usageWidth(listing);
    for (const Entry& entry : listing) {
        const bool hasWord = entry.facts.size() == 1;
        const std::string word = hasWord ? textOf(entry.facts[0].value) + ": " : "";
        if (output.quiet)
            fprintf(output.file, "%s\n", entry.name.c_str());
        else if (output.format == Format::Json)
            printJson(entry, output);
        else
            fprintf(output.file, "%-*s  %s%s\n", width, usageOf(entry).c_str(), word.c_str(),
                    entry.help.c_str());
    }
}

}  // namespace station
