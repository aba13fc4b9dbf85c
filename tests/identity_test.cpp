// The identity: reads of factory fields, and writes with what they run and store.
#include <sys/stat.h>

#include <functional>
#include <set>

#include "tests/support/command_rows.h"
#include "tests/support/commands.h"

namespace {

const std::string kMac("\x02\x1A\x2B\x13\x7B\x0F", 6), k64(64, 'x');
const std::string kKey(304, 'k'), kGid(36, 'g'), kInfo = "product-info";
const std::string kGroup = "{ \"key\": \"" + kKey + "\", \"gid\": \"" + kGid + "\", \"pack\": 3 }";

const Lines kMacLines = {
    "echo 02-1A-2B-13-7B-0F  > /tmp/mac-tmp", "flashkv -w /tmp/mac-tmp -p default-mac",
    "sh  /lib/essid/essid.sh NORVANE 137B0F &", "mfgp_hook_setmac 02:1A:2B:13:7B:0F"};

class Identity : public Commands {};

TEST_F(Identity, FactoryField_IsAnsweredPaddedToItsLength) {
    const std::set<uint8_t> keepCache = {kGetProductId, kGetFirmwareId, kGetHardwareId, kGetSsid};
    for (const CommandRow& row : allCommands()) {
        if (row.field.empty())
            continue;
        const std::string file = "/fw/" + row.field;
        const auto fixed = [&](const std::string& text) {
            return padded(text, std::max(text.size(), row.length));
        };
        for (const bool encrypted : {false, true}) {
            const bool isBoth = row.subType == kGetHardware || row.subType == kGetFirmware;
            if (!isBoth && encrypted != (row.subType == kGetModel))
                continue;
            unit.write("/tmp/fwinfo-cache", "stale");
            const size_t most = row.length == 0 ? 64 : row.length;
            expectRows(row.subType,
                       {{.argument = x(140), .answer = fixed("value"), .put = {file, "value\n"}},
                        {.answer = fixed(row.whenEmpty), .put = {file, ""}},
                        {.answer = x(most), .put = {file, x(100)}},
                        {.answer = fixed("/*/* ? b"), .put = {file, "/*/* ?\nb"}}},
                       encrypted);
            EXPECT_EQ(unit.exists("/tmp/fwinfo-cache"), keepCache.contains(row.subType));
        }
    }
    const std::string special = "/fw/SPECIAL_ID";
    expectRows(kGetSpecialId, {{.answer = padded("US", 64), .put = {special, "55530000"}},
                               {.answer = padded("UN", 64), .put = {special, "\n"}}});
    expectRows(kGetDescription, {{.answer = padded("/*/* ? b /*/* ? b", 128)}});
}

TEST_F(Identity, Write_RunsItsLines_AndTheValueReadsBack) {
    const auto write = [&](uint8_t command, const std::string& argument, const Lines& lines,
                           const std::string& partition, const std::string& stored) {
        unit.write("/flash/product-info", "a:1\n");
        EXPECT_EQ(ask(command, argument), "");
        Lines ran = shellLines(trace);
        std::erase_if(ran, [](auto& line) { return line.starts_with("rm /tmp/mfgp_group"); });
        EXPECT_EQ(ran, lines);
        EXPECT_EQ(unit.read("/flash/" + partition), stored);
    };
    const auto edit = [&](uint8_t command, const std::string& argument, const std::string& file,
                          const std::string& records) {
        const std::string of = "/tmp/" + file + " -p product-info";
        write(command, argument, {"flashkv -r " + of, "flashkv -w " + of, "rm /tmp/" + file}, kInfo,
              "a:1\n" + records);
    };
    write(kSetDeviceId, k64 + "y", {"flashkv -w /tmp/device-tmp -p device-id"}, "device-id",
          "dev_id:" + k64);
    EXPECT_TRUE(contains(trace, "device ID is:" + k64 + "\r\n"));
    write(kSetPin, "1234 $x\xFFy", {"flashkv -w /tmp/pin-tmp -p pin"}, "pin", "1234 $x\xFF\n");
    EXPECT_TRUE(contains(trace, "new pin is 1234 $x\xFF\n"));
    write(kSetMac, kMac, kMacLines, "default-mac", "02-1A-2B-13-7B-0F\n");
    EXPECT_TRUE(contains(trace, "new mac is:02-1A-2B-13-7B-0F\r\n"));
    edit(kSetOemId, k64 + "y", "oemid-tmp", "oem_id:" + k64 + "\n");
    edit(kSetSpecialId, "NZ", "sid-tmp", "special_id:4E5A0000\n");
    edit(kSetCountry, "DE", "cc-tmp", "country:DE\n");
    edit(kSetModel, "M 60", "model-tmp", "product_name:M 60\n");
    EXPECT_TRUE(contains(trace, "model name is:M 60\r\n"));
    EXPECT_EQ(station.command(kGetDescription).text(), "M 60 V1.0");
    EXPECT_EQ(station.command(kGetDeviceId).text(), k64);
    edit(kSetGroup, kGroup, "group-tmp",
         "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\npreconf_p:3\n");
    EXPECT_EQ(station.command(kGetGroup).text(), kGroup);
}

TEST_F(Identity, SetMac_NamesTheNetworkAfterTheFirstWordOfTheModel) {
    const std::string longWord(31, 'm');
    for (const auto& [model, word] :
         {std::pair<std::string, std::string>{"M31-5G_x.1\n", "M31-5G_x.1"},
          {"two words", "two"},
          {longWord + "cut", longWord},
          {"left test mode", ""}}) {
        unit.stop();
        unit.start();
        unit.write("/fw/MODEL", model);
        // A tool that fails to write counts as run. Afterwards the mode is read again.
        unit.fault("flashkv", word.empty() ? "rm /etc/config/wanDetect; exit 1" : "");
        EXPECT_EQ(ask(kSetMac, kMac), "");
        const std::string line = "sh  /lib/essid/essid.sh " + word + " 137B0F &";
        EXPECT_EQ(shellLines(trace).at(2), word.empty() ? kMacLines.at(3) : line);
        const std::string name = word.empty() ? unit.read("/fw/SSID") : word + "_7B0F\n";
        // The script runs in the background.
        EXPECT_TRUE(eventually([&] { return unit.read("/fw/SSID") == name; })) << name;
    }
}

TEST_F(Identity, FilesPlantedInTmp_AreNotFollowed) {
    const std::string radio = unit.read("/flash/radio");
    const std::function<void(const std::filesystem::path&)> ways[] = {
        [](auto& path) { std::filesystem::create_symlink("/flash/radio", path); },
        [&](auto& path) { std::filesystem::create_hard_link(unit.path("/flash/radio"), path); },
        [](auto& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }};
    const auto write = [&](uint8_t command, const std::string& argument,
                           const std::string& partition, const std::string& stored) {
        EXPECT_EQ(ask(command, argument), "");
        EXPECT_EQ(unit.read("/flash/" + partition), stored);
    };
    for (const auto& plant : ways) {
        unit.stop();
        unit.start();
        unit.write("/flash/product-info", "a:1\n");
        for (const char* file : {"device-tmp", "pin-tmp", "mac-tmp", "oemid-tmp", "imei-tmp",
                                 "mfgp_group.input", "mfgp_group.output"})
            plant(unit.path(std::string("/tmp/") + file));
        write(kSetDeviceId, "ID", "device-id", "dev_id:ID");
        write(kSetPin, "12345678", "pin", "12345678\n");
        write(kSetMac, kMac, "default-mac", "02-1A-2B-13-7B-0F\n");
        write(kSetImei, "123456789012345", "default-imei", "123456789012345\n");
        write(kSetOemId, "OEM", kInfo, "a:1\noem_id:OEM\n");
        write(kSetGroup, kGroup, "radio", radio);
    }
}

TEST_F(Identity, AWriteWithoutAPayload_IsRefusedAndStaysPermitted) {
    const auto writes = {kSetDeviceId, kSetOemId, kSetCountry, kSetMac,
                         kSetPin,      kSetModel, kSetImei,    kExtAntenna};
    for (const uint8_t command : writes) {
        EXPECT_EQ(ask(command, ""), kFails) << int{command};
        EXPECT_EQ(calls, Lines{});
    }
    for (const uint8_t command : writes)
        EXPECT_EQ(ask(command, padded("", 8)), command == kExtAntenna ? kFails : "")
            << int{command};
    for (const char* region : {"XX", ""})
        EXPECT_EQ(ask(kSetSpecialId, region), kFails);
}

TEST_F(Identity, RadioHooks_EraseOnceAndEnableTestModeRepeatedly) {
    const Row enable = {.ran = {"mfgp_hook_enable_testmode"}};
    expectRows(kTestMode, {enable, enable});
    EXPECT_EQ(unit.read("/run/test-mode"), "on\n");
    expectRows(kEraseRadio, {{.ran = {"mfgp_hook_erase_radio"}}, {.answer = kFails}});
    EXPECT_EQ(unit.read("/flash/radio"), "");
}

}  // namespace
