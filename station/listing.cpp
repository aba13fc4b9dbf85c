#include "station/listing.h"

#include <algorithm>

namespace station {
namespace {

constexpr const char* kNone = "-";
constexpr const char* kNothing = "NOTHING";  // a text, also where it looks like a number

json_object* factAsJson(const std::string& name, const std::string& fact) {
    if (fact == kNone)
        return nullptr;
    return name == kNothing ? jsonString(fact) : jsonOf(numberOrText(fact));
}

void printJson(const Listing& listing, const Output& output) {
    for (const Entry& entry : listing.entries) {
        const Json object(json_object_new_object());
        json_object_object_add(object.get(), "schema", json_object_new_int(kSchema));
        json_object_object_add(object.get(), "name", jsonString(entry.name));
        json_object_object_add(object.get(), "arguments", jsonString(entry.arguments));
        for (size_t i = 0; i < entry.facts.size(); i++)
            json_object_object_add(object.get(), jsonKey(listing.factNames[i]).c_str(),
                                   factAsJson(listing.factNames[i], entry.facts[i]));
        json_object_object_add(object.get(), "help", jsonString(entry.help));
        if (!entry.group.empty())
            json_object_object_add(object.get(), "group", jsonString(entry.group));
        fprintf(output.file, "%s\n", jsonLine(object.get()).c_str());
    }
}

std::string orNone(const std::string& fact) { return fact.empty() ? kNone : fact; }

Entry entryOf(const Command& command) {
    const bool hasType = command.type != kTypeFromWords;
    const bool hasSubType = command.type == kTypeSpecial || command.type == kTypeEncrypted;
    return {command.name,
            command.arguments,
            {hasType ? std::to_string(command.type) : kNone,
             hasSubType ? std::to_string(command.subType) : kNone, accessName(command.access),
             hasType && command.gate == Gate::ProduceMode ? "produce" : kNone,
             command.once ? "once" : kNone, orNone(command.unit),
             command.readBack != nullptr ? command.readBack : kNone,
             orNone(command.arguments[0] == '\0' ? command.payload : ""),
             command.leastReply > 0 ? std::to_string(command.leastReply) : kNone,
             command.nothing.text != nullptr ? command.nothing.text : kNone},
            command.help,
            "",
            command.example};
}

}  // namespace

Listing listCommands() {
    Listing listing = {{"TYPE", "SUB TYPE", "ACCESS", "MODE", "ONCE", "UNIT", "READ BACK",
                        "PAYLOAD", "LEAST REPLY", kNothing},
                       {}};
    std::string group;
    for (const Command& command : commands()) {
        group = command.group[0] != '\0' ? command.group : group;
        listing.entries.push_back(entryOf(command));
        listing.entries.back().group = group;
        if (command.run != nullptr)
            listing.entries.back().facts.assign(listing.factNames.size(), kNone);
    }
    return listing;
}

Listing listOptions() {
    return optionsWhere([](const OptionRow&) { return true; });
}

Listing optionsWhere(const std::function<bool(const OptionRow&)>& isListed) {
    Listing listing = {};
    for (const OptionRow& row : optionRows())
        if (isListed(row))
            listing.entries.push_back({optionName(row), row.argument, {}, row.help});
    return listing;
}

Listing listExits() {
    Listing listing = {{"OUTCOME"}, {}};
    for (const ExitCodeRow& row : exits()) {
        const char* const addend = row.code == kExitInterrupted ? "+N" : "";
        listing.entries.push_back({std::to_string(row.code) + addend, "", {row.word}, row.meaning});
    }
    return listing;
}

std::string usageOf(const Entry& entry) {
    return entry.arguments.empty() ? entry.name : entry.name + " " + entry.arguments;
}

int usageWidth(const Listing& listing) {
    size_t width = 0;
    for (const Entry& entry : listing.entries)
        width = std::max(width, usageOf(entry).size());
    return static_cast<int>(width);
}

void print(const Listing& listing, const Output& output) {
    if (output.format == Format::Json && !output.quiet)
        return printJson(listing, output);
    for (const Entry& entry : listing.entries)
        if (output.quiet)
            fprintf(output.file, "%s\n", entry.name.c_str());
        else
            fprintf(output.file, "%-*s  %s%s\n", usageWidth(listing), usageOf(entry).c_str(),
                    entry.facts.size() == 1 ? (entry.facts[0] + ": ").c_str() : "",
                    entry.help.c_str());
}

}  // namespace station
