#include "station/listing.h"

#include <algorithm>

namespace station {
namespace {

constexpr const char* kNone = "-";

std::string padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text + "  ";
}

void printText(const Listing& listing, const Output& output) {
    const auto width = static_cast<size_t>(usageWidth(listing));
    std::string heading = padded(listing.title, width);
    for (const std::string& name : listing.factNames)
        heading += name + "  ";
    heading.erase(heading.find_last_not_of(' ') + 1);
    fprintf(output.file, "%s\n", heading.c_str());
    for (const Entry& entry : listing.entries) {
        std::string line = padded(usageOf(entry), width);
        for (size_t i = 0; i < entry.facts.size(); i++)
            line += padded(entry.facts[i], listing.factNames[i].size());
        line.erase(line.find_last_not_of(' ') + 1);
        fprintf(output.file, "%s\n", line.c_str());
    }
}

void printJson(const Listing& listing, const Output& output) {
    for (const Entry& entry : listing.entries) {
        const Json object(json_object_new_object());
        json_object_object_add(object.get(), "schema", json_object_new_int(kSchema));
        json_object_object_add(object.get(), "name", jsonString(entry.name));
        json_object_object_add(object.get(), "arguments", jsonString(entry.arguments));
        for (size_t i = 0; i < entry.facts.size(); i++)
            json_object_object_add(object.get(), jsonKey(listing.factNames[i]).c_str(),
                                   entry.facts[i] == kNone ? nullptr : jsonNumber(entry.facts[i]));
        json_object_object_add(object.get(), "help", jsonString(entry.help));
        fprintf(output.file, "%s\n", jsonLine(object.get()));
    }
}

// A dash of the keyboard, which the formatter would make a hyphen of.
std::string escaped(const std::string& text) {
    std::string safe;
    for (const char character : text)
        safe += character == '-' ? "\\-" : std::string(1, character);
    return safe;
}

// "-o, --output" as flags, anything else as a command.
std::string mdocName(const std::string& name) {
    if (name[0] != '-')
        return "Cm " + escaped(name);
    const size_t comma = name.find(", ");
    if (comma == std::string::npos)
        return "Fl " + escaped(name.substr(1));
    return mdocName(name.substr(0, comma)) + " , " + mdocName(name.substr(comma + 2));
}

void printMdoc(const Listing& listing, const Output& output) {
    for (const Entry& entry : listing.entries) {
        const std::string arguments =
            entry.arguments.empty() ? "" : " Ar \"" + escaped(entry.arguments) + "\"";
        std::string facts;
        for (const std::string& fact : entry.facts)
            if (fact != kNone)
                facts += (facts.empty() ? "\n.Pq " : ", ") + fact;
        fprintf(output.file, ".It %s%s\n%s%s\n", mdocName(entry.name).c_str(), arguments.c_str(),
                escaped(entry.help).c_str(), facts.c_str());
    }
}

Entry entryOf(const Command& command) {
    const bool hasType = command.type != kTypeFromWords;
    const bool hasSubType = command.type == kTypeSpecial || command.type == kTypeEncrypted;
    return {command.name,
            command.arguments,
            {hasType ? std::to_string(command.type) : kNone,
             hasSubType ? std::to_string(command.subType) : kNone, accessName(command.access),
             hasType && command.gate == Gate::ProduceMode ? "produce" : kNone},
            command.help};
}

}  // namespace

Listing listCommands(const std::vector<Entry>& local) {
    Listing listing = {"COMMAND", {"TYPE", "SUB TYPE", "ACCESS", "MODE"}, {}};
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
    for (const Exit& row : exits()) {
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
    else if (output.format == Format::Mdoc)
        printMdoc(listing, output);
    else
        printText(listing, output);
}

void printHelp(const Listing& listing, const Output& output) {
    for (const Entry& entry : listing.entries)
        fprintf(output.file, "  %-*s  %s\n", usageWidth(listing), usageOf(entry).c_str(),
                entry.help.c_str());
}

}  // namespace station
