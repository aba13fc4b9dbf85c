// The answer of each command, and what it changes, when a tool or the system fails.
#include <signal.h>

#include <algorithm>
#include <functional>
#include <map>
#include <regex>

#include "tests/support/command_rows.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using std::string;
namespace fs = std::filesystem;

const string kFailed = "(failed)";  // info 3, no payload, the command's error line

// While it exists, strace answers system calls of the unit's unchanged daemon.
class Injection {
  public:
    // `calls` and `answer` have strace's form: "wait4", "error=EINTR:when=1". The calls that
    // were answered are in the unit's /strace. Throws UnitImpossible if tracing is not permitted.
    Injection(const string& calls, const string& answer) {
        const string command = "echo $$; exec strace -p $daemon -o $unit/strace -e trace=" + calls +
                               " -e inject=" + calls + ":" + answer + " 2>&1";
        output_ = popen(command.c_str(), "re");
        char line[512] = {};
        if (fscanf(output_, "%d ", &tracer_) == 1 && fgets(line, sizeof line, output_) != nullptr &&
            string(line).ends_with(" attached\n"))
            return;
        pclose(output_);
        throw UnitImpossible("no process may trace another here, or strace is missing");
    }
    ~Injection() {
        kill(tracer_, SIGTERM);
        pclose(output_);
    }
    Injection(Injection&&) = delete;  // neither moved nor copied

  private:
    FILE* output_;
    pid_t tracer_ = -1;
};

struct Fault {
    std::function<void()> begin, end;
};

enum class Outcome { Fails, Answers, AnswersAsBefore, FailsOrAnswers };

CommandRow rowOf(uint8_t subType) {
    const auto rows = allCommands();
    return *std::ranges::find(rows, subType, &CommandRow::subType);
}

class Faults : public testing::Test {
  protected:
    void SetUp() override { start(); }

    void start() {
        unit.reset();
        // A coexistence test that ended would write into /tmp during a fault of /tmp.
        unit.emplace(
            std::vector<StateFile>{{"/flash/user-config", "kept"}, {"/wlan/coext_seconds", "3600"}},
            "--tmp-size 1048576");
        station.emplace();
    }

    // Runs the command and returns the text of its answer, or kFailed.
    string run(const CommandRow& row, bool isReported = true) {
        unit->errors();
        const bool isEncrypted = row.subType == kGetModel || row.subType == kReset;
        const Answer answer = isEncrypted ? station->encrypted(row.subType, row.argument)
                                          : station->command(row.subType, row.argument);
        const string text = answer.payload.c_str() + (isEncrypted ? 12 : 0);
        if (answer.info() == 0)
            return row.subType == kGenerateGroup && !text.empty() ? "(random)" : text;
        EXPECT_EQ(answer.info(), kCommandFailed);
        EXPECT_EQ(text, "");
        const string error =
            errorLine(std::stoi(row.error), row.error.substr(row.error.find(' ') + 1));
        EXPECT_EQ(contains(unit->errors(), error), isReported) << error;
        return kFailed;
    }

    std::map<string, string> flash() const {
        std::map<string, string> parts;
        for (const auto& entry : fs::directory_iterator(unit->path("/flash")))
            parts[entry.path().filename()] = readFile(entry);
        return parts;
    }

    // Runs the command while the fault is active and checks the reply. Then ends the fault and
    // checks that the command works again, or is refused if it works only once and has done so.
    void expect(const CommandRow& row, Outcome outcome, const Fault& fault) {
        SCOPED_TRACE(std::to_string(row.subType) + " " + row.argument);
        const bool isRead = row.changes.empty(), isOnce = !isRead && row.subType != kReset;
        const bool isPartial = row.subType == kSetImei || row.subType == kReset;
        if (isOnce)
            start();
        const string answer = isRead ? run(row) : "";
        auto before = flash();
        if (row.subType == kGenerateGroup)  // otherwise its last file would be the answer
            inUnit("rm -f /tmp/mfgp_generate_group");
        fault.begin();
        const string seen = run(row);
        fault.end();
        EXPECT_TRUE(outcome == Outcome::FailsOrAnswers ||
                    (outcome == Outcome::AnswersAsBefore
                         ? seen == answer
                         : (seen == kFailed) == (outcome == Outcome::Fails)))
            << seen;
        // A failed command leaves the flash unchanged, except for the two that can stop halfway.
        for (const auto& [part, content] : flash())
            EXPECT_TRUE(content == before[part] ||
                        (part == row.changes && (seen != kFailed || isPartial)))
                << part;
        const bool isSpent = isOnce && seen != kFailed;
        const string again = run(row, !isSpent || row.subType != kSetPin);
        EXPECT_EQ(again, isSpent ? kFailed : answer);
        EXPECT_TRUE(!isOnce || isSpent || flash()[row.changes] != before[row.changes]);
    }

    Fault injected(const char* calls, const char* answer) {
        return {[=, this] { injection.emplace(calls, answer); }, [this] { injection.reset(); }};
    }

    Fault inShell(const char* begin, const char* end) {
        return {[=, this] { inUnit(begin); }, [=, this] { inUnit(end); }};
    }

