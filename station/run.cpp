#include "station/run.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>

#include "completions/complete.h"
#include "station/arguments.h"
#include "station/batch.h"
#include "station/check.h"
#include "station/diagnostics.h"
#include "station/explain.h"
#include "station/listing.h"
#include "station/settings.h"

namespace station {
namespace {

int complain(int code, const std::string& text) {
    say(text);
    return code;
}

int complainOfUsage(const std::string& text) {
    return complain(
        kExitUsage,
        text + (text.ends_with('?') || text.ends_with('.') ? "" : " (see mfgp-station help)"));
}

Listing tableOf(const std::string& name) {
    return name == "options"      ? listOptions([](const OptionRow&) { return true; })
           : name == "exit-codes" ? listExits()
                                  : listCommands();
}

int perform(const Options& options, Output* output) {
    Session session = {options, output};
    PreparedCommand prepared = {};
    Outcome outcome = prepareCommand(options, &prepared);
    if (outcome.code != kExitDone)
        return print(unsent(options.words, outcome), output);
    const int opened = openSession(&session);
    if (opened != kExitDone)
        return opened;
    LineReader terminal;
    if (needsConfirmation(prepared, false))
        outcome = confirm(&session, &terminal, questionOf(options, *prepared.command));
    const bool goesOn = outcome.code == kExitDone;
    const Result result = goesOn ? execute(&session, prepared) : unsent(options.words, outcome);
    endSession(&session);
    return print(result, output);
}

// Checks that the words name a command, and the arguments of the client's own commands. Returns an
// error message, or an empty text.
std::string checkCommand(const Options& options, const Command* command, const Words& rest) {
    if (options.help || options.version)
        return "";
    if (options.words.empty())
        return "no command";
    if (command == nullptr)
        return unknownCommand(options.words);
    if (!options.units.empty() && command->run != runBatch)  // the command would go to --host
        return "--units belongs to `run`";
    if (command->run == nullptr)
        return "";
    Request none = {};
    std::string wrong = buildCommand(*command, rest, options.named, &none);
    if (command->run == runBatch && rest.size() != 1)
        wrong = "expected one recipe file, or '-' for standard input.";
    else if (options.dryRun && (command->run == check || command->run == discover))
        wrong = "needs replies, and --dry-run sends nothing";
    return wrong.empty() ? "" : std::string(command->name) + ": " + wrong;
}

// Returns true if the command prints only tables of the program and needs no account.
bool isOffline(const Options& options, const Command* command) {
    const auto run = command != nullptr ? command->run : nullptr;
    return options.help || options.version || run == list || run == help || run == complete;
}

int runOptions(const Options& options, const Command* command, Output* output) {
    if (options.help)
        return help(options, output);
    if (options.version)
        fprintf(output->file, "mfgp-station %s\n", MFGP_STATION_VERSION);
    if (options.version)
        return kExitDone;
    return command->run != nullptr ? command->run(options, output) : perform(options, output);
}

// If a standard stream is closed, the next open() would reuse its number and results could go into
// the socket. The replacement is opened in the wrong direction, so using it fails as before.
void holdStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
        if (fcntl(fd, F_GETFD) < 0)
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

int list(const Options& options, Output* output) {
    std::string name = options.words.size() > 1 ? options.words[1] : "commands";
    const std::string wrong = checkArgument("commands|options|exit-codes", &name);
    if (!wrong.empty())
        return complainOfUsage("list: '" + name + "' " + wrong);
    print(tableOf(name), *output);
    return kExitDone;
}

int complete(const Options& options, Output* output) {
    for (const std::string& word : nextWords({options.words.begin() + 1, options.words.end()}))
        fprintf(output->file, "%s\n", word.c_str());
    return kExitDone;
}

// Explains the command, the group or the table that the words name.
int help(const Options& options, Output* output) {
    Words rest;
    const bool isAsked = !options.words.empty() && plainName(options.words[0]) == "help";
    const Words topic(options.words.begin() + (isAsked ? 1 : 0), options.words.end());
    const Command* const command = findCommand(topic, &rest);
    const std::string name = command != nullptr ? command->name : joined(topic);
    Listing table = listCommands();
    if (name == "options" || name == "exit-codes")
        table = tableOf(name);
    else if (!name.empty())
        std::erase_if(table, [&](const Entry& entry) {
            return entry.name != name &&
                   (command != nullptr ||
                    (entry.group != name && !entry.name.starts_with(name + ' ')));
        });
    if (table.empty())
        return complainOfUsage(unknownCommand(topic));
    if (name.empty() && output->format == Format::Text)
        printOverview(table, *output);
    else if (command != nullptr && output->format == Format::Text)
        printDetails(*command, *output);
    else
        print(table, *output);
    return kExitDone;
}

int decode(const Options& options, Output* output) {
    Bytes datagram;
    std::string digits = joined({options.words.begin() + 1, options.words.end()});
    std::erase_if(digits, [](unsigned char character) { return isspace(character) != 0; });
    if (digits.empty())
        return complainOfUsage("decode: no hexadecimal digits");
    const std::string wrong = parseHex(digits, &datagram);
    if (!wrong.empty())
        return complainOfUsage("decode: " + wrong);
    const std::string unopened = openOutput(options, output);
    if (!unopened.empty())
        return complain(kExitLocalFault, unopened);
    const Key key = keyOf(options.user.value_or(""), options.password.value_or(""));
    Result result = unsent(options.words, {kExitDone, ""});
    result.value = {explainDatagram(datagram, key)};
    const DecodeStatus status = openReply(datagram.data(), datagram.size(), key).status;
    if (status == DecodeStatus::WrongDigest || status == DecodeStatus::Malformed)
        result.outcome = {status == DecodeStatus::Malformed ? kExitNotUnderstood : kExitAccount,
                          decodeStatusText(status)};
    return print(result, output);
}

int run(int argc, char** argv) {
    holdStandardStreams();
    Options options;
    std::string wrong = readOptions(argc, argv, &options);
    Words rest;
    const Command* const command = findCommand(options.words, &rest);
    if (wrong.empty())
        wrong = checkCommand(options, command, rest);
    if (wrong.empty())
        wrong = fillOutputName(&options);
    if (!wrong.empty())
        return complainOfUsage(wrong);
    Output output = {options.format, options.quiet};
    output.options = &options;
    output.nameWidth = usageWidth(listCommands());
    const bool offline = isOffline(options, command);
    const Outcome begun =
        offline ? Outcome{kExitLocalFault, openOutput(options, &output)} : loadAccount(&options);
    if (!begun.message.empty())
        return complain(begun.code, begun.message);
    const int code = runOptions(options, command, &output);
    return isWritten(output) ? code : complain(kExitLocalFault, "cannot write the results");
}

}  // namespace station
