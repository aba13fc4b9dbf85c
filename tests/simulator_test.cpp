// mfgp-sim as its users have it: profiles, faults, state that is kept, a clean end.
#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

using std::chrono::steady_clock;
using namespace std::literals;

namespace {

// Runs a shell line; returns its status and, behind a blank, both its streams.
std::string run(const std::string& line) {
    FILE* const pipe = popen((line + " 2>&1").c_str(), "r");
    std::string output;
    for (int byte = 0; (byte = getc(pipe)) != EOF;)
        output += static_cast<char>(byte);
    return std::to_string(pclose(pipe) / 256) + " " + output;
}

TEST(Simulator, ServesAsItsProfileAndItsFaultsSay) {
    const struct {
        const char* profile;
        StateFile fault;  // none: an empty one for no tool
        Account account;
        Request request;
        const char *answer, *call;  // info and text; how the last call begins
        int least = 0;              // milliseconds until the answer comes
    } rows[] = {
        {"production", {"/fault/atcon", "exit 0"}, {}, {3, 116}, "3 ", "atcon -c ATI"},
        {"production", {"/fault/atcon", "sleep 1"}, {}, {3, 116}, "0 11.22.33.44", "atcon", 1000},
        {"production", {"/fault/reload_config", "exit 1"}, {}, {3, 94, "1"}, "3 ", "reload"},
        {"service", {"/fault/x", ""}, {"admin", "Meadow-7412"}, {3, 59}, "3 ", ""},
        {"empty-account", {"/fault/x", ""}, {}, {3, 94, "1"}, "0 ", "reload_config"},
        {"EG18-EA", {"/fault/x", ""}, {}, {3, 114, "1"}, "0 ", "atcon -c AT+QRFTESTMODE=1"},
        {"RG520N-EU", {"/fault/x", ""}, {}, {3, 114, "1"}, "0 ", "atcon -c AT+QFTMMODE=1"},
        {"EG060K-EA", {"/fault/x", ""}, {}, {3, 114, "1"}, "0 ", "atcon -c 'AT+QRFTEST="},
        {"FG621", {"/fault/x", ""}, {}, {3, 114, "1"}, "0 ", "cellcli -c at+sfun=5"},
        {"no-modem", {"/fault/x", ""}, {}, {3, 116}, "3 ", "uci get mobile.modem.is_fibocom"},
    };
    std::set<std::string> tested;
    for (const auto& row : rows) {
        tested.insert(row.profile);
        Unit unit({}, {"--profile", row.profile});
        unit.write(row.fault.path, row.fault.content);
        const auto start = steady_clock::now();
        const Answer answer = Station(row.account).ask(row.request);
        EXPECT_GE((steady_clock::now() - start) / 1ms, row.least);
        EXPECT_EQ(std::to_string(answer.info()) + " " + answer.text(), row.answer) << row.profile;
        const auto calls = unit.calls();
        EXPECT_EQ((calls.empty() ? "" : calls.back()).find(row.call), 0U) << row.profile;
        EXPECT_EQ(unit.read("/account/username").empty(), row.profile == "empty-account"s);
    }
    const std::filesystem::directory_iterator profiles(MFGP_SOURCE_DIR "/simunit/profiles");
    EXPECT_EQ(std::distance(begin(profiles), end(profiles)), std::ssize(tested));
}

TEST(Simulator, StateIsKeptUntilItIsReset) {
    Unit unit({StateFile{"/mine", "kept"}}, {"--profile", "FG621"});
    unit.write("/fw/FW_ID", "edited");
    const auto expect = [&unit](const std::string& command, const std::string& rest,
                                const std::string& result) {
        const std::string state = " --state " + unit.path("/").string() + " ";
        EXPECT_EQ(run(MFGP_SIM " " + command + state + rest).find(result), 0U) << result;
    };
    expect("reset", "", "1 mfgp-sim: a unit is running on /tmp/");
    expect("exec", "-- echo inside", "0 inside\n");
    EXPECT_EQ(Station().command(56).text(), "edited");
    expect("calls", "", "0 fwinfo FW_ID\n");
    unit.stop();
    expect("exec", "-- true", "1 mfgp-sim: no unit is running on /tmp/");
    expect("up", "--daemon " MFGPD " --profile service",
           "1 mfgp-sim: a unit of the profile FG621 is kept in /tmp/");
    expect("reset", "--profile nothing", "2 mfgp-sim: there is no profile nothing");
    unit.start();
    EXPECT_EQ(unit.read("/fw/FW_ID") + unit.read("/modem/kind"), "editedFG621\n");
    unit.stop();
    expect("reset", "", "0 ");
    EXPECT_EQ(unit.read("/fw/FW_ID").substr(0, 4) + unit.read("/modem/kind"), "7B31FG621\n");
    expect("reset", "--profile service", "0 ");
    EXPECT_EQ(unit.read("/modem/kind") + unit.read("/mine"), "RG520N-EU\nkept");
}

TEST(Simulator, EndsCleanlyOnASignal) {
    constexpr char kScript[] =
        "bash -c 'coproc env --default-signal $0 up --daemon $1 --state $2 --runner \"$4\"; "
        "p=$COPROC_PID;"
        " read -r line <&${COPROC[0]}; kill -$3 $p; wait $p; echo $?; ! kill -0 ${line##* } 2>&-' ";
    Unit unit;
    unit.stop();
    const std::string words = MFGP_SIM " " MFGPD " " + unit.path("/").string() + " ";
    for (const char* name : {"TERM", "INT", "HUP"})
        EXPECT_EQ(run(kScript + words + name + " '" MFGP_RUNNER "'"), "0 0\n") << name;
}

}  // namespace
