#include "station/listing.h"

#include <algorithm>

namespace station {
namespace {

constexpr const char* kNone = "-";
constexpr const char* kNothing = "NOTHING";  // a text, also where it looks like a number
constexpr size_t kFactsInText = 6;           // of a command; its other facts are for programs

std::string padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text + "  ";
}

size_t columnWidth(const Listing& listing, size_t column) {
    size_t width = listing.factNames[column].size();
    for (const Entry& entry : listing.entries)
        width = std::max(width, entry.facts[column].size());
    return width;
}

void printText(const Listing& listing, const Output& output) {
    const auto width = static_cast<size_t>(usageWidth(listing));
    std::string heading = padded(listing.title, width);
    const size_t facts = std::min(listing.factNames.size(), listing.factsInText);
    for (size_t i = 0; i < facts; i++)
        heading += padded(listing.factNames[i], columnWidth(listing, i));
    heading.erase(heading.find_last_not_of(' ') + 1);
    fprintf(output.file, "%s\n", heading.c_str());
    for (const Entry& entry : listing.entries) {
        std::string line = padded(usageOf(entry), width);
        for (size_t i = 0; i < facts; i++)
            line += padded(entry.facts[i], columnWidth(listing, i));
        line.erase(line.find_last_not_of(' ') + 1);
        fprintf(output.file, "%s\n", line.c_str());
    }
}

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
             command.readBack != nullptr ? command.readBack : kNone, orNone(command.fixedPayload),
             command.leastReply > 0 ? std::to_string(command.leastReply) : kNone,
             command.nothing.text != nullptr ? command.nothing.text : kNone},
            command.help};
}

}  // namespace

Listing listCommands(const std::vector<Entry>& local) {
    Listing listing = {"COMMAND",
                       {"TYPE", "SUB TYPE", "ACCESS", "MODE", "ONCE", "UNIT", "READ BACK",
                        "PAYLOAD", "LEAST REPLY", kNothing},
                       {},
                       kFactsInText};
    for (const Command& command : commands())
        listing.entries.push_back(entryOf(command));
    listing.entries.insert(listing.entries.end(), local.begin(), local.end());
    for (Entry& entry : listing.entries)
        entry.facts.resize(listing.factNames.size(), kNone);
    return listing;
}

Listing listOptions() {
    Listing listing = {"OPTION", {}, {}};
    for (const OptionHelp& option : optionsHelp())
        listing.entries.push_back({option.name, option.argument, {}, option.help});
    return listing;
}

Listing listExits() {
    Listing listing = {"EXIT", {"OUTCOME"}, {}};
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
    if (output.quiet)
        for (const Entry& entry : listing.entries)
            fprintf(output.file, "%s\n", entry.name.c_str());
    else if (output.format == Format::Json)
        printJson(listing, output);
    else
        printText(listing, output);
}

void printHelp(const Listing& listing, const Output& output) {
    for (const Entry& entry : listing.entries)
        fprintf(output.file, "  %-*s  %s\n", usageWidth(listing), usageOf(entry).c_str(),
                entry.help.c_str());
}

}  // namespace station
