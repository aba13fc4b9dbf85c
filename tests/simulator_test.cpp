// mfgp-sim: its profiles, and the state that it keeps.
#include <gtest/gtest.h>

#include "tests/support/client.h"
#include "tests/support/wire.h"

namespace {

TEST(Simulator, EachProfile_StartsAUnitThatAnswers) {
    for (const auto& entry :
         std::filesystem::directory_iterator(MFGP_SOURCE_DIR "/simunit/profiles")) {
        const std::string profile = entry.path().filename();
        SCOPED_TRACE(profile);
        Unit unit({}, "--profile " + profile);
        const bool isService = profile == "service";
        const Station station(isService ? Account{"admin", "Meadow-7412"} : Account{});
        EXPECT_EQ(station.command(kSetFtm, "1").info(), profile == "no-modem" ? kCommandFailed : 0);
        EXPECT_EQ(station.command(kGetOemId).info(), isService ? kCommandFailed : 0);
        EXPECT_EQ(unit.read("/account/username").empty(), profile == "empty-account");
    }
}

TEST(Simulator, TheState_IsKeptUntilItIsReset) {
    Unit unit({StateFile{"/mine", "kept"}}, "--profile FG621");
    unit.write("/fw/FW_ID", "edited");
    const auto expect = [](const std::string& command, const std::string& rest, int exitCode,
                           const std::string& output) {
        expectShell(MFGP_SIM " " + command + " --state $unit " + rest, exitCode, output);
    };
    expect("reset", "", 1, "mfgp-sim: a unit is running on /tmp/");
    expect("exec", "-- echo inside", 0, "inside\n");
    EXPECT_EQ(Station().command(kGetFirmwareId).text(), "edited");
    expect("calls", "", 0, "fwinfo FW_ID\n");
    unit.stop();
    expect("exec", "-- true", 1, "mfgp-sim: no unit is running on /tmp/");
    expect("up", "--daemon " MFGPD " --profile service", 1,
           "mfgp-sim: a unit of the profile FG621 is kept in /tmp/");
    expect("reset", "--profile nothing", 2, "mfgp-sim: unknown profile 'nothing'");
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
