// The writes and the hooks: what each runs and stores, once, and what a failure leaves.
#include <dlfcn.h>

#include <cerrno>
#include <memory>

#include "commands/identity_write.h"
#include "commands/radio_hooks.h"
#include "tests/support/commands.h"

static bool noMoreProcesses = false;

// Taken instead of the C library's, so that the command runner can be made to fail.
pid_t fork() {
    errno = EAGAIN;
    return noMoreProcesses ? -1 : reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"))();
}

namespace {

// A row is a line, from here on.
// clang-format off

const std::string kMac("\x02\x1A\x2B\x13\x7B\x0F", 6), k64(64, 'x'), kKey(304, 'k'), kGid(36, 'g');
const std::string kGroup = "{ \"key\": \"" + kKey + "\", \"gid\": \"" + kGid + "\", \"pack\": 3 }";
const std::string kCheck = "rm /tmp/mfgp_group.output > /dev/null 2>&1; /bin/check_group /tmp/mfgp_group.input /tmp/mfgp_group.output";

// The shell lines of an edit of product-info.
Lines edit(const std::string& file) {
    return {"flashkv -r " + file + " -p product-info", "flashkv -w " + file + " -p product-info", "rm " + file};
}

const struct Write {
    Command command;
    std::string argument;
    Lines run;
    std::string partition, stored;
    std::string said;
    uint8_t readBy;  // 0: by nothing
    std::string answer;
} kDeviceId = {{54, "mfgp_cmd_setDevID", -10315, "set device ID failed"}, k64 + "y", {"flashkv -w /tmp/device-tmp -p device-id"},
               "device-id", "dev_id:" + k64, "device ID is:" + k64 + "\r\n", 53, k64},
  kOemId = {{60, "mfgp_cmd_setOemID", -10325, "set OEM ID failed"}, k64 + "y", edit("/tmp/oemid-tmp"),
            "product-info", "a:1\noem_id:" + k64 + "\n", "OEM ID is:" + k64 + "\r\n", 59, k64},
  kSpecialId = {{65, "mfgp_cmd_setSpecialID", -10327, "set Special ID failed"}, "NZ", edit("/tmp/sid-tmp"),
                "product-info", "a:1\nspecial_id:4E5A0000\n", "special ID is:4E5A0000\r\n", 64, "NZ"},
  kCountry = {{67, "mfgp_cmd_setCountryCode", -10329, "set Country Code failed"}, "DE", edit("/tmp/cc-tmp"),
              "product-info", "a:1\ncountry:DE\n", "Country Code is:DE\r\n", 66, "DE"},
  kMacAddress = {{75, "mfgp2_cmd_setMac", -10303, "set mac failed"}, kMac,
                 {"echo 02-1A-2B-13-7B-0F  > /tmp/mac-tmp", "flashkv -w /tmp/mac-tmp -p default-mac",
                  "sh  /lib/essid/essid.sh NORVANE 137B0F &", "mfgp_hook_setmac 02:1A:2B:13:7B:0F"},
                 "default-mac", "02-1A-2B-13-7B-0F\n", "new mac is:02-1A-2B-13-7B-0F\r\n", 55, "02-1A-2B-13-7B-0F"},
  kPin = {{76, "mfgp2_cmd_setPin", -1, "get product id failed"}, "1234 $x\xFFy", {"flashkv -w /tmp/pin-tmp -p pin"},
          "pin", "1234 $x\xFF\n", "new pin is 1234 $x\xFF\n", 0, ""},
  kGroupInfo = {{77, "mfgp2_cmd_setGroupInfo", -10336, "set group failed"}, kGroup, edit("/tmp/group-tmp"),
                "product-info", "a:1\npreconf_k:" + kKey + "\npreconf_g:" + kGid + "\npreconf_p:3\n", "", 78, kGroup},
  kModel = {{82, "mfgp_cmd_setModelName", -10327, "set model name failed"}, "M 60", edit("/tmp/model-tmp"),
            "product-info", "a:1\nproduct_name:M 60\n", "model name is:M 60\r\n", 58, "M 60 V1.0"};
const Write* const kWrites[] = {&kDeviceId, &kOemId, &kSpecialId, &kCountry, &kMacAddress, &kPin, &kGroupInfo, &kModel};

class IdentityWrites : public Commands {};

TEST_F(IdentityWrites, StoreTheFieldOnceAndItReadsBack) {
    for (const Write* write : kWrites) {
        SCOPED_TRACE(write->command.handler);
        unit.write("/flash/product-info", "a:1\n");
        EXPECT_EQ(ask(write->command, write->argument), "");
        expectSaid(write->command, write->said);
        Lines run = shellLines(trace);
        if (write == &kGroupInfo) {
            EXPECT_EQ(run.at(0), kCheck);
            run.erase(run.begin());
        }
        EXPECT_EQ(run, write->run);
        // The permission is used up; of a PIN's the log says nothing.
        EXPECT_EQ(station.command(write->command.subType, "other").info(), 3);
        const std::string report = write == &kPin ? "" : errorLine(write->command.code, write->command.message);
        EXPECT_EQ(unit.errors().substr(0, std::max(size_t{1}, report.size())), report);
        EXPECT_EQ(shellLines(unit.trace()), Lines{});
        EXPECT_EQ(unit.read("/flash/" + write->partition), write->stored);
        EXPECT_TRUE(write->readBy == 0 || station.command(write->readBy).text() == write->answer);
    }
}

TEST_F(IdentityWrites, TheMacNamesTheNetworkAfterACheckedModelWord) {
    const std::string longWord(31, 'm');
    for (const auto& [model, word] : {
            std::pair{std::string("M31-5G_x.1\n"), std::string("M31-5G_x.1")}, {"two words", "two"}, {longWord + "cut", longWord},
            {"a;reboot", "NORVANE"}, {"$(x)", "NORVANE"}, {"left test mode", ""}}) {
        unit.stop();
        unit.start();
        unit.write("/fw/MODEL", model);
        // A tool that fails to write counts as run. The mode is looked at again behind it.
        unit.fault("flashkv", word.empty() ? "rm /etc/config/wanDetect; exit 1" : "");
        EXPECT_EQ(ask(kMacAddress.command, kMac), "");
        const std::string hook = "mfgp_hook_setmac 02:1A:2B:13:7B:0F";
        EXPECT_EQ(shellLines(trace).at(2), word.empty() ? hook : "sh  /lib/essid/essid.sh " + word + " 137B0F &");
        const std::string name = word.empty() ? unit.read("/fw/SSID") : word + "_7B0F\n";
        for (int i = 0; i < 500 && unit.read("/fw/SSID") != name; i++)
            usleep(10000);  // the script runs in the background
        EXPECT_EQ(unit.read("/fw/SSID"), name);
    }
}

std::string flashOf(const Unit& unit) {
    std::string all;
    for (const char* part : {"product-info", "device-id", "pin", "default-mac", "radio"})
        all += unit.read(std::string("/flash/") + part);
    return all;
}

struct Failure {
    std::string before;  // in the unit's shell
    const Write& write;
    Text argument;     // none: the write's own
    size_t linesRun;   // of the write's
    std::string said;  // sooner or later: a line without an end comes with the next
};

// Nothing is flashed and the permission stays, so that all writes succeed in the end.
void expectFailures(Unit& unit, std::initializer_list<Failure> rows) {
    const Station station;
    const auto inUnit = [&](const std::string& snippet) {
        unit.fault("fwinfo", snippet + "; exit");
        station.command(55);
        unit.remove("/fault/fwinfo");
    };
    const std::string before = flashOf(unit), repair = "rm -rf /fault/flashkv /tmp/*; chmod a+x /usr/sbin/flashkv";
    // What earlier failures left is not flashed in place of a fresh dump.
    const std::string stale = "; echo a:1 | tee /tmp/oemid-tmp /tmp/sid-tmp /tmp/cc-tmp /tmp/model-tmp /tmp/group-tmp; ";
    for (const Failure& row : rows) {
        const Command& command = row.write.command;
        SCOPED_TRACE(command.handler + " after " + row.before);
        inUnit(repair + stale + row.before);
        unit.errors();
        unit.trace();
        EXPECT_EQ(station.command(command.subType, row.argument.value_or(row.write.argument)).info(), 3);
        Lines run = shellLines(unit.trace());
        std::erase(run, kCheck);
        EXPECT_EQ(run, Lines(row.write.run.begin(), row.write.run.begin() + static_cast<long>(row.linesRun)));
        EXPECT_EQ(flashOf(unit), before);
        const std::string errors = unit.errors();
        EXPECT_NE(errors.find(errorLine(command.code, command.message)), std::string::npos) << errors;
        inUnit(repair);
        EXPECT_NE((unit.read("/log/stdout") + errors).find(row.said), std::string::npos);
    }
    for (const Write* write : kWrites)
        EXPECT_EQ(station.command(write->command.subType, write->argument).info(), 0) << write->command.handler;
    EXPECT_NE(flashOf(unit), before);
}

TEST_F(IdentityWrites, AFailureFlashesNothingAndLeavesThePermission) {
    expectFailures(unit, {
        {"echo exit 1 >/fault/flashkv", kOemId, {}, 1, ""},
        {"echo 'echo a:1 >$2; exit 1' >/fault/flashkv", kOemId, {}, 1, ""},
        {"echo exit 0 >/fault/flashkv", kModel, {}, 1, ""},
        {"chmod a-x /usr/sbin/flashkv", kCountry, {}, 1, ""},
        {"echo exit 0 >/fault/flashkv", kSpecialId, {}, 1, "debug4"},
        {"echo exit 1 >/fault/flashkv", kGroupInfo, {}, 1, "Set GroupInfo error, modify /tmp/group-tmp key error \n"},
        {":", kSpecialId, "XX", 0, errorLine(-1, "debug2")},
        {":", kSpecialId, "", 0, "debug1"},
        {":", kOemId, "X\nspecial_id:1", 1, ""},
        {":", kDeviceId, "X\nmac:1", 0, ""},
        {"ln -s /flash/radio /tmp/device-tmp", kDeviceId, {}, 0, ""},
        {"ln -s /flash/radio /tmp/pin-tmp", kPin, {}, 0, ""},
        {"ln -s /flash/radio /tmp/mfgp_group.input", kGroupInfo, {}, 0, "open file /tmp/mfgp_group.input error\n"},
    });
}

TEST(IdentityWritesInAFullTmp, FailLikewise) {
    const std::string full = "yes | head -c 65536 >/tmp/filler";
    try {
        Unit unit({}, {"--tmp-size", "65536"});
        expectFailures(unit, {
            {full, kDeviceId, {}, 0, ""},
            {full, kOemId, {}, 1, ""},
            {full, kMacAddress, {}, 1, ""},
            {full, kPin, {}, 0, ""},
            {full, kGroupInfo, {}, 0, "check group input error\n"},
            {"yes | head -c 61440 >/tmp/filler", kOemId, {}, 1, ""},  // room for the dump alone
        });
    } catch (const UnitImpossible&) {
        GTEST_SKIP() << "this machine gives a unit no small /tmp";
    }
}

TEST_F(IdentityWrites, OfARadioAreEraseOnceAndTestModeAgainAndAgain) {
    const Command erase = {17, "mfgp_hook_erase_radio", -10308, "erase calibration data failed"}, testMode = {80, "mfgp_hook_enable_testmode", 0, ""};
    for (const char* fault : {"", "exit 1"})
        expectRows(testMode, {{kArgument, "", "", "/fault/mfgp_hook_enable_testmode", fault, {"mfgp_hook_enable_testmode"}}});
    EXPECT_EQ(unit.read("/run/test-mode"), "on\n");
    expectRows(erase, {{kArgument, "", "", "", "", {"mfgp_hook_erase_radio"}}, {"", kFails}});
    EXPECT_EQ(unit.read("/flash/radio"), "");
}

TEST(Hooks, OnlyTheEraseSucceedsWithoutAProcess) {
    const auto ctx = std::make_unique<ServiceContext>();
    ctx->flags = kFlagsAtStart;
    mfgp_setVersion(ctx->recvBuf, 2);
    memcpy(mfgp_payload(ctx->recvBuf), "EU", 2);
    testing::internal::CaptureStdout();
    noMoreProcesses = true;
    EXPECT_EQ(mfgp_cmd_setSpecialID(ctx.get()), -10327);
    EXPECT_EQ(mfgp_hook_enable_testmode(ctx.get()), -10349);
    EXPECT_EQ(mfgp_hook_erase_radio(ctx.get()), 0);
    noMoreProcesses = false;
    EXPECT_NE(testing::internal::GetCapturedStdout().find("debug3"), std::string::npos);
    EXPECT_EQ(ctx->flags, kFlagsAtStart & ~kFlagEraseRadio);
}

}  // namespace
