// The writes and the hooks: what each runs and stores.
#include <sys/stat.h>

#include <functional>

#include "tests/support/commands.h"

namespace {

const std::string kMac("\x02\x1A\x2B\x13\x7B\x0F", 6), k64(64, 'x'), kKey(304, 'k'), kGid(36, 'g');
const std::string kGroup = "{ \"key\": \"" + kKey + "\", \"gid\": \"" + kGid + "\", \"pack\": 3 }";
const std::string kGroupRecords = "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\npreconf_p:3\n";

constexpr uint8_t kSetDeviceId = 54, kSetOemId = 60, kSetSpecialId = 65, kSetCountry = 67,
                  kSetMac = 75, kSetPin = 76, kSetGroup = 77, kSetModel = 82;

// The shell lines of an edit of product-info.
Lines edit(const std::string& file) {
    return {"flashkv -r " + file + " -p product-info", "flashkv -w " + file + " -p product-info",
            "rm " + file};
}

const Lines kMacLines = {
    "echo 02-1A-2B-13-7B-0F  > /tmp/mac-tmp", "flashkv -w /tmp/mac-tmp -p default-mac",
    "sh  /lib/essid/essid.sh NORVANE 137B0F &", "mfgp_hook_setmac 02:1A:2B:13:7B:0F"};

class IdentityWrites : public Commands {};

TEST_F(IdentityWrites, StoreTheFieldAndItReadsBack) {
    for (const auto& [command, argument, run, partition, stored, said, readBy, answer] : {
             // clang-format off
             std::tuple{kSetDeviceId, k64 + "y", Lines{"flashkv -w /tmp/device-tmp -p device-id"},
                        "device-id", "dev_id:" + k64, "device ID is:" + k64 + "\r\n", uint8_t{53}, k64},
             {kSetOemId, k64 + "y", edit("/tmp/oemid-tmp"), "product-info", "a:1\noem_id:" + k64 + "\n", "OEM ID is:" + k64 + "\r\n", 59, k64},
             {kSetSpecialId, "NZ", edit("/tmp/sid-tmp"), "product-info", "a:1\nspecial_id:4E5A0000\n", "special ID is:4E5A0000\r\n", 64, "NZ"},
             {kSetCountry, "DE", edit("/tmp/cc-tmp"), "product-info", "a:1\ncountry:DE\n", "Country Code is:DE\r\n", 66, "DE"},
             {kSetMac, kMac, kMacLines, "default-mac", "02-1A-2B-13-7B-0F\n", "new mac is:02-1A-2B-13-7B-0F\r\n", 55, "02-1A-2B-13-7B-0F"},
             {kSetPin, "1234 $x\xFFy", {"flashkv -w /tmp/pin-tmp -p pin"}, "pin", "1234 $x\xFF\n", "new pin is 1234 $x\xFF\n", 0, ""},
             {kSetGroup, kGroup, edit("/tmp/group-tmp"), "product-info", "a:1\n" + kGroupRecords, "", 78, kGroup},
             {kSetModel, "M 60", edit("/tmp/model-tmp"), "product-info", "a:1\nproduct_name:M 60\n", "model name is:M 60\r\n", 58, "M 60 V1.0"},
             // clang-format on
         }) {
        SCOPED_TRACE(int{command});
        unit.write("/flash/product-info", "a:1\n");
        EXPECT_EQ(ask(command, argument), "");
        expectSaid(said);
        Lines lines = shellLines(trace);
        std::erase_if(lines,
                      [](const auto& line) { return line.starts_with("rm /tmp/mfgp_group"); });
        EXPECT_EQ(lines, run);
        EXPECT_EQ(unit.read(std::string("/flash/") + partition), stored);
        EXPECT_TRUE(readBy == 0 || station.command(readBy).text() == answer);
    }
}

TEST_F(IdentityWrites, TheMacNamesTheNetworkAfterACheckedModelWord) {
    const std::string longWord(31, 'm');
    for (const auto& [model, word] : {
             std::pair{std::string("M31-5G_x.1\n"), std::string("M31-5G_x.1")},
             {"two words", "two"},
             {longWord + "cut", longWord},
             {"left test mode", ""},
         }) {
        unit.stop();
        unit.start();
        unit.write("/fw/MODEL", model);
        // A tool that fails to write counts as run. The mode is looked at again behind it.
        unit.fault("flashkv", word.empty() ? "rm /etc/config/wanDetect; exit 1" : "");
        EXPECT_EQ(ask(kSetMac, kMac), "");
        const std::string line = "sh  /lib/essid/essid.sh " + word + " 137B0F &";
        EXPECT_EQ(shellLines(trace).at(2), word.empty() ? kMacLines.at(3) : line);
        const std::string name = word.empty() ? unit.read("/fw/SSID") : word + "_7B0F\n";
        for (int i = 0; i < 500 && unit.read("/fw/SSID") != name; i++)
            usleep(10000);  // the script runs in the background
        EXPECT_EQ(unit.read("/fw/SSID"), name);
    }
}

TEST_F(IdentityWrites, OfAnUnknownRegionAreRefused) {
    expectRows(kSetSpecialId, {{"XX", kFails}, {"", kFails}});
}

TEST_F(IdentityWrites, WithAFilePlantedInTmp_FlashOnlyTheValue) {
    const std::string radio = unit.read("/flash/radio");
    const std::function<void(const std::filesystem::path&)> ways[] = {
        [](const auto& path) { std::filesystem::create_symlink("/flash/radio", path); },
        [&](const auto& path) {
            std::filesystem::create_hard_link(unit.path("/flash/radio"), path);
        },
        [](const auto& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); },
    };
    for (const auto& plant : ways) {
        unit.stop();
        unit.start();
        for (const char* file : {"device-tmp", "pin-tmp", "mac-tmp", "oemid-tmp", "imei-tmp",
                                 "mfgp_group.input", "mfgp_group.output"})
            plant(unit.path(std::string("/tmp/") + file));
        EXPECT_EQ(ask(kSetDeviceId, "ID"), "");
        EXPECT_EQ(ask(kSetPin, "12345678"), "");
        EXPECT_EQ(ask(kSetMac, kMac), "");
        EXPECT_EQ(ask(kSetOemId, "OEM"), "");
        EXPECT_EQ(ask(90, "123456789012345"), "");
        EXPECT_EQ(ask(kSetGroup, kGroup), "");
        EXPECT_EQ(unit.read("/flash/device-id"), "dev_id:ID");
        EXPECT_EQ(unit.read("/flash/pin"), "12345678\n");
        EXPECT_EQ(unit.read("/flash/default-mac"), "02-1A-2B-13-7B-0F\n");
        EXPECT_EQ(unit.read("/flash/default-imei"), "123456789012345\n");
        EXPECT_EQ(unit.read("/flash/radio"), radio);
    }
}

TEST_F(IdentityWrites, WithoutAPayload_AreRefusedAndStayPermitted) {
    unit.calls();
    for (const int subType : {54, 60, 67, 75, 76, 82, 90, 94})
        EXPECT_EQ(ask(static_cast<uint8_t>(subType), ""), kFails) << subType;
    EXPECT_EQ(unit.calls(), Lines{});
    for (const int subType : {54, 60, 67, 75, 76, 82, 90})
        EXPECT_EQ(ask(static_cast<uint8_t>(subType), padded("", 8)), "") << subType;
}

TEST_F(IdentityWrites, OfARadioAreEraseOnceAndTestModeAgainAndAgain) {
    const Lines enable = {"mfgp_hook_enable_testmode"}, erase = {"mfgp_hook_erase_radio"};
    const Row again = {kArgument, "", "", "", "", enable};
    expectRows(80, {again, again});
    EXPECT_EQ(unit.read("/run/test-mode"), "on\n");
    expectRows(17, {{kArgument, "", "", "", "", erase}, {"", kFails}});
    EXPECT_EQ(unit.read("/flash/radio"), "");
}

}  // namespace
