#include "station/run.h"

#include <algorithm>
#include <cstdio>

#include "station/commands.h"
#include "station/link.h"
#include "station/outcome.h"

namespace station {
namespace {

// What the client does by itself.
struct LocalCommand {
    const char* name;
    ExitCode (*run)(const Options& options);
    const char* help;
};

ExitCode list(const Options& options);
ExitCode sheet(const Options& options);
ExitCode help(const Options& options);

constexpr LocalCommand kLocalCommands[] = {
    {"list", list, "all commands with packet type and sub-type"},
    {"sheet", sheet, "read all there is to know of a unit as a table"},
    {"help", help, "show this help"},
};

ExitCode complain(ExitCode code, const std::string& text) {
    fflush(stdout);  // what was printed before comes first where both go to one place
    fprintf(stderr, "mfgp-station: %s\n", text.c_str());
    return code;
}

ExitCode complainOfUsage(const std::string& text) {
    return complain(kExitUsage, text + " (see mfgp-station help)");
}

std::string usageOf(const Command& command) {
    const std::string name = command.name;
    return command.arguments[0] == '\0' ? name : name + " " + command.arguments;
}

// The width of the column that holds the commands with their arguments.
int usageWidth() {
    size_t width = 0;
    for (const Command& command : commands())
        width = std::max(width, usageOf(command).size());
    return static_cast<int>(width);
}

ExitCode list(const Options&) {
    printf("%-*s  TYPE  SUB-TYPE  ACCESS\n", usageWidth(), "COMMAND");
    for (const Command& command : commands()) {
        const bool hasType = command.type != kTypeFromWords;
        const bool hasSubType = command.type == kTypeSpecial || command.type == kTypeEncrypted;
        printf("%-*s  %4s  %8s  %s\n", usageWidth(), usageOf(command).c_str(),
               hasType ? std::to_string(command.type).c_str() : "-",
               hasSubType ? std::to_string(command.subType).c_str() : "-",
               command.access == Access::Read ? "read" : "write");
    }
    for (const LocalCommand& command : kLocalCommands)
        printf("%-*s  %4s  %8s  -\n", usageWidth(), command.name, "-", "-");
    return kExitDone;
}

ExitCode help(const Options&) {
    printf("usage: mfgp-station [options] COMMAND [ARGUMENTS]\n\noptions:\n%s\ncommands:\n",
           optionsHelp().c_str());
    for (const Command& command : commands())
        printf("  %-*s  %s\n", usageWidth(), usageOf(command).c_str(), command.help);
    for (const LocalCommand& command : kLocalCommands)
        printf("  %-*s  %s\n", usageWidth(), command.name, command.help);
    return kExitDone;
}

// A cancel is obeyed in silence, so that only the time for a refusal is given to it.
Patience patienceFor(const Command& command, const Request& request, const Options& options) {
    constexpr double kRefusalSeconds = 1;
    if (request.type == kTypeCancelTest)
        return {1, std::min(options.timeout, kRefusalSeconds)};
    return {command.access == Access::Read ? 1 + options.retries : 1,
            options.timeout + command.unitSeconds};
}

void printRow(const Command& command, const Outcome& outcome) {
    const bool done = outcome.code == kExitDone;
    const char* const text = outcome.text.empty() ? "(empty)" : outcome.text.c_str();
    printf("%-*s  %s%s\n", usageWidth(), command.name, done ? "" : "! ", text);
    fflush(stdout);
}

// Rows that all end alike (a unit that is off, another account) are told by their own code.
ExitCode codeOfSheet(const std::vector<ExitCode>& codes) {
    const bool alike = std::equal(codes.begin() + 1, codes.end(), codes.begin());
    return alike ? codes.front() : kExitFailed;
}

ExitCode sheet(const Options& options) {
    Link link;
    const std::string wrong = openLink(options, &link);
    if (!wrong.empty())
        return complain(kExitLocalFault, "sheet: " + wrong);
    std::vector<ExitCode> codes;
    bool silent = false;
    for (const Command& command : commands()) {
        if (command.sheet == Sheet::No)
            continue;
        const Request request = {command.type, command.subType, {}};
        Patience patience = patienceFor(command, request, options);
        if (silent)
            patience = {1, options.timeout};  // else a unit that is off takes a minute and more
        const Answer answer = ask(&link, request, patience);
        silent = answer.delivery == Delivery::NoAnswer;
        const Outcome outcome = outcomeOf(command, request, answer, link.unit);
        printRow(command, outcome);
        codes.push_back(outcome.code);
    }
    return codeOfSheet(codes);
}

ExitCode perform(const Command& command, const Request& request, const Options& options) {
    const std::string prefix = std::string(command.name) + ": ";
    Link link;
    const std::string wrong = openLink(options, &link);
    if (!wrong.empty())
        return complain(kExitLocalFault, prefix + wrong);
    const Answer answer = ask(&link, request, patienceFor(command, request, options));
    const Outcome outcome = outcomeOf(command, request, answer, link.unit);
    if (outcome.code == kExitDone) {
        const bool valued = command.decode != nullptr && answer.delivery == Delivery::Answered;
        printf("%s\n", valued ? outcome.text.c_str() : "OK");
        return kExitDone;
    }
    // Who sends a packet of his own sees what came back, whatever the unit thought of it.
    const bool readable =
        answer.delivery == Delivery::Answered && answer.reply.reading == Reading::Whole;
    if (command.type == kTypeFromWords && readable)
        printf("%s\n", command.decode(answer.reply).c_str());
    return complain(outcome.code, prefix + outcome.text);
}

std::string joined(const Words& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

ExitCode dispatch(const Options& options) {
    if (options.words.empty())
        return complainOfUsage("no command");
    for (const LocalCommand& local : kLocalCommands) {
        if (options.words[0] != local.name)
            continue;
        return options.words.size() == 1 && options.named.empty()
                   ? local.run(options)
                   : complainOfUsage(std::string(local.name) + ": takes no arguments");
    }
    Words rest;
    const Command* const command = findCommand(options.words, &rest);
    if (command == nullptr)
        return complainOfUsage("unknown command '" + joined(options.words) + "'");
    Request request;
    const std::string wrong = buildCommand(*command, rest, options.named, &request);
    if (!wrong.empty())
        return complainOfUsage(std::string(command->name) + ": " + wrong);
    return perform(*command, request, options);
}

ExitCode runOptions(int argc, char** argv) {
    Options options;
    const std::string wrong = parseOptions(argc, argv, &options);
    if (!wrong.empty())
        return complainOfUsage(wrong);
    if (options.help)
        return help(options);
    if (options.version) {
        printf("mfgp-station %s\n", MFGP_STATION_VERSION);
        return kExitDone;
    }
    return dispatch(options);
}

}  // namespace

int run(int argc, char** argv) {
    const ExitCode code = runOptions(argc, argv);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return complain(kExitLocalFault, "cannot write to standard output");
    return code;
}

}  // namespace station
