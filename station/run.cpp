#include "station/run.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>

#include "completions/complete.h"
#include "station/account.h"
#include "station/batch.h"
#include "station/diagnostics.h"
#include "station/explain.h"
#include "station/listing.h"
#include "station/settings.h"

namespace station {
namespace {

// A command that the client carries out itself.
struct LocalCommand {
    const char* name;
    const char* arguments;
    size_t least;  // number of arguments
    size_t most;
    int (*run)(const Options& options, Output* output);
    const char* help;
    const char* example;
};

int list(const Options& options, Output* output);
int decode(const Options& options, Output* output);
int help(const Options& options, Output* output);
int complete(const Options& options, Output* output);

constexpr size_t kAny = 1000;
constexpr const char* kTables = "commands|options|exit-codes";
constexpr LocalCommand kLocalCommands[] = {
    {"run", "FILE|-", 1, 1, runBatch, "carry out a command a line on one socket", "recipe.txt"},
    {"sheet", "", 0, 0, readSheet, "read identity and state of a unit as a table", ""},
    {"decode", "HEX...", 1, kAny, decode, "explain a captured datagram, given the account",
     "020300000000000001023700ffdb440863683849f4287601b004120e"},
    {"list", kTables, 0, kAny, list, "the tables of this program", "options"},
    {"completions", "WORD...", 0, kAny, complete,
     "the words that a shell can offer for the last one", "-- get m"},
    {"help", "[TOPIC]", 0, kAny, help, "explain a command, a group, options or exit-codes",
     "get mac"},
};

int complain(int code, const std::string& text) {
    say(text);
    return code;
}

int complainOfUsage(const std::string& text) {
    return complain(kExitUsage, text + (text.ends_with('?') ? "" : " (see mfgp-station help)"));
}

// Opens the output for what prints without a session. Returns the exit code, after a complaint if
// it is not 0.
int beginOutput(const Options& options, Output* output) {
    const std::string wrong = openOutput(options, output);
    return wrong.empty() ? kExitDone : complain(kExitLocalFault, wrong);
}

Listing allCommands() {
    std::vector<Entry> local;
    for (const LocalCommand& command : kLocalCommands)
        local.push_back(
            {command.name, command.arguments, {}, command.help, "client", command.example});
    return listCommands(local);
}

int list(const Options& options, Output* output) {
    const std::string what = options.words.size() > 1 ? options.words[1] : "commands";
    Listing table = {};
    if (what == "commands")
        table = allCommands();
    else if (what == "options")
        table = listOptions();
    else if (what == "exit-codes")
        table = listExits();
    else
        return complainOfUsage("list: '" + what + "' is none of " + kTables);
    const int opened = beginOutput(options, output);
    if (opened == kExitDone)
        print(table, *output);
    return opened;
}

int complete(const Options& options, Output* output) {
    for (const std::string& word :
         nextWords({options.words.begin() + 1, options.words.end()}, allCommands()))
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
    Listing table = allCommands();
    if (name == "options" || name == "exit-codes")
        table = name == "options" ? listOptions() : listExits();
    else if (!name.empty())
        std::erase_if(table.entries, [&](const Entry& entry) {
            return entry.name != name &&
                   (command != nullptr ||
                    (entry.group != name && !entry.name.starts_with(name + ' ')));
        });
    if (table.entries.empty())
        return complainOfUsage(unknownCommand(topic));
    const int opened = beginOutput(options, output);
    if (opened != kExitDone)
        return opened;
    if (name.empty() && output->format == Format::Text)
        printOverview(table, *output);
    else if (table.entries.size() == 1 && output->format == Format::Text)
        printDetails(table.entries[0], command, *output);
    else
        print(table, *output);
    return kExitDone;
}

int finish(const Result& result, Output* output) {
    print(result, Layout::Single, output);
    return result.outcome.code;
}

int codeOf(DecodeStatus status) {
    if (status == DecodeStatus::WrongDigest)
        return kExitAccount;
    return status == DecodeStatus::Malformed ? kExitNotUnderstood : kExitDone;
}

int decode(const Options& options, Output* output) {
    Bytes datagram;
    std::string digits;
    for (size_t i = 1; i < options.words.size(); i++)
        digits += options.words[i];
    std::erase_if(digits, [](unsigned char character) { return isspace(character) != 0; });
    if (digits.empty())
        return complainOfUsage("decode: no hexadecimal digits");
    const std::string wrong = parseHex(digits, &datagram);
    if (!wrong.empty())
        return complainOfUsage("decode: " + wrong);
    const int opened = beginOutput(options, output);
    if (opened != kExitDone)
        return opened;
    const Key key = keyOf(options.user.value_or(""), options.password.value_or(""));
    Result result = unsent(options.words, {kExitDone, ""});
    result.value = {explainDatagram(datagram, key)};
    const DecodeStatus status = openReply(datagram.data(), datagram.size(), key).status;
    const int code = codeOf(status);
    result.outcome = {code, code == kExitDone ? "" : decodeStatusText(status)};
    return finish(result, output);
}

int perform(const Options& options, Output* output) {
    Session session = {options, output};
    PreparedCommand prepared = {};
    Outcome outcome = prepareCommand(options, &prepared);
    if (outcome.code != kExitDone)
        return finish(unsent(options.words, outcome), output);
    const int opened = openSession(&session);
    if (opened != kExitDone)
        return opened;
    LineReader terminal;
    if (needsConfirmation(prepared, false))
        outcome = confirm(&session, &terminal, questionOf(options, *prepared.command));
    const bool goesOn = outcome.code == kExitDone;
    const Result result = goesOn ? execute(&session, prepared) : unsent(options.words, outcome);
    endSession(&session);
    return finish(result, output);
}

const LocalCommand* findLocal(const Options& options) {
    for (const LocalCommand& command : kLocalCommands)
        if (!options.words.empty() && plainName(options.words[0]) == command.name)
            return &command;
    return nullptr;
}

// Checks that the words name a command; of those of the client its arguments as well. Returns what
// is wrong, or an empty text.
std::string checkCommand(const Options& options) {
    if (options.help || options.version)
        return "";
    if (options.words.empty())
        return "no command";
    const LocalCommand* const local = findLocal(options);
    if (local == nullptr) {
        Words rest;
        const bool isKnown = findCommand(options.words, &rest) != nullptr;
        return isKnown ? "" : unknownCommand(options.words);
    }
    const size_t count = options.words.size() - 1;
    if (!options.named.empty())
        return std::string(local->name) + ": does not take --" + options.named[0].name;
    if (count >= local->least && count <= local->most)
        return "";
    const std::string takes = local->arguments[0] != '\0' ? local->arguments : "no arguments";
    return std::string(local->name) + ": takes " + takes;
}

int runOptions(const Options& options, Output* output) {
    if (options.help)
        return help(options, output);
    if (options.version) {
        const int opened = beginOutput(options, output);
        if (opened == kExitDone)
            fprintf(output->file, "mfgp-station %s\n", MFGP_STATION_VERSION);
        return opened;
    }
    const LocalCommand* const local = findLocal(options);
    return local != nullptr ? local->run(options, output) : perform(options, output);
}

bool needsAccount(const Options& options) {
    const LocalCommand* const local = findLocal(options);
    const bool isTable =
        local != nullptr && (local->run == list || local->run == help || local->run == complete);
    return !isTable && !options.help && !options.version;
}

// If a standard stream is closed, the next open() would reuse its number and results could go into
// the socket. The replacement is opened in the wrong direction, so using it fails as before.
void holdStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
        if (fcntl(fd, F_GETFD) < 0)
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

Words localNames() {
    Words names;
    for (const LocalCommand& command : kLocalCommands)
        names.emplace_back(command.name);
    return names;
}

int run(int argc, char** argv) {
    holdStandardStreams();
    Options options;
    std::string wrong = readOptions(argc, argv, &options);
    if (wrong.empty())
        wrong = checkCommand(options);
    if (!wrong.empty())
        return complainOfUsage(wrong);
    if (needsAccount(options)) {
        const Outcome account = loadAccount(&options);
        if (account.code != kExitDone)
            return complain(account.code, account.message);
    }
    Output output = {options.format, options.quiet};
    output.options = &options;
    output.nameWidth = usageWidth(allCommands());
    const int code = runOptions(options, &output);
    return isWritten(output) ? code : complain(kExitLocalFault, "cannot write the results");
}

}  // namespace station
