#include "station/line/recipe.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "station/interrupt.h"

namespace station {
namespace {

constexpr Command kSleep = {"sleep", kTypeFromWords, 0, Access::Read, Gate::Open, ""};

Outcome prepareSleep(const Words& words, Step* step) {
    step->prepared.command = &kSleep;
    step->prepared.arguments = {words.begin() + 1, words.end()};
    const std::string wrong = words.size() == 2
                                  ? parseSeconds(words[1], 1, &step->prepared.untilSeconds)
                                  : "takes SECONDS";
    return {wrong.empty() ? kExitDone : kExitUsage, wrong};
}

// Prepares `ensure` as a write, and as the read that shows the field.
Outcome prepareWrite(Options* own, Step* step) {
    step->ensures = plainName(own->words[0]) == "ensure";
    if (step->ensures)
        own->words[0] = "set";
    Outcome outcome = prepareCommand(*own, &step->prepared);
    if (!step->ensures || outcome.code != kExitDone)
        return outcome;
    if (step->prepared.command->readBack == nullptr)
        return {kExitUsage, "no command reads '" + own->words[1] + "' back"};
    const std::string& text = step->prepared.arguments[0];
    if (step->prepared.command->build == nullptr && joined(splitAtBlanks(text)) != text)
        return {kExitUsage, "'" + text +
                                "' cannot be read back: a unit returns no blanks at the ends, and "
                                "one blank for several. Write a text without them, or use `set`"};
    step->readBack = prepareRow(commandNamed(step->prepared.command->readBack), *own);
    return outcome;
}

// Returns true if the value that was read is the one to be written: the same request comes of both.
bool isWritten(const PreparedCommand& write, const Value& value) {
    const Bytes& payload = write.request.payload;
    if (const auto* const json = std::get_if<ParsedJson>(&value.of)) {
        const Json wanted(parseJson({payload.begin(), payload.end()}));
        return json_object_equal(wanted.get(), json->object.get()) != 0;
    }
    const std::string text = textOf(value);
    Request same = {};
    return text == printable(write.arguments[0]) ||
           (buildCommand(*write.command, {text}, {}, &same).empty() && same.payload == payload);
}

// Reads the field, writes it only if it differs, and reads it back.
Result ensureField(Session* session, const Step& step) {
    Result read = execute(session, session->options.dryRun ? step.prepared : *step.readBack);
    // A read of a field that means "nothing" succeeded, although its outcome is FAIL.
    const bool isRead = read.outcome.code == kExitDone ||
                        (read.outcome.code == kExitFailed && read.info == kInfoSuccess);
    if (!isRead || read.word != nullptr)
        return read;
    const bool isThere = isWritten(step.prepared, read.value);
    if (!isThere) {
        Result write = execute(session, step.prepared);
        if (write.outcome.code != kExitDone)
            return write;
        read = execute(session, *step.readBack);
    }
    if (read.outcome.code == kExitDone && !isWritten(step.prepared, read.value))
        read.outcome = {kExitFailed, "written, but it reads back as '" + textOf(read.value) + "'"};
    else if (read.outcome.code == kExitDone)
        read.outcome.message = isThere ? "already set" : "written";
    return read;
}

void nameStep(const Step& step, Result* result) {
    result->line = step.line;
    if (step.prepared.command == nullptr)
        return;
    result->command = step.prepared.command->name;
    result->arguments = step.prepared.arguments;
    result->row = step.prepared.command;
    if (step.ensures)
        result->command.replace(0, 3, "ensure");  // instead of "set"
}

Result sleepFor(Session* session, const Step& step) {
    Result result = unsentStep(step, {kExitDone, ""});
    result.unit = session->link.unit;
    if (session->options.dryRun)
        result.word = "DRYRUN";
    else if (!pause(session, step.prepared.untilSeconds))
        result.outcome = {kExitNoAnswer, deadlineText(session->link)};
    if (interruptSignal() != 0)
        result.outcome = interrupted("");
    return result;
}

// Returns line, command and arguments, without secrets.
std::string textOf(const Step& step, const std::string& before) {
    const PreparedCommand& prepared = step.prepared;
    Words words = withoutSecrets(prepared.command, prepared.arguments);
    words.insert(words.begin(), prepared.command->name);
    return before + std::to_string(step.line) + " " + joined(words);
}

}  // namespace

Outcome prepareStep(const Options& options, std::string line, int number, Step* step) {
    if (number == 1 && line.starts_with("\xEF\xBB\xBF"))  // a byte order mark
        line.erase(0, 3);
    step->line = number;
    Options own = options;
    std::string wrong = splitWords(line, options.variables, &step->words);
    if (wrong.empty() && step->words.empty())
        return {kExitDone, ""};
    if (wrong.empty())
        wrong = parseLine(step->words, &own);
    if (wrong.empty() && own.words.empty())
        wrong = "no command";
    if (!wrong.empty())
        return {kExitUsage, wrong};
    const bool isSleep = plainName(own.words[0]) == "sleep";
    if (isSleep && !own.named.empty())
        return {kExitUsage, "does not take --" + own.named[0].name};
    return isSleep ? prepareSleep(own.words, step) : prepareWrite(&own, step);
}

int readRecipe(Session* session, LineReader* lines, std::vector<Step>* steps) {
    const Options& options = session->options;
    int code = kExitDone;
    std::string line;
    std::string risky;
    LineEvent event = LineEvent::End;
    for (int number = 1; (event = nextLine(lines, -1, &line)) == LineEvent::Line; number++) {
        Step step;
        const Outcome outcome = prepareStep(options, line, number, &step);
        if (outcome.code != kExitDone)
            code = std::max(code, print(unsentStep(step, outcome), session->output));
        else if (step.prepared.command == nullptr)
            continue;
        else if (needsConfirmation(step.prepared, true))
            risky += textOf(step, risky.empty() ? "" : ", ");
        steps->push_back(step);
    }
    if (event != LineEvent::End)
        return print(unsent(options.words, unreadable(options.words[1])), session->output);
    if (steps->empty())
        return print(unsent(options.words, emptyRecipe()), session->output);
    if (code != kExitDone || risky.empty())
        return code;
    LineReader terminal;
    const std::string units = options.units.empty() ? options.host : options.units;
    Outcome agreed =
        confirm(session, &terminal,
                "These lines write to flash on " + units + " and cannot be undone: " + risky + ".");
    agreed.message = "lines " + risky + ": " + agreed.message;
    return agreed.code == kExitDone ? kExitDone
                                    : print(unsent(options.words, agreed), session->output);
}

Outcome unreadable(const std::string& name) {
    return {kExitLocalFault, "cannot read '" + name + "': " + strerror(errno)};
}

Outcome emptyRecipe() { return {kExitUsage, "no commands in the recipe"}; }

Result executeStep(Session* session, const Step& step) {
    Result result = step.prepared.command == &kSleep ? sleepFor(session, step)
                    : step.readBack                  ? ensureField(session, step)
                                                     : execute(session, step.prepared);
    nameStep(step, &result);
    return result;
}

Result unsentStep(const Step& step, const Outcome& outcome) {
    Result result = unsent(step.words, outcome);
    nameStep(step, &result);
    return result;
}

}  // namespace station
