// What `help` prints.
#include "station/batch.h"
#include "station/listing.h"

namespace station {
namespace {

constexpr const char* kUsage = "usage: mfgp-station [options] ";

constexpr const char* kExamples =
    "COMMAND [ARGUMENTS]\n\n"
    "  mfgp-station discover                find the units of this network\n"
    "  mfgp-station --user admin check      check whether the unit can be used, and what is "
    "missing\n"
    "  mfgp-station --user admin get mac    read one value; `sheet` reads all\n\n";

constexpr const char* kMore =
    "\n`help get mac` explains one command, `help get` and `help cellular` a group of commands,\n"
    "`help options` the options, `help exit-codes` the exit codes.\n";

// Prints names in lines of at most 96 columns, the first of which begins with the title.
void printNames(std::string title, const Words& names, const Output& output) {
    constexpr size_t kTitleWidth = 10;
    constexpr size_t kLineWidth = 96;
    title.resize(kTitleWidth, ' ');
    std::string line = title;
    for (size_t i = 0; i < names.size(); i++) {
        if (line.size() + names[i].size() + 1 > kLineWidth) {
            line.pop_back();
            fprintf(output.file, "%s\n", line.c_str());
            line.assign(kTitleWidth, ' ');
        }
        line += names[i] + (i + 1 < names.size() ? ", " : "");
    }
    fprintf(output.file, "%s\n", line.c_str());
}

// Returns true if the option belongs to this command and not to every one.
bool belongsTo(const OptionRow& option, const Command& command) {
    if (option.place == Place::Run)
        return command.run == runBatch;
    if (option.place == Place::ValueCommands)
        return command.format != nullptr;
    return option.place == Place::NamingCommands &&
           std::string(command.arguments).find(optionName(option)) != std::string::npos;
}

std::string effectOf(const Command& command) {
    static constexpr const char* kEffects[] = {
        "It changes nothing. If no reply comes, it is sent again.",
        "It changes nothing. It is sent until a reply comes.",
        "It starts a test. It is sent once.",
        "It changes the unit. It is sent once.",
        "It writes to flash. It is sent once. `run` asks first, or takes --yes.",
        "It erases flash. It is sent once. It asks first, or takes --yes.",
    };
    std::string facts = kEffects[static_cast<size_t>(command.access)];
    if (command.gate == Gate::ProduceMode && command.type != kTypeFromWords)
        facts += "\nThe unit refuses it outside produce mode.";
    if (command.once)
        facts += "\nThe unit carries it out once. Restart mfgpd to send it again.";
    if (command.unit[0] != '\0')
        facts.append("\nThe value is in ").append(command.unit).append(".");
    if (command.readBack != nullptr)
        facts.append("\n`").append(command.readBack).append("` shows what it did.");
    return facts + "\n";
}

}  // namespace

void printOverview(const Listing& listing, const Output& output) {
    fprintf(output.file, "%s%s", kUsage, kExamples);
    Words names;
    for (size_t i = 0; i < listing.size(); i++) {
        names.push_back(listing[i].name);
        if (i + 1 < listing.size() && listing[i + 1].group == listing[i].group)
            continue;
        printNames(listing[i].group, names, output);
        names.clear();
    }
    fputs("\n", output.file);
    print(listOptions([](const OptionRow& row) {
              return row.place == Place::CommandLine || row.place == Place::AlsoInBatch;
          }),
          output);
    fputs(kMore, output.file);
}

void printDetails(const Command& command, const Output& output) {
    const std::string usage = usageOf({command.name, command.arguments, ""});
    fprintf(output.file, "%s%s\n\n%s\n", kUsage, usage.c_str(), command.help);
    if (command.run == nullptr)
        fputs(effectOf(command).c_str(), output.file);
    const Listing own =
        listOptions([&command](const OptionRow& row) { return belongsTo(row, command); });
    fputs(own.empty() ? "" : "\noptions:\n", output.file);
    print(own, output);
    fprintf(output.file, "\nexample: mfgp-station %s%s%s\n", command.name,
            command.example[0] != '\0' ? " " : "", command.example);
}

}  // namespace station
