#include "station/run.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>

#include "station/account.h"
#include "station/batch.h"
#include "station/diagnostics.h"
#include "station/explain.h"
#include "station/listing.h"

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
};

int list(const Options& options, Output* output);
int decode(const Options& options, Output* output);
int help(const Options& options, Output* output);

constexpr size_t kAny = 1000;
constexpr LocalCommand kLocalCommands[] = {
    {"run", "FILE|-", 1, 1, runBatch, "carry out a command a line on one socket"},
    {"sheet", "", 0, 0, readSheet, "read identity and state of a unit as a table"},
    {"decode", "HEX...", 1, kAny, decode, "explain a captured datagram, given the account"},
    {"list", "[commands|options|exit-codes]", 0, 1, list, "the tables of this program"},
    {"help", "", 0, 0, help, "show this help"},
};

int complain(int code, const std::string& text) {
    say(text);
    return code;
}

int complainOfUsage(const std::string& text) {
    return complain(kExitUsage, text + " (see mfgp-station help)");
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
        local.push_back({command.name, command.arguments, {}, command.help});
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
        return complainOfUsage("list: '" + what + "' is none of commands, options and exit-codes");
    const int opened = beginOutput(options, output);
    if (opened == kExitDone)
        print(table, *output);
    return opened;
}

int help(const Options& options, Output* output) {
    const int opened = beginOutput(options, output);
    if (opened != kExitDone)
        return opened;
    fprintf(output->file, "usage: mfgp-station [options] COMMAND [ARGUMENTS]\n\noptions:\n");
    printHelp(listOptions(), *output);
    fprintf(output->file, "\ncommands:\n");
    printHelp(allCommands(), *output);
    fprintf(output->file, "\nexit codes:\n");
    printHelp(listExits(), *output);
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
        outcome = confirm(&session, &terminal, questionOf(options, prepared));
    const bool goesOn = outcome.code == kExitDone;
    const Result result = goesOn ? execute(&session, prepared) : unsent(options.words, outcome);
    endSession(&session);
    return finish(result, output);
}

const LocalCommand* findLocal(const Options& options) {
    for (const LocalCommand& command : kLocalCommands)
        if (!options.words.empty() && options.words[0] == command.name)
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

// If a standard stream is closed, the next open() would reuse its number and results could go into
// the socket. The replacement is opened in the wrong direction, so using it fails as before.
void holdStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
        if (fcntl(fd, F_GETFD) < 0)
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

int run(int argc, char** argv) {
    holdStandardStreams();
    Options options;
    std::string wrong = parseOptions(argc, argv, &options);
    if (wrong.empty())
        wrong = checkCommand(options);
    if (!wrong.empty())
        return complainOfUsage(wrong);
    const Outcome account = loadAccount(&options);
    if (account.code != kExitDone)
        return complain(account.code, account.message);
    Output output = {options.format, options.quiet};
    output.options = &options;
    output.nameWidth = usageWidth(allCommands());
    const int code = runOptions(options, &output);
    return isWritten(output) ? code : complain(kExitLocalFault, "cannot write the results");
}

}  // namespace station