    // Runs a snippet in the unit's own shell.
    void inUnit(const string& snippet) {
        unit->fault("fwinfo", snippet + "; exit");
        station->command(kGetMac);
        unit->remove("/fault/fwinfo");
    }

    std::optional<Unit> unit;
    std::optional<Injection> injection;
    std::optional<Station> station;
};

class ToolFaults : public Faults, public testing::WithParamInterface<const char*> {
  protected:
    // Returns the names of the tools that the command runs in a healthy unit.
    std::set<string> toolsOf(const CommandRow& row) {
        if (!row.changes.empty())
            start();
        unit->calls();
        run(row);
        std::set<string> tools = row.background;
        for (const string& call : unit->calls())
            tools.insert(call.substr(0, call.find(' ')));
        return tools;
    }
};

TEST_P(ToolFaults, EachCommand_AnswersAndRecovers) {
    const string way = GetParam();
    for (const CommandRow& row : allCommands())
        for (const string& tool : toolsOf(row)) {
            // reload_config also prints nothing when it works.
            const bool isNeeded = std::ranges::count(row.needs, tool) != 0 &&
                                  (way != "exit 0" || tool != "reload_config");
            expect(row,
                   way.starts_with("yes") ? Outcome::FailsOrAnswers
                   : isNeeded             ? Outcome::Fails
                                          : Outcome::Answers,
                   {[&] { unit->fault(tool, way); }, [&] { unit->remove("/fault/" + tool); }});
        }
}
// The tool is missing, silent or killed, or prints more than any buffer holds.
INSTANTIATE_TEST_SUITE_P(, ToolFaults,
                         testing::Values("exit 127", "exit 0", "kill -9 $$",
                                         "yes x | tr -d '\\n' | head -c 1048576"));

class SystemFaults : public Faults, public testing::WithParamInterface<const char*> {};

TEST_P(SystemFaults, EachCommand_AnswersAndRecovers) {
    const std::map<string, std::pair<SystemFault, Fault>> faults = {
        {"no pipe", {kNoPipe, injected("?pipe,pipe2", "error=EMFILE")}},
        {"no fork", {kNoFork, injected("clone,?clone3,?fork,?vfork", "error=EAGAIN")}},
        {"full /tmp", {kFullTmp, inShell("yes | head -c 1048576 >/tmp/filler", "rm /tmp/filler")}},
        {"read-only /tmp",
         {kReadOnlyTmp,
          inShell("mount -o remount,ro tmpfs /tmp", "mount -o remount,rw tmpfs /tmp")}}};
    const auto& [kind, fault] = faults.at(GetParam());
    for (const CommandRow& row : allCommands()) {
        const unsigned failsUnder = row.failsUnder.value_or(row.changes.empty() ? kReads : kStores);
        expect(row, (failsUnder & kind) != 0 ? Outcome::Fails : Outcome::AnswersAsBefore, fault);
    }
}
INSTANTIATE_TEST_SUITE_P(, SystemFaults,
                         testing::Values("no pipe", "no fork", "full /tmp", "read-only /tmp"));

TEST_F(Faults, FailedDump_IsDetectedOnlyIfItLeavesNoFile) {
    const string whole = unit->read("/flash/product-info");
    const string cut = "head -c 50 /flash/product-info >$2; kill -9 $$", oem = "oem_id:OEM\n";
    const auto write = [&](const string& dump, const string& answer, const string& flash) {
        start();
        inUnit("echo left:1 >/tmp/oemid-tmp");
        unit->fault("flashkv", "[ $1 = -w ] || { " + dump + "; }");
        EXPECT_EQ(run(rowOf(kSetOemId)), answer) << dump;
        EXPECT_EQ(unit->read("/flash/product-info"), flash) << dump;
    };
    write("exit 1", kFailed, whole);
    write(cut, "", whole.substr(0, 50) + "\n" + oem);
    write(": >$2; exit 0", "", oem);
}

TEST_F(Faults, AConfigurationThatCannotBeRead_FailsTheRead) {
    for (const auto& [subType, file] : {std::pair{kGetFlags, "wifi"},
                                        {kGetFlags, "protocol"},
                                        {kGetFlags, "bluetooth"},
                                        {kBluetooth, "bluetooth"},
                                        {kConfig, "wifi"}}) {
        const string path = string("/etc/config/") + file, good = unit->read(path);
        const string lists = std::regex_replace(good, std::regex("option"), "list");
        for (const string& bad : {string(), good + "config 'open\n", lists})
            expect(rowOf(subType), Outcome::Fails,
                   {[&] { bad.empty() ? unit->remove(path) : unit->write(path, bad); },
                    [&] { unit->write(path, good); }});
    }
}

TEST_F(Faults, ASignalDuringAWait_ChangesNothing) {
    for (const uint8_t subType : {kGetDeviceId, kExtAntenna, kSetOemId}) {
        expect(rowOf(subType), Outcome::AnswersAsBefore,
               injected("wait4", "error=EINTR:when=1..3"));
        EXPECT_TRUE(contains(unit->read("/strace"), "(INJECTED)"));
    }
}

}  // namespace
