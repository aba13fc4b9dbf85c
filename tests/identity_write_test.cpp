// The writes and the hooks: what each runs and stores, once, and what a failure leaves.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "commands/identity_write.h"
#include "commands/radio_hooks.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

static bool noMoreProcesses = false;

// Taken instead of the C library's, so that the command runner can be made to fail.
pid_t fork() {
    errno = EAGAIN;
    return noMoreProcesses ? -1 : reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"))();
}

namespace {

using Lines = std::vector<std::string>;

const std::string kMac("\x02\x1A\x2B\x13\x7B\x0F", 6);
const std::string k64(64, 'x');
const std::string kKey(304, 'k');
const std::string kGid(36, 'g');
const std::string kGroup = "{ \"key\": \"" + kKey + "\", \"gid\": \"" + kGid + "\", \"pack\": 3 }";

// The shell lines of an edit of product-info.
Lines edit(const std::string& name, const std::string& before = {}) {
    const std::string file = "/tmp/" + name + "-tmp";
    Lines lines = {"flashkv -r " + file + " -p product-info",
                   "flashkv -w " + file + " -p product-info", "rm " + file};
    if (!before.empty())
        lines.insert(lines.begin(), before);
    return lines;
}

const struct {
    uint8_t subType;
    std::string argument;
    Lines lines;
    std::string partition;
    std::string stored;
    std::string log;
    std::string error;  // of a second write
    uint8_t readBy;     // 0: by nothing
    std::string answer;
} kWrites[] = {
    // clang-format off
    {54, k64 + "y", {"flashkv -w /tmp/device-tmp -p device-id"}, "device-id", "dev_id:" + k64,
     "[mfgp_cmd_setDevID():%] device ID is:" + k64 + "\r\n", errorLine(-10315, "set device ID failed"), 53, k64},
    {60, k64 + "y", edit("oemid"), "product-info", "a:1\noem_id:" + k64 + "\n",
     "[mfgp_cmd_setOemID():%] OEM ID is:" + k64 + "\r\n", errorLine(-10325, "set OEM ID failed"), 59, k64},
    {65, "NZ", edit("sid"), "product-info", "a:1\nspecial_id:4E5A0000\n",
     "[mfgp_cmd_setSpecialID():%] special ID is:4E5A0000\r\n", errorLine(-10327, "set Special ID failed"), 64, "NZ"},
    {67, "DE", edit("cc"), "product-info", "a:1\ncountry:DE\n",
     "[mfgp_cmd_setCountryCode():%] Country Code is:DE\r\n", errorLine(-10329, "set Country Code failed"), 66, "DE"},
    {75, kMac, {"echo 02-1A-2B-13-7B-0F  > /tmp/mac-tmp", "flashkv -w /tmp/mac-tmp -p default-mac",
                "sh  /lib/essid/essid.sh NORVANE 137B0F &", "mfgp_hook_setmac 02:1A:2B:13:7B:0F"},
     "default-mac", "02-1A-2B-13-7B-0F\n",
     "[mfgp2_cmd_setMac():%] new mac is:02-1A-2B-13-7B-0F\r\n", errorLine(-10303, "set mac failed"), 55, "02-1A-2B-13-7B-0F"},
    {76, "1234 $x\xFFy", {"flashkv -w /tmp/pin-tmp -p pin"}, "pin", "1234 $x\xFF\n",
     "[mfgp2_cmd_setPin():%] new pin is 1234 $x\xFF\n", "", 0, ""},
    {77, kGroup, edit("group", "rm /tmp/mfgp_group.output > /dev/null 2>&1; "
                               "/bin/check_group /tmp/mfgp_group.input /tmp/mfgp_group.output"),
     "product-info", "a:1\npreconf_k:" + kKey + "\npreconf_g:" + kGid + "\npreconf_p:3\n",
     "", errorLine(-10336, "set group failed"), 78, kGroup},
    {82, "M 60", edit("model"), "product-info", "a:1\nproduct_name:M 60\n",
     "[mfgp_cmd_setModelName():%] model name is:M 60\r\n", errorLine(-10327, "set model name failed"), 58, "M 60 V1.0"},
    // clang-format on
};
enum : uint8_t { kDeviceId, kOemId, kSpecialId, kCountry, kMacAddress, kPin, kGroupInfo, kModel };

TEST(IdentityWrites, StoreTheFieldOnceAndItReadsBack) {
    Unit unit;
    const Station station;
    for (const auto& row : kWrites) {
        SCOPED_TRACE(int{row.subType});
        unit.write("/flash/product-info", "a:1\n");
        unit.trace();
        const Answer answer = station.command(row.subType, row.argument);
        EXPECT_EQ(answer.info(), 0);
        EXPECT_EQ(answer.length(), 0U);
        const std::string trace = withoutLines(unit.trace());
        EXPECT_EQ(shellLines(trace), row.lines);
        EXPECT_NE(trace.find(row.log), std::string::npos) << trace;
        EXPECT_EQ(unit.errors(), "");

        EXPECT_EQ(station.command(row.subType, "other").info(), 3) << "the permission is used up";
        const std::string errors = unit.errors();
        EXPECT_EQ(errors.substr(0, row.error.size()), row.error);
        EXPECT_EQ(errors.empty(), row.error.empty()) << errors;
        EXPECT_EQ(shellLines(unit.trace()), Lines{});
        EXPECT_EQ(unit.read("/flash/" + row.partition), row.stored);
        if (row.readBy != 0) {
            EXPECT_EQ(station.command(row.readBy).text(), row.answer);
        }
    }
}

TEST(IdentityWrites, TheMacNamesTheNetworkAfterACheckedModelWord) {
    const std::string longWord(31, 'm');
    const struct {
        std::string model;
        std::string word;
    } rows[] = {{"M31-5G_x.1\n", "M31-5G_x.1"}, {"two words", "two"}, {longWord + "cut", longWord},
                {"a;reboot", "NORVANE"},        {"$(x)", "NORVANE"},  {"left test mode", ""}};
    for (const auto& row : rows) {
        Unit unit({StateFile{"/fw/MODEL", row.model}});
        const Station station;
        if (row.word.empty())  // only after the first look at the mode
            unit.fault("flashkv", "rm /etc/config/wanDetect");
        EXPECT_EQ(station.command(75, kMac).info(), 0);
        EXPECT_EQ(shellLines(unit.trace()).at(2),
                  row.word.empty() ? "mfgp_hook_setmac 02:1A:2B:13:7B:0F"
                                   : "sh  /lib/essid/essid.sh " + row.word + " 137B0F &");
        const std::string name = row.word.empty() ? "NORVANE_7B00\n" : row.word + "_7B0F\n";
        for (int i = 0; i < 500 && unit.read("/fw/SSID") != name; i++)
            usleep(10000);  // the script runs in the background
        EXPECT_EQ(unit.read("/fw/SSID"), name);
    }
}

// Lets the unit's own shell do something before the next command.
void runInside(const Unit& unit, const Station& station, const std::string& snippet) {
    unit.fault("fwinfo", snippet + "; exit");
    station.command(55);
    unit.remove("/fault/fwinfo");
}

std::string flashOf(const Unit& unit) {
    std::string all;
    for (const char* part : {"product-info", "device-id", "pin", "default-mac", "radio"})
        all += unit.read(std::string("/flash/") + part);
    return all;
}

TEST(IdentityWrites, AFailureFlashesNothingAndLeavesThePermission) {
    const char* const full = "yes | head -c 65536 >/tmp/filler";
    const std::string pinError = errorLine(-1, "get product id failed");
    const struct {
        std::string before;  // in the unit's shell
        uint8_t write;
        const char* argument;  // null: the write's
        size_t linesRun;       // of the write's
        std::string said;
    } rows[] = {
        // clang-format off
        {"echo exit 1 >/fault/flashkv", kOemId, nullptr, 1, ""},
        {"echo 'echo a:1 >$2; exit 1' >/fault/flashkv", kOemId, nullptr, 1, ""},
        {"echo exit 0 >/fault/flashkv", kModel, nullptr, 1, ""},
        {"chmod a-x /usr/sbin/flashkv", kCountry, nullptr, 1, ""},
        {"echo exit 0 >/fault/flashkv", kSpecialId, nullptr, 1, "debug4"},
        {"echo exit 1 >/fault/flashkv", kGroupInfo, nullptr, 2, "Set GroupInfo error, modify /tmp/group-tmp key error \n"},
        {":", kSpecialId, "XX", 0, errorLine(-1, "debug2")},
        {":", kSpecialId, "", 0, "debug1"},
        {":", kOemId, "X\nspecial_id:1", 1, ""},
        {":", kDeviceId, "X\nmac:1", 0, ""},
        {"ln -s /flash/radio /tmp/device-tmp", kDeviceId, nullptr, 0, ""},
        {"ln -s /flash/radio /tmp/pin-tmp", kPin, nullptr, 0, pinError},
        {"ln -s /flash/radio /tmp/mfgp_group.input", kGroupInfo, nullptr, 0, "open file /tmp/mfgp_group.input error\n"},
        {full, kDeviceId, nullptr, 0, ""},
        {full, kOemId, nullptr, 1, ""},
        {full, kMacAddress, nullptr, 1, ""},
        {full, kPin, nullptr, 0, pinError},
        {full, kGroupInfo, nullptr, 0, "check group input error\n"},
        {"yes | head -c 61440 >/tmp/filler", kOemId, nullptr, 1, ""},  // room for the dump alone
        // clang-format on
    };
    bool skipped = false;
    for (const auto& row : rows) {
        const auto& write = kWrites[row.write];
        SCOPED_TRACE(std::to_string(write.subType) + " after " + row.before);
        const bool small = row.before.find("filler") != std::string::npos;
        try {
            Unit unit({}, small ? Lines{"--tmp-size", "65536"} : Lines{});
            const Station station;
            const std::string before = flashOf(unit);
            // What earlier failures left is not flashed in place of a fresh dump.
            runInside(unit, station,
                      "echo a:1 | tee /tmp/oemid-tmp /tmp/sid-tmp /tmp/cc-tmp "
                      "/tmp/model-tmp /tmp/group-tmp; " +
                          row.before);
            const std::string bad = row.argument != nullptr ? row.argument : write.argument;
            EXPECT_EQ(station.command(write.subType, bad).info(), 3);
            std::string said = unit.trace() + unit.errors();
            EXPECT_EQ(shellLines(said), Lines(&write.lines[0], &write.lines[0] + row.linesRun));
            EXPECT_EQ(flashOf(unit), before);

            runInside(unit, station, "rm -f /fault/flashkv /tmp/*; chmod a+x /usr/sbin/flashkv");
            EXPECT_EQ(station.command(write.subType, write.argument).info(), 0) << "the retry";
            EXPECT_NE(flashOf(unit), before);
            said += unit.trace();  // a line without an end comes late
            EXPECT_NE(said.find(row.said), std::string::npos) << said;
            EXPECT_NE(said.find(write.error), std::string::npos) << said;
        } catch (const UnitImpossible&) {
            skipped = true;
        }
    }
    if (skipped)
        GTEST_SKIP() << "this machine gives a unit no small /tmp";
}

TEST(IdentityWrites, AMacOrPinThatWasWrittenEndsTheTestForGood) {
    for (const uint8_t written : {kMacAddress, kPin, kOemId}) {
        Unit unit;
        const Station station;
        // Tools that fail to write, or to be told, count as run.
        unit.fault("flashkv", "[ $1 = -r ] || exit 1");
        unit.remove("/usr/sbin/mfgp_hook_setmac");
        EXPECT_EQ(station.command(kWrites[written].subType, kWrites[written].argument).info(), 0);
        EXPECT_EQ(station.ask({.type = 5}).info(), 0) << "before the cancel";
        station.send(wireOf({.type = 6}));
        station.send(wireOf({.type = 5}));
        station.send(wireOf({.type = 4}));
        const auto first = station.receive();
        ASSERT_TRUE(first);
        EXPECT_EQ(first->at(1), written == kOemId ? 5 : 4) << int{written};
    }
}

TEST(Hooks, EraseOnceAndEnableTestModeAgainAndAgain) {
    Unit unit;
    const Station station;
    for (const char* fault : {"", "exit 1"}) {
        unit.fault("mfgp_hook_enable_testmode", fault);
        EXPECT_EQ(station.command(80, "argument").info(), 0);
    }
    EXPECT_EQ(unit.read("/run/test-mode"), "on\n");
    EXPECT_EQ(station.command(17).length(), 0U);
    EXPECT_EQ(unit.read("/flash/radio"), "");
    EXPECT_EQ(unit.errors(), "");
    EXPECT_EQ(station.command(17).info(), 3);
    EXPECT_EQ(unit.errors().rfind(errorLine(-10308, "erase calibration data failed"), 0), 0U);
    EXPECT_EQ(
        shellLines(unit.trace()),
        (Lines{"mfgp_hook_enable_testmode", "mfgp_hook_enable_testmode", "mfgp_hook_erase_radio"}));
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
