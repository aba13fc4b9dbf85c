#include "station/batch.h"

#include <sys/stat.h>

#include <cmath>

#include "station/diagnostics.h"
#include "station/interrupt.h"
#include "station/line/units.h"

namespace station {
namespace {

struct BatchRun {
    Session* session;
    Tally* tally;
    bool keepGoing;
    size_t number = 0;
    int last = kExitDone;           // code of the last command
    Outcome end = {kExitDone, ""};  // code of the first command that did not pass, or of a signal
};

void showCount(const BatchRun& batch, const char* name) {
    batch.tally->command = name;
    if (!batch.session->output->prefix.empty())  // one of several units: the parent shows it
        return;
    std::string text = std::to_string(batch.number);
    if (batch.tally->total > 0)
        text += '/' + std::to_string(batch.tally->total);
    text += "  " + std::to_string(std::lround(secondsSince(batch.tally->start))) + " s  ";
    showProgress(text + name);
}

std::string countOfLeft(const BatchRun& batch) {
    if (batch.tally->total == 0)
        return "; no further commands were sent";
    const size_t left = batch.tally->total - batch.number;
    return "; " + std::to_string(left) + (left == 1 ? " command was" : " commands were") +
           " not sent";
}

// Records why the input or the time has ended. Prints the reason, if there is one.
void noteEnd(BatchRun* batch, LineEvent event) {
    Outcome outcome = {batch->end.code, ""};
    if (event == LineEvent::TimedOut)
        outcome = {kExitNoAnswer, deadlineText(batch->session->link) + countOfLeft(*batch)};
    else if (event == LineEvent::Interrupted)
        outcome = interrupted("");
    else if (event == LineEvent::End && batch->number == 0 && outcome.code == kExitDone)
        outcome = emptyRecipe();
    else if (event == LineEvent::Fault)
        outcome = unreadable(batch->session->options.words[1]);
    if (!outcome.message.empty())
        say(batch->session->options.words[0] + ": " + outcome.message);
    batch->end.message = outcome.message;
    if (batch->end.code == kExitDone || event == LineEvent::Interrupted)
        batch->end.code = outcome.code;
}

void count(const Result& result, Tally* tally) {
    const int code = result.outcome.code;
    const bool isSkipped = result.word != nullptr;  // SKIPPED or DRYRUN
    (isSkipped             ? tally->skipped
     : code == kExitDone   ? tally->passed
     : code == kExitFailed ? tally->failed
                           : tally->errors)++;
}

// Prints the result. Returns true when the batch goes on.
bool recordResult(BatchRun* batch, const Result& result) {
    const int code = batch->last = result.outcome.code;
    count(result, batch->tally);
    print(result, batch->session->output, Layout::Row);
    if (batch->end.code == kExitDone || code > kExitInterrupted)
        batch->end.code = code;
    const bool over = code > kExitInterrupted || !isWritten(*batch->session->output);
    return !over && (code == kExitDone || batch->keepGoing);
}

// Carries the step out unless the deadline is over. Returns true when the batch goes on.
bool carryOut(BatchRun* batch, const Step& step) {
    if (Clock::now() >= batch->session->link.deadline) {
        noteEnd(batch, LineEvent::TimedOut);
        return false;
    }
    batch->number++;
    showCount(*batch, step.prepared.command->name);
    Result result = executeStep(batch->session, step);
    const bool isOver =
        result.outcome.code != kExitDone && Clock::now() >= batch->session->link.deadline;
    if (isOver)
        result.outcome.message += countOfLeft(*batch);
    return recordResult(batch, result) && !isOver;
}

// Records a step that is not sent. Returns true when the batch goes on.
bool skip(BatchRun* batch, const Step& step, const char* why, bool isShown) {
    batch->number++;
    Result result = unsentStep(step, {kExitDone, ""});
    result.outcome = {kExitDone, why};
    result.unit = batch->session->link.unit;
    result.word = "SKIPPED";
    if (isShown)
        return recordResult(batch, result);
    count(result, batch->tally);
    return true;
}

// Prints the record of the start.
void begin(BatchRun* batch, size_t total) {
    const Output& output = *batch->session->output;
    batch->tally->total = static_cast<unsigned>(total);
    batch->tally->start = Clock::now();
    batch->tally->time = std::chrono::system_clock::now();
    if (output.quiet || output.format != Format::Json)
        return;
    JsonRecord record("start", batch->session->link.unit, output);
    record.add("commands", total > 0 ? json_object_new_int64(batch->tally->total) : nullptr);
    record.add("start", jsonString(timeText(batch->tally->time)));
    print(record, output);
}

// Ends the batch and skips the steps that were not reached. Returns the exit code.
int finish(BatchRun* batch, std::span<const Step> left) {
    const Output& output = *batch->session->output;
    for (const Step& step : left)  // not shown as text, which would hide the failure before them
        skip(batch, step, "not reached", output.format == Format::Json);
    printEnd(*batch->tally, batch->end, batch->session->link.unit, output);
    endSession(batch->session);
    return batch->end.code;
}

bool runLine(BatchRun* batch, LineReader* lines, const std::string& line, int number) {
    Step step;
    Outcome outcome = prepareStep(batch->session->options, line, number, &step);
    const Command* const command = step.prepared.command;
    if (outcome.code == kExitDone && command == nullptr)
        return true;
    if (outcome.code == kExitDone && needsConfirmation(step.prepared, true)) {
        LineReader own;
        LineReader* const terminal = lines->fd == own.fd ? lines : &own;
        outcome = confirm(batch->session, terminal, questionOf(batch->session->options, *command));
    }
    return outcome.code == kExitDone ? carryOut(batch, step)
                                     : recordResult(batch, unsentStep(step, outcome));
}

int runStream(BatchRun* batch, LineReader* lines) {
    std::string line;
    LineEvent event = LineEvent::End;
    begin(batch, 0);
    for (int number = 1; (event = readLine(batch->session, lines, &line)) == LineEvent::Line;
         number++)
        if (!runLine(batch, lines, line, number))
            return finish(batch, {});
    noteEnd(batch, event);
    return finish(batch, {});
}

// Checks the account, reads the mode and prints it as the first row. Returns true if the sheet goes
// on.
bool beginSheet(BatchRun* batch, Mode* mode) {
    Session* const session = batch->session;
    Result row;
    batch->number++;
    row.command = "produce mode";
    row.unit = session->link.unit;
    row.outcome = proveAccount(session);
    const bool goesOn = row.outcome.code == kExitDone;
    for (unsigned i = 0; goesOn && *mode == Mode::Unknown && i <= session->options.retries; i++)
        *mode = readMode(session);
    if (*mode != Mode::Unknown)
        row.value = {*mode == Mode::Produce};
    else if (goesOn)
        row.outcome = {kExitNoAnswer, "no reply shows the mode"};
    row.seconds = secondsSince(batch->tally->start);
    recordResult(batch, row);
    return goesOn;
}

}  // namespace

std::string countsText(const Tally& tally) {
    char text[128];
    snprintf(text, sizeof text, "%u passed, %u failed, %u errors, %u skipped", tally.passed.load(),
             tally.failed.load(), tally.errors.load(), tally.skipped.load());
    return text;
}

void printEnd(const Tally& tally, const Outcome& end, const std::string& unit,
              const Output& output) {
    const double seconds = secondsSince(tally.start);
    if (output.quiet)
        return;
    if (output.format == Format::Text && output.prefix.empty())
        fprintf(output.file, "%s in %.1f s\n", countsText(tally).c_str(), seconds);
    if (output.format == Format::Text)
        return;
    JsonRecord record("end", unit, output);
    record.add("exit", json_object_new_int(end.code));
    record.add("message", stringOrNull(end.message));
    record.add("passed", json_object_new_int64(tally.passed));
    record.add("failed", json_object_new_int64(tally.failed));
    record.add("errors", json_object_new_int64(tally.errors));
    record.add("skipped", json_object_new_int64(tally.skipped));
    record.add("start", jsonString(timeText(tally.time)));
    record.add("milliseconds", json_object_new_int64(std::lround(seconds * 1000)));
    print(record, output);
}

int runSteps(Session* session, std::span<const Step> steps, Tally* tally) {
    BatchRun batch = {session, tally, session->options.keepGoing};
    begin(&batch, steps.size());
    size_t at = 0;
    while (at < steps.size() && carryOut(&batch, steps[at]))
        at++;
    return finish(&batch, steps.subspan(batch.number));
}

int runBatch(const Options& options, Output* output) {
    Session session = {options, output};
    Tally tally;
    const std::string& name = options.words.at(1);
    const File file(name == "-" ? nullptr : fopen(name.c_str(), "re"));
    LineReader lines;
    if (name != "-")
        lines.fd = file ? fileno(file.get()) : -1;
    struct stat status = {};
    if (lines.fd < 0 || fstat(lines.fd, &status) != 0)  // fopen and fstat both set errno
        return print(unsent(options.words, unreadable(name)), output);
    if (!options.units.empty())
        return runUnits(&session, &lines);
    int code = openSession(&session);
    BatchRun batch = {&session, &tally, options.keepGoing};
    if (code == kExitDone && !S_ISREG(status.st_mode))
        return runStream(&batch, &lines);
    std::vector<Step> steps;
    if (code == kExitDone)
        code = readRecipe(&session, &lines, &steps);
    return code == kExitDone ? runSteps(&session, steps, &tally) : code;
}

int readSheet(const Options& options, Output* output) {
    Session session = {options, output};
    Tally tally;
    BatchRun batch = {&session, &tally, true};
    std::vector<Step> steps;
    for (const Command& command : commands())
        if (command.isOnSheet)
            steps.push_back({0, {}, false, prepareRow(command, options), {}});
    const int opened = openSession(&session);
    if (opened != kExitDone)
        return opened;
    const size_t own = options.dryRun ? 0 : 1;  // the row of the mode
    begin(&batch, own + steps.size());
    Mode mode = Mode::Unknown;
    bool goesOn = options.dryRun || beginSheet(&batch, &mode);
    for (size_t i = 0; goesOn && i < steps.size(); i++) {
        PreparedCommand& row = steps[i].prepared;
        if (batch.last == kExitNoAnswer)  // otherwise the rows of a unit that is off take a minute
            row.retry = {1, options.timeout};
        const bool isRefused = mode == Mode::Other && row.command->gate == Gate::ProduceMode;
        goesOn = isRefused
                     ? skip(&batch, steps[i], "not readable: the unit is not in produce mode", true)
                     : carryOut(&batch, steps[i]);
    }
    return finish(&batch, std::span(steps).subspan(batch.number - own));
}

}  // namespace station
