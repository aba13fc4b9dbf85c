// mfgp-sim: its profiles, and the state that it keeps.
#include <gtest/gtest.h>

#include "tests/support/client.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

TEST(Simulator, EachProfile_ServesItsModem) {
    const struct {
        std::string profile, call;  // the last call of setting the factory test mode
        std::string password = {};
    } rows[] = {
        {.profile = "production", .call = "atcon -c AT+QFTMMODE=1"},
        {.profile = "service", .call = "atcon -c AT+QFTMMODE=1", .password = "Meadow-7412"},
        {.profile = "empty-account", .call = "atcon -c AT+QFTMMODE=1"},
        {.profile = "EG18-EA", .call = "atcon -c AT+QRFTESTMODE=1"},
        {.profile = "RG520N-EU", .call = "atcon -c AT+QFTMMODE=1"},
        {.profile = "EG060K-EA", .call = "atcon -c 'AT+QRFTEST=\"mode\",1'"},
        {.profile = "FG621", .call = "cellcli -c at+sfun=5"},
        {.profile = "no-modem", .call = "uci get mobile.modem.module_name -c /etc/profile.d"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.profile);
        Unit unit({}, "--profile " + row.profile);
        const Account account = row.password.empty() ? Account{} : Account{"admin", row.password};
        const Station station(account);
        EXPECT_EQ(station.command(114, "1").info(), row.profile == "no-modem" ? 3 : 0);
        EXPECT_EQ(unit.calls().back(), row.call);
        EXPECT_EQ(station.command(59).info(), row.profile == "service" ? 3 : 0);
        EXPECT_EQ(unit.read("/account/username").empty(), row.profile == "empty-account");
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

}  // namespace
