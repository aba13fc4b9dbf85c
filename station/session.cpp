#include "station/session.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "station/diagnostics.h"
#include "station/explain.h"
#include "station/interrupt.h"
#include "station/limits.h"
#include "station/settings.h"

namespace station {
namespace {

constexpr double kPollSeconds = 1;
constexpr double kPollTotalSeconds = 60;
constexpr double kUntilPause = 0.5;  // seconds between two reads of --until

RetryPolicy retryPolicyOf(const Command& command, const Options& options) {
    constexpr double kRefusalSeconds = 0.2;  // a cancel is answered only by a refusal
    const unsigned tries = 1 + options.retries;
    if (command.type == kTypeCancelTest)
        return {1, std::min(options.timeout, kRefusalSeconds)};
    if (command.access == Access::Poll) {
        const double seconds = std::min(options.timeout, kPollSeconds);
        const double total = options.deadline > 0 ? options.deadline : kPollTotalSeconds;
        return {static_cast<unsigned>(std::ceil(total / seconds)), seconds, true};
    }
    if (isRepeatable(command))
        return {tries, options.timeout + command.toolSeconds};
    // Sent once, and waits as long as all attempts of a read together.
    return {1, options.timeout * tries + command.toolSeconds};
}

Result resultOf(const PreparedCommand& prepared, const std::string& unit) {
    Result result;
    result.command = prepared.command->name;
    result.arguments = prepared.arguments;
    result.row = prepared.command;
    result.unit = unit;
    result.measure = prepared.command->unit;
    result.limits = prepared.limits;
    result.isSecret = isSecret(prepared.request.type, prepared.request.subType);
    return result;
}

Result showDatagram(Session* session, const PreparedCommand& prepared) {
    Link& link = session->link;
    Result result = resultOf(prepared, link.unit);
    result.packetId = link.nextId++;
    const Bytes datagram = buildRequest(prepared.request, *result.packetId, link.key);
    if (link.verbosity > 0)
        say(textOf({headerFields(datagram, link.key)}));
    result.value = {hexOf(datagram)};
    result.word = "DRYRUN";
    return result;
}

void recordReply(const Command& command, const Reply& reply, Result* result) {
    if (reply.hasId)
        result->info = reply.info;
    if (reply.status == DecodeStatus::ShortForm)
        result->info = kInfoWrongVersion;
    if (reply.status != DecodeStatus::Whole)
        return;
    result->raw = reply.payload;
    // A raw packet shows its reply, whatever the info code.
    const bool isShown = result->outcome.code == kExitDone || command.type == kTypeFromWords;
    if (command.format != nullptr && isShown)
        result->value = command.format(reply);
}

// Sends a command and waits for its reply.
Answer exchange(Session* session, const PreparedCommand& prepared) {
    Answer answer = ask(&session->link, prepared.request, prepared.retry);
    if (answer.tries > 0)
        session->bound = prepared.request.type != kTypeCancelTest;
    if (answer.status == ExchangeStatus::Answered && answer.reply.status == DecodeStatus::Whole &&
        !answer.reply.payload.empty())
        session->accountProven = true;
    return answer;
}

// A request without payload has no part that depends on the key, so the unit obeys it under any
// account. A request that changes the unit is sent only after a reply has proven the account.
bool needsProof(const Session& session, const PreparedCommand& prepared) {
    return !session.accountProven && accessOf(prepared.request) >= Access::Test &&
           prepared.request.type != kTypeCancelTest;
}

// Adds the cause of info 3 to the message. A unit sends info 3 both for a refusal outside produce
// mode and for a failure.
void nameCause(Session* session, const PreparedCommand& prepared, Result* result) {
    const bool isAsked = result->outcome.code == kExitFailed && result->info == kInfoFailed &&
                         prepared.command->gate == Gate::ProduceMode &&
                         session->options.retries > 0;
    if (isAsked)
        result->outcome.message = refusalText(*prepared.command, readMode(session));
}

// Sends a command, waits for its reply and judges it.
void askOnce(Session* session, const PreparedCommand& prepared, Result* result) {
    const Answer answer = exchange(session, prepared);
    result->outcome = outcomeOf(*prepared.command, prepared.request, answer, session->link);
    result->tries += answer.tries;
    result->info.reset();  // an earlier attempt of --until may have had a reply
    result->raw.reset();
    result->value = {};
    if (answer.tries > 0)
        result->packetId = static_cast<uint16_t>(session->link.nextId - 1);
    if (answer.status == ExchangeStatus::Answered)
        recordReply(*prepared.command, answer.reply, result);
    judge(*prepared.command, result->isSecret && !session->options.showSecrets, result);
}

// If the command takes @FILE, replaces the file's name, with or without @, by its text. Returns an
// error message, or an empty text.
std::string loadArgumentFile(const Command& command, Words* words) {
    const bool takesFile = std::string_view(command.arguments).ends_with("@FILE");
    if (!takesFile || words->size() != 1 || words->front().empty() || words->front()[0] == '{')
        return "";
    std::string& text = words->front();
    std::string wrong = readFile(text.substr(text[0] == '@' ? 1 : 0), &text);
    text.erase(text.find_last_not_of("\r\n") + 1);
    return wrong;
}

}  // namespace

Outcome prepareCommand(const Options& options, PreparedCommand* prepared) {
    Words rest;
    const Command* const command = findCommand(options.words, &rest);
    if (options.words.empty())
        return {kExitUsage, "the line has options but no command"};
    if (command == nullptr)
        return {kExitUsage, unknownCommand(options.words)};
    if (command->run != nullptr)
        return {kExitUsage, std::string("`") + command->name + "` is not allowed in a recipe"};
    *prepared = prepareRow(*command, options);
    prepared->arguments = rest;
    for (const NamedValue& given : options.named)
        prepared->arguments.push_back("--" + given.name + (given.value.empty() ? "" : "=") +
                                      given.value);
    std::string wrong = loadArgumentFile(*command, &rest);
    if (!wrong.empty())
        return {kExitLocalFault, wrong};
    NamedValues named = options.named;
    wrong = extractLimits(*command, &named, &prepared->limits, &prepared->untilSeconds);
    if (options.dryRun && named.size() < options.named.size())
        return {kExitUsage, "a limit needs a reply, and --dry-run sends nothing"};
    if (wrong.empty())
        wrong = buildCommand(*command, rest, named, &prepared->request);
    return {wrong.empty() ? kExitDone : kExitUsage, wrong};
}

PreparedCommand prepareRow(const Command& command, const Options& options) {
    const RetryPolicy retry = retryPolicyOf(command, options);
    return {&command, {}, {command.type, command.subType, {}}, retry, options.yes};
}

int openSession(Session* session) {
    const Options& options = session->options;
    std::string wrong = openOutput(options, session->output);
    prepareLink(options, &session->link);
    if (wrong.empty() && !options.dryRun)
        wrong = openLink(options, &session->link);
    if (options.deadline > 0)
        session->link.deadline = secondsFromNow(options.deadline);
    watchInterrupts();
    if (wrong.empty())
        return kExitDone;
    Result result = unsent(options.words, {kExitLocalFault, wrong});
    result.unit = session->link.unit;
    return print(result, session->output);
}

Outcome proveAccount(Session* session) {
    const PreparedCommand read = prepareRow(commandNamed("config get"), session->options);
    const Answer answer = exchange(session, read);
    Outcome outcome = outcomeOf(*read.command, read.request, answer, session->link);
    if (outcome.code == kExitDone && !session->accountProven)
        outcome = {kExitNotUnderstood, "the reply to `config get` has no payload"};
    return outcome;
}

Mode readMode(Session* session) {
    if (session->options.verbosity > 0)
        say("asking `get product-id` to learn whether the unit is in produce mode");
    PreparedCommand read = prepareRow(commandNamed("get product-id"), session->options);
    read.retry.tries = 1;
    const Reply reply = exchange(session, read).reply;
    if (reply.status != DecodeStatus::Whole || !reply.hasId)  // without an id, there was no reply
        return Mode::Unknown;
    if (reply.info == kInfoSuccess)
        return Mode::Produce;
    return reply.info == kInfoFailed ? Mode::Other : Mode::Unknown;
}

Result execute(Session* session, const PreparedCommand& prepared) {
    if (session->options.dryRun)
        return showDatagram(session, prepared);
    Result result = resultOf(prepared, session->link.unit);
    if (needsProof(*session, prepared)) {
        result.outcome = proveAccount(session);
        if (result.outcome.code != kExitDone) {
            result.outcome.message += ". `" + result.command + "` was not sent";
            return result;
        }
    }
    const auto start = Clock::now();
    const auto last = start + std::chrono::duration<double>(prepared.untilSeconds - kUntilPause);
    askOnce(session, prepared, &result);
    while (result.outcome.code == kExitFailed && Clock::now() < last && pause(session, kUntilPause))
        askOnce(session, prepared, &result);
    const bool isOpen = prepared.untilSeconds > 0 && result.outcome.code == kExitFailed;
    if (isOpen && interruptSignal() != 0)
        result.outcome = interrupted("");
    else if (isOpen && Clock::now() >= session->link.deadline)
        result.outcome = {kExitNoAnswer,
                          deadlineText(session->link) + ": " + result.outcome.message};
    result.seconds = secondsSince(start);
    nameCause(session, prepared, &result);
    return result;
}

bool pause(Session* session, double seconds) {
    const auto deadline = session->link.deadline;
    session->link.deadline = std::min(deadline, secondsFromNow(seconds));
    LineReader none = {.fd = -1};
    std::string line;
    const bool isWhole = readLine(session, &none, &line) == LineEvent::TimedOut;
    session->link.deadline = deadline;
    return isWhole && Clock::now() < deadline;
}

void endSession(Session* session) {
    session->link.deadline = Clock::time_point::max();
    if (session->bound && session->options.release)
        ask(&session->link, {kTypeCancelTest, 0, {}},
            {.tries = 1, .seconds = 0, .whateverTheSignal = true});
    session->bound = false;
}

Result unsent(const Words& words, const Outcome& outcome) {
    Result result;
    result.row = findCommand(words, &result.arguments);
    const bool isNamed = !words.empty() && !words[0].starts_with('-');  // by its first word
    if (result.row == nullptr)
        result.arguments.assign(words.begin() + (isNamed ? 1 : 0), words.end());
    result.command = result.row != nullptr ? result.row->name : isNamed ? words[0] : "";
    result.outcome = interruptSignal() != 0 ? interrupted("") : outcome;
    return result;
}

LineEvent readLine(Session* session, LineReader* reader, std::string* line) {
    const auto never = Clock::time_point::max();
    const auto deadline = session->link.deadline;
    const bool beats = session->bound && session->options.heartbeat > 0;
    while (Clock::now() < deadline) {
        const auto end =
            std::min(deadline, beats ? secondsFromNow(session->options.heartbeat) : never);
        const LineEvent event = nextLine(reader, end == never ? -1 : millisecondsUntil(end), line);
        if (event != LineEvent::TimedOut)
            return event;
        if (beats)
            ask(&session->link, {kTypeHeartbeat, 0, {}}, {1, kPollSeconds});
    }
    return LineEvent::TimedOut;
}

bool needsConfirmation(const PreparedCommand& prepared, bool inBatch) {
    return !prepared.confirmed &&
           accessOf(prepared.request) >= (inBatch ? Access::Flash : Access::Erase);
}

Outcome confirm(Session* session, LineReader* terminal, const std::string& question) {
    if (session->options.dryRun)
        return {kExitDone, ""};
    if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0)
        return {kExitUsage,
                "needs --yes: this cannot be undone, and there is no terminal to ask on"};
    clearProgress();
    fprintf(stderr, "%s Continue? [y/N] ", question.c_str());
    std::string answer;
    const bool agreed =
        readLine(session, terminal, &answer) == LineEvent::Line &&
        (strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0);
    return agreed ? Outcome{kExitDone, ""} : Outcome{kExitUsage, "not confirmed"};
}

std::string questionOf(const Options& options, const Command& command) {
    const std::string help = command.help;
    return std::string(command.name) + " on " + options.host + ": " +
           help.substr(0, help.find(';')) + ". This cannot be undone.";
}

}  // namespace station
