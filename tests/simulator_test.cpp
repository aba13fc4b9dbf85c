// mfgp-sim as its users have it: profiles, state that is kept, a clean end.
#include <gtest/gtest.h>

#include "tests/support/client.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

using namespace std::literals;

namespace {

TEST(Simulator, ServesAsItsProfileSays) {
    const struct {
        const char* profile;
        Request request;
        const char *answer, *call;  // info and text; how the last call begins
        Account account = {};
    } rows[] = {
        {"production", {3, 116}, "0 11.22.33.44", "atcon -c ATI"},
        {"service", {3, 59}, "3 ", "", {"admin", "Meadow-7412"}},
        {"empty-account", {3, 94, "1"}, "0 ", "reload_config"},
        {"EG18-EA", {3, 114, "1"}, "0 ", "atcon -c AT+QRFTESTMODE=1"},
        {"RG520N-EU", {3, 114, "1"}, "0 ", "atcon -c AT+QFTMMODE=1"},
        {"EG060K-EA", {3, 114, "1"}, "0 ", "atcon -c 'AT+QRFTEST="},
        {"FG621", {3, 114, "1"}, "0 ", "cellcli -c at+sfun=5"},
        {"no-modem", {3, 116}, "3 ", "uci get mobile.modem.is_fibocom"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.profile);
        Unit unit({}, std::string("--profile ") + row.profile);
        const Answer answer = Station(row.account).ask(row.request);
        EXPECT_EQ(std::to_string(answer.info()) + " " + answer.text(), row.answer);
        const auto calls = unit.calls();
        EXPECT_EQ((calls.empty() ? "" : calls.back()).find(row.call), 0U);
        EXPECT_EQ(unit.read("/account/username").empty(), row.profile == "empty-account"s);
    }
    const std::filesystem::directory_iterator profiles(MFGP_SOURCE_DIR "/simunit/profiles");
    EXPECT_EQ(std::distance(begin(profiles), end(profiles)), std::ssize(rows));
}

TEST(Simulator, StateIsKeptUntilItIsReset) {
    Unit unit({StateFile{"/mine", "kept"}}, "--profile FG621");
    unit.write("/fw/FW_ID", "edited");
    const auto expect = [&unit](const std::string& command, const std::string& rest, int exitCode,
                                const std::string& output) {
        const std::string state = " --state " + unit.path("/").string() + " ";
        const ShellResult result = shell(MFGP_SIM " " + command + state + rest);
        EXPECT_EQ(result.exitCode, exitCode) << result.output;
        EXPECT_EQ(result.output.find(output), 0U) << result.output;
    };
    expect("reset", "", 1, "mfgp-sim: a unit is running on /tmp/");
    expect("exec", "-- echo inside", 0, "inside\n");
    EXPECT_EQ(Station().command(56).text(), "edited");
    expect("calls", "", 0, "fwinfo FW_ID\n");
    unit.stop();
    expect("exec", "-- true", 1, "mfgp-sim: no unit is running on /tmp/");
    expect("up", "--daemon " MFGPD " --profile service", 1,
           "mfgp-sim: a unit of the profile FG621 is kept in /tmp/");
    expect("reset", "--profile nothing", 2, "mfgp-sim: there is no profile nothing");
    unit.start();
    EXPECT_EQ(unit.read("/fw/FW_ID") + unit.read("/modem/kind"), "editedFG621\n");
    unit.stop();
    expect("reset", "", 0, "");
    expect("exec", "-- true", 1, "mfgp-sim: no unit is running on /tmp/");
    EXPECT_EQ(unit.read("/fw/FW_ID").substr(0, 4) + unit.read("/modem/kind"), "7B31FG621\n");
    expect("reset", "--profile service", 0, "");
    EXPECT_EQ(unit.read("/modem/kind") + unit.read("/mine"), "RG520N-EU\nkept");
}

TEST(Simulator, EndsCleanlyOnASignal) {
    constexpr char kScript[] =
        "bash -c 'coproc env --default-signal $0 up --daemon $1 --state $2 --runner \"$4\"; "
        "p=$COPROC_PID;"
        " read -r line <&${COPROC[0]}; kill -$3 $p; wait $p; echo $?; ! kill -0 ${line##* } 2>&- ||"
        " echo left behind' ";
    Unit unit;
    unit.stop();
    const std::string words = MFGP_SIM " " MFGPD " " + unit.path("/").string() + " ";
    for (const char* name : {"TERM", "INT", "HUP"})
        EXPECT_EQ(shell(kScript + words + name + " '" MFGP_RUNNER "'").output, "0\n") << name;
}

}  // namespace
