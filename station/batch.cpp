#include "station/batch.h"

#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <vector>

#include "station/diagnostics.h"
#include "station/interrupt.h"

namespace station {
namespace {

struct BatchRun {
    Session* session;
    bool keepGoing;
    size_t total = 0;  // 0: not known
    size_t number = 0;
    int last = kExitDone;  // code of the last command
    int code = kExitDone;  // of the first command that has not passed; a signal's goes before it
    Clock::time_point start = Clock::now();
};

void showCount(const BatchRun& batch, const char* name) {
    std::string text = std::to_string(batch.number);
    if (batch.total > 0)
        text += '/' + std::to_string(batch.total);
    text += "  " + std::to_string(std::lround(secondsSince(batch.start))) + " s  ";
    showProgress(text + name);
}

std::string countOfLeft(const BatchRun& batch) {
    if (batch.total == 0)
        return "";
    const size_t left = batch.total - batch.number;
    return "; " + std::to_string(left) + (left == 1 ? " command was" : " commands were") +
           " not sent";
}

Outcome unreadable(const std::string& name) {
    return {kExitLocalFault, "cannot read '" + name + "': " + strerror(errno)};
}

// Returns the batch's exit code for this end event. Prints why, unless the input simply ended.
int codeOfEnd(const BatchRun& batch, LineEvent event) {
    Outcome outcome = {batch.code, ""};
    if (event == LineEvent::TimedOut)
        outcome = {kExitNoAnswer, deadlineText(batch.session->link) + countOfLeft(batch)};
    else if (event == LineEvent::Interrupted)
        outcome = interrupted("");
    else if (event == LineEvent::Fault)
        outcome = unreadable(batch.session->options.words[1]);
    if (!outcome.message.empty())
        say(batch.session->options.words[0] + ": " + outcome.message);
    const bool isFirst = batch.code == kExitDone || event == LineEvent::Interrupted;
    return isFirst ? outcome.code : batch.code;
}

// Prints the result. Returns true when the batch goes on.
bool recordResult(BatchRun* batch, const Result& result) {
    const int code = batch->last = result.outcome.code;
    print(result, Layout::Row, batch->session->output);
    if (batch->code == kExitDone || code > kExitInterrupted)
        batch->code = code;
    const bool over = code > kExitInterrupted || !isWritten(*batch->session->output);
    return !over && (code == kExitDone || batch->keepGoing);
}

// Carries the order out unless the deadline is over. Returns true when the batch goes on.
bool carryOut(BatchRun* batch, const PreparedCommand& prepared) {
    if (Clock::now() >= batch->session->link.deadline) {
        batch->code = codeOfEnd(*batch, LineEvent::TimedOut);
        return false;
    }
    batch->number++;
    showCount(*batch, prepared.command->name);
    Result result = execute(batch->session, prepared);
    const bool isOver = Clock::now() >= batch->session->link.deadline;
    if (isOver && result.outcome.code != kExitDone)
        result.outcome.message += countOfLeft(*batch);
    return recordResult(batch, result) && !(isOver && result.outcome.code != kExitDone);
}

// Makes an order of a line; without a command there is nothing in it. Returns what is wrong with
// it.
Outcome prepareLine(const Options& options, const std::string& line, Words* words,
                    PreparedCommand* prepared) {
    std::string wrong = splitWords(line, words);
    Options own = options;
    if (wrong.empty() && !words->empty())
        wrong = parseLine(*words, &own);
    if (!wrong.empty())
        return {kExitUsage, wrong};
    return words->empty() ? Outcome{kExitDone, ""} : prepareCommand(own, prepared);
}

int refuse(const BatchRun& batch, const Outcome& outcome) {
    const Session& session = *batch.session;
    const Result result = unsent(session.options.words, outcome);
    print(result, Layout::Single, session.output);
    return result.outcome.code;
}

// Reads all lines into recipe. Returns what is wrong with the first that is.
Outcome prepareLines(const BatchRun& batch, LineReader* lines, std::vector<PreparedCommand>* recipe,
                     std::string* risky) {
    std::string line;
    LineEvent event = LineEvent::End;
    for (int number = 1; (event = nextLine(lines, -1, &line)) == LineEvent::Line; number++) {
        Words words;
        PreparedCommand prepared = {};
        const Outcome parsed = prepareLine(batch.session->options, line, &words, &prepared);
        const std::string place = "line " + std::to_string(number) + ": ";
        if (parsed.code != kExitDone)
            return {parsed.code, place + parsed.message};
        if (prepared.command == nullptr)
            continue;
        if (needsConfirmation(prepared, true))
            *risky += (risky->empty() ? place : ", " + place) + prepared.command->name;
        recipe->push_back(prepared);
    }
    if (event == LineEvent::Fault)
        return unreadable(batch.session->options.words[1]);
    return event == LineEvent::Interrupted ? interrupted("") : Outcome{kExitDone, ""};
}

int runFile(BatchRun* batch, LineReader* lines) {
    std::vector<PreparedCommand> recipe;
    std::string risky;
    Outcome outcome = prepareLines(*batch, lines, &recipe, &risky);
    LineReader terminal;
    if (outcome.code == kExitDone && !risky.empty()) {
        outcome = confirm(batch->session, &terminal, risky);
        outcome.message = risky + ": " + outcome.message;
    }
    if (outcome.code != kExitDone)
        return refuse(*batch, outcome);
    batch->total = recipe.size();
    for (const PreparedCommand& prepared : recipe)
        if (!carryOut(batch, prepared))
            break;
    return batch->code;
}

bool runLine(BatchRun* batch, LineReader* lines, const std::string& line) {
    Words words;
    PreparedCommand prepared = {};
    Outcome outcome = prepareLine(batch->session->options, line, &words, &prepared);
    if (outcome.code != kExitDone)
        return recordResult(batch, unsent(words, outcome));
    if (prepared.command == nullptr)
        return true;
    if (needsConfirmation(prepared, true)) {
        LineReader own;
        LineReader* const terminal = lines->fd == own.fd ? lines : &own;
        outcome = confirm(batch->session, terminal, prepared.command->name);
    }
    return outcome.code == kExitDone ? carryOut(batch, prepared)
                                     : recordResult(batch, unsent(words, outcome));
}

// Checks the account, reads the mode and prints it as the first row. Returns the exit code.
int beginSheet(BatchRun* batch, Mode* mode) {
    Session* const session = batch->session;
    Result row;
    row.command = "produce mode";
    row.unit = session->link.unit;
    row.outcome = proveAccount(session);
    if (row.outcome.code == kExitDone)
        *mode = readMode(session);
    if (*mode != Mode::Unknown)
        row.value = {*mode == Mode::Produce};
    row.seconds = secondsSince(batch->start);
    recordResult(batch, row);
    return row.outcome.code;
}

// Reads one row of the sheet. A gated row outside produce mode is not sent. Returns true if the
// sheet goes on.
bool readRow(BatchRun* batch, const PreparedCommand& row, Mode mode) {
    if (mode != Mode::Other || row.command->gate == Gate::Open)
        return carryOut(batch, row);
    batch->number++;
    Result skipped = unsent({}, {kExitDone, "not readable: the unit is not in produce mode"});
    skipped.command = row.command->name;
    skipped.unit = batch->session->link.unit;
    skipped.word = "SKIPPED";
    return recordResult(batch, skipped);
}

int runStream(BatchRun* batch, LineReader* lines) {
    std::string line;
    LineEvent event = LineEvent::End;
    while ((event = readLine(batch->session, lines, &line)) == LineEvent::Line)
        if (!runLine(batch, lines, line))
            return batch->code;
    return codeOfEnd(*batch, event);
}

}  // namespace

int runBatch(const Options& options, Output* output) {
    Session session = {options, output};
    BatchRun batch = {&session, options.keepGoing};
    const std::string& name = options.words.at(1);
    const File file(name == "-" ? nullptr : fopen(name.c_str(), "re"));
    LineReader lines;
    if (name != "-")
        lines.fd = file ? fileno(file.get()) : -1;
    struct stat status = {};
    if (lines.fd < 0 || fstat(lines.fd, &status) != 0)  // errno: of either
        return refuse(batch, unreadable(name));
    const int opened = openSession(&session);
    if (opened != kExitDone)
        return opened;
    const int code = S_ISREG(status.st_mode) ? runFile(&batch, &lines) : runStream(&batch, &lines);
    endSession(&session);
    return code;
}

int readSheet(const Options& options, Output* output) {
    Session session = {options, output};
    BatchRun batch = {&session, true};
    std::vector<PreparedCommand> recipe;
    for (const Command& command : commands())
        if (command.sheet == Sheet::Yes)
            recipe.push_back(prepareRow(command, options));
    batch.total = recipe.size();
    int code = openSession(&session);
    Mode mode = Mode::Unknown;
    if (code == kExitDone && !options.dryRun)
        code = beginSheet(&batch, &mode);
    for (size_t i = 0; code == kExitDone && i < recipe.size(); i++) {
        if (batch.last == kExitNoAnswer)  // otherwise a unit that was switched off takes a minute
            recipe[i].retry = {1, options.timeout};
        if (!readRow(&batch, recipe[i], mode))
            break;
    }
    endSession(&session);
    return code != kExitDone ? code : batch.code;
}

}  // namespace station
