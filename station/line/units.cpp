#include "station/line/units.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "station/diagnostics.h"
#include "station/interrupt.h"
#include "station/settings.h"

namespace station {
namespace {

constexpr size_t kMostRecordBytes = 1 << 20;  // a record contains a reply of 64 KiB twice, escaped

struct Unit {
    std::string name;
    std::string column;      // the name, padded to the longest one
    Tally* tally = nullptr;  // the child writes it
    pid_t pid = -1;          // 0: has ended
    int code = kExitLocalFault;
    Options options = {};
};

// Reads the units from a file with one per line, or from a list with commas.
std::string readUnits(const Options& options, std::vector<Unit>* units) {
    std::string text;
    if (!readFile(options.units, &text).empty())
        text = options.units;
    std::ranges::replace(text, ',', '\n');
    std::erase(text, '\r');
    std::istringstream lines(text);
    std::string wrong;
    Words names;
    for (std::string line; wrong.empty() && std::getline(lines, line);)
        wrong = splitWords(line, options.variables, &names);
    if (names.empty())
        return wrong.empty() ? std::string("no units") : wrong;
    const size_t width = 2 + std::ranges::max(names, {}, &std::string::size).size();
    for (size_t i = 0; i < names.size() && wrong.empty(); i++) {
        units->push_back({names[i], names[i] + std::string(width - names[i].size(), ' ')});
        wrong = readOptionsOf(names[i], options, &units->back().options);
        // Otherwise the unit would refuse to write a field again, and a good unit would fail.
        if (std::ranges::count(names, names[i]) > 1)
            wrong = "'" + names[i] + "' is named twice";
    }
    return wrong;
}

// Runs in the child: carries the steps out and ends the process. All children share the output, and
// each writes complete records.
[[noreturn]] void beChild(const Session& parent, const Unit& unit, std::span<const Step> steps) {
    setpgid(0, 0);  // an interrupt from the terminal reaches only the parent, which passes it on
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    Options options = unit.options;
    options.outputFile = "-";
    parent.output->prefix = unit.column;
    setvbuf(parent.output->file, nullptr, _IOFBF, kMostRecordBytes);
    Session session = {options, parent.output};
    int code = openSession(&session);
    parent.output->reachesErrors = true;  // no messages: the table at the end shows the failures
    if (code == kExitDone)
        code = runSteps(&session, steps, unit.tally);
    if (isWritten(*session.output))
        _exit(code);
    say(unit.name + ": cannot write the results");
    _exit(kExitLocalFault);
}

// Shows one line for each unit that is still running, at most 20.
void showRunning(const std::vector<Unit>& units) {
    constexpr int kMostLines = 20;
    std::string text;
    int lines = 0;
    for (const Unit& unit : units) {
        if (unit.pid <= 0 || ++lines > kMostLines)
            continue;
        const Tally& tally = *unit.tally;
        const unsigned done = tally.passed + tally.failed + tally.errors;
        text += unit.column + std::to_string(done) + "/" + std::to_string(tally.total) + "  " +
                tally.command.load() + "\n";
    }
    showProgress(text + (lines > kMostLines ? "and more units" : ""));
}

// If commands have no record, writes the end record that the unit's process did not write. One
// command counts as an error, and the others as not sent.
void recordLost(Unit* unit, const std::string& why, const Output& output) {
    Tally& tally = *unit->tally;
    const unsigned lost = tally.total - tally.passed - tally.failed - tally.errors - tally.skipped;
    if (lost == 0)
        return;
    tally.errors++;
    tally.skipped += lost - 1;
    say(unit->name + ": " + why);
    if (output.format == Format::Json)
        printEnd(tally, {unit->code, why},
                 unit->options.host + ":" + std::to_string(unit->options.port), output);
}

// Stores the exit code of the unit's process, by its wait status.
void storeEnd(Unit* unit, int status, const Output& output) {
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    const std::string during = unit->tally->command.load();
    unit->pid = 0;
    unit->code = signal != 0 ? kExitInterrupted + signal : WEXITSTATUS(status);
    recordLost(unit,
               signal == 0 ? "the recipe was not started"
                           : "the process was ended during " + during + ": " + strsignal(signal),
               output);
}

// Waits until all children have ended, and passes a signal on to them.
void awaitAll(std::vector<Unit>* units, const Output& output) {
    constexpr int kMilliseconds = 100;
    int handedOn = 0;
    const auto isRunning = [](const Unit& unit) { return unit.pid > 0; };
    while (std::ranges::any_of(*units, isRunning)) {
        if (!output.reachesErrors)
            showRunning(*units);
        poll(nullptr, 0, kMilliseconds);
        for (Unit& unit : *units) {
            int status = 0;
            if (isRunning(unit) && interruptSignal() != handedOn)
                kill(unit.pid, interruptSignal());
            if (isRunning(unit) && waitpid(unit.pid, &status, WNOHANG) == unit.pid)
                storeEnd(&unit, status, output);
        }
        handedOn = interruptSignal();
    }
    clearProgress();
}

// Prints the table of all units. Returns the exit code of the call.
int summarize(const std::vector<Unit>& units, const Output& output) {
    const bool isDry = output.options->dryRun;
    int code = kExitDone;
    for (const Unit& unit : units) {
        if (!output.quiet)
            fprintf(output.format == Format::Text ? output.file : stderr, "%s%-8s %s\n",
                    unit.column.c_str(),
                    isDry && unit.code == kExitDone ? "DRYRUN" : outcomeWord(unit.code),
                    countsText(*unit.tally).c_str());
        if (code == kExitDone || (unit.code > kExitInterrupted && code < kExitInterrupted))
            code = unit.code;
    }
    return code;
}

}  // namespace

int runUnits(Session* session, LineReader* lines) {
    std::vector<Unit> units;
    std::vector<Step> steps;
    std::string wrong = readUnits(session->options, &units);
    const int fault = wrong.empty() ? kExitLocalFault : kExitUsage;
    if (wrong.empty())
        wrong = openOutput(session->options, session->output);
    void* const shared = mmap(nullptr, (units.size() + 1) * sizeof(Tally), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (!wrong.empty() || shared == MAP_FAILED)
        return print(unsent(session->options.words, {fault, "--units: " + wrong}), session->output);
    const int code = readRecipe(session, lines, &steps);
    if (code != kExitDone)
        return code;
    fflush(nullptr);
    session->output->lock = memfd_create("records", MFD_CLOEXEC);
    for (size_t i = 0; i < units.size(); i++) {
        units[i].tally = new (static_cast<Tally*>(shared) + i) Tally;
        units[i].tally->total = static_cast<unsigned>(steps.size());
        units[i].pid = fork();
        if (units[i].pid == 0)
            beChild(*session, units[i], steps);
        if (units[i].pid < 0)
            recordLost(&units[i], std::string("cannot start a process: ") + strerror(errno),
                       *session->output);
    }
    watchInterrupts();
    awaitAll(&units, *session->output);
    return summarize(units, *session->output);
}

}  // namespace station
