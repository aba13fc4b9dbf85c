// What a unit can fail at: one table of commands, what each answers under every fault, and what it
// may have changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <map>
#include <memory>
#include <set>

#include "tests/support/kernel.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using std::string;
namespace fs = std::filesystem;

const string kFails = "(fails)";     // info 3, nothing in it, the command's own code and text
const string kWorks = "(works)";  // answers as without the fault
const string k8(8, 'x'), k15(15, 'x'), k16(16, 'x'), k17(17, 'x'), k31(31, 'x'), k63(63, 'x'), k64(64, 'x');
const string kGroup = R"({"key":")" + string(304, 'k') + R"(","gid":")" + string(36, 'g') + R"(","pack":3})";
const string kNoGroup = R"({ "key": "", "gid": "", "pack": 0 })";
const string kTest = "1-3-0-60-1-19850";  // an antenna's
const string kMac = "\x02\x1A\x2B\x13\x7B\x0F";
const string kImei = "123456789012345";
const string kInfo = "product-info";

// A command under one tool's faults. A command whose tool prints a mebibyte in front of its work is
// another matter than one whose tool brings nothing: it is missing, fails, says nothing or is killed.
struct Row {
    uint8_t subType;
    string argument;
    int code;
    string message;
    string tool;      // the first that it runs; further ones have rows of their own
    string without;   // what the reply holds
    string noisy;
    string changes;   // partition it writes
    string denied;    // what it does without a pipe, a process, room in /tmp, a /tmp to write to:
                      // F fails, + succeeds; empty: as in the row before
    string modem = "RG520N-EU";
};

// clang-format off
const Row kRows[] = {
    {10, "", -10330, "get Product ID failed", "fwinfo", "00000000", k16, "", "FF++"},
    {53, "", -10316, "get device ID failed", "fwinfo", "", k64, "", "FF++"},
    {55, "", -10320, "get mac failed", "fwinfo", "", k17, "", "FF++"},
    {56, "", -10321, "get fw ID failed", "fwinfo", "", k64, "", "FF++"},
    {57, "", -10322, "get fw ID failed", "fwinfo", "", k64, "", "FF++"},
    {58, "", -10323, "get hw desc failed", "fwinfo", "", k31 + " " + k31, "", "FF++"},
    {59, "", -10324, "get OEM ID failed", "fwinfo", "", k64, "", "FF++"},
    {64, "", -10326, "get special ID failed", "fwinfo", "UN", "", "", "FF++"},
    {66, "", -10328, "get Country Code failed", "fwinfo", "UN", k64, "", "FF++"},
    {68, "", -10331, "get SSID failed", "fwinfo", "", k64, "", "FF++"},
    {70, "", -10333, "get hw version failed", "fwinfo", "", k64, "", "FF++"},
    {71, "", -10332, "get fw version failed", "fwinfo", "", k64, "", "FF++"},
    {72, "", -10339, "get model name failed", "fwinfo", "", k64, "", "FF++"},
    {78, "", -10337, "get Groupinfo failed", "fwinfo", kNoGroup, kFails, "", "FF++"},
    {91, "", -10351, "get imei failed", "fwinfo", string(15, '9'), string(15, '9'), "", "FF++"},
    {91, "", -10351, "get imei failed", "uci", kFails, "860000000000017", "", ""},
    {91, "", -10351, "get imei failed", "atcon", string(15, '9'), "860000000000017", "", ""},
    {91, "", -10351, "get imei failed", "cellcli", string(15, '9'), string(15, '9'), "", "", "FG621"},
    {104, R"({"gear":"2","time":3})", -10300, "Set Fan Control Error", "fwinfo", "", "", "", "FF++"},
    {104, R"({"gear":"2","time":3})", -10300, "Set Fan Control Error", "main_fanctrl", "", "", "", ""},
    {135, "", -10335, "get config for check failed", "fwinfo", "", k63, "", "FF++"},
    {106, "", -10344, "get card state failed", "uci", "", k8.substr(5), "", "FF++"},
    {107, "", -10345, "get card conn failed", "uci", "", k8.substr(5), "", "FF++"},
    {108, "", -10346, "get card siglvl failed", "uci", "", k8, "", "FF++"},
    {109, "", -10347, "get card reg state failed", "uci", "", k8, "", "FF++"},
    {131, R"({"band":0,"nss":2})", -10357, "get wifi rssi error", "uci", "-128", "-128", "", "FF++"},
    {131, R"({"band":0,"nss":2})", -10357, "get wifi rssi error", "wifistats", "-128", "6", "", ""},
    {110, "", -10348, "get sim imei failed", "atcon", "", "860000000000017", "", "FF++"},
    {112, kTest, -10352, "set antenna failed", "uci", kFails, kFails, "", "FF++"},
    {114, "1", -10354, "set antenna FTM failed", "uci", kFails, kFails, "", "FF++"},
    {114, "1", -10354, "set antenna FTM failed", "atcon", "", "", "", ""},
    {115, "", -10355, "get antenna FTM failed", "uci", kFails, kFails, "", "FF++"},
    {115, "", -10355, "get antenna FTM failed", "atcon", kFails, "0\n", "", ""},
    {116, "", -10356, "get lte soft version failed", "uci", kFails, kFails, "", "FF++"},
    {116, "", -10356, "get lte soft version failed", "atcon", kFails, "11.22.33.44", "", ""},
    {116, "", -10356, "get lte soft version failed", "cellcli", kFails, "11.22.33.44", "", "", "FG621"},
    {92, "", -10341, "QLog failed to start!", "QLog", "", "", "", "+F++"},
    {94, "1", -10343, "ExtAntenna failed to change!", "reload_config", kFails, "", "", "FF++"},
    {94, "1", -10343, "ExtAntenna failed to change!", "uci", "", "", "", ""},
    {50, "WIFI", -10331, "get SSID failed", "/sbin/is_cal", kFails, kFails, "", "FF++"},
    {86, "", -10331, "get SSID failed", "/sbin/is_cal", kFails, kFails, "", "FF++"},
    {18, "", -10309, "start calibration data failed", "/sbin/wifi", "", "", "", "+F++"},
    {18, "Btdiag", -10309, "start calibration data failed", "/etc/init.d/bluetopia", "", "", "", "+F++"},
    {18, "coext", -10309, "start calibration data failed", "coext", "", "", "", "+F++"},
    {89, R"({"gear":255})", -10300, "recheck all gears fanspeed failed!", "/etc/init.d/fan_control", "", "", "", "+F++"},
    {128, R"({"band":"0","antmode":1})", -10300, "Set Smart Antenna Error", "", "", "", "", "+F++"},
    {69, "", -10334, "get enable flags failed", "", "", "", "", "++++"},
    {87, "", -10340, "get bluetooth enable failed", "", "", "", "", "++++"},
    {80, "", -10349, "enable test mode failed", "mfgp_hook_enable_testmode", "", "", "", "+F++"},
    {79, "3", -10338, "generate Groupinfo failed", "/bin/generate_group", kFails, kWorks, "", "FFFF"},
    // Each field once: a tool that fails to write has run, and the permission is used up.
    {17, "", -10308, "erase calibration data failed", "mfgp_hook_erase_radio", "", "", "radio", "++++"},
    {54, "ID", -10315, "set device ID failed", "flashkv", "", "", "device-id", "+FFF"},
    {76, "00000000", -1, "get product id failed", "flashkv", "", "", "pin", "+FFF"},
    {75, kMac, -10303, "set mac failed", "flashkv", "", "", "default-mac", "FFFF"},
    {75, kMac, -10303, "set mac failed", "mfgp_hook_setmac", "", "", "default-mac", ""},
    {75, kMac, -10303, "set mac failed", "/lib/essid/essid.sh", "", "", "default-mac", ""},
    {90, kImei, -10350, "set imei failed", "flashkv", "", "", "default-imei", "FFFF"},
    {90, kImei, -10350, "set imei failed", "atcon", "", "", "default-imei", ""},
    {90, kImei, -10350, "set imei failed", "uci", kFails, "", "default-imei", ""},
    {60, "OEM", -10325, "set OEM ID failed", "flashkv", kFails, "", kInfo, "FFFF"},
    {65, "NZ", -10327, "set Special ID failed", "flashkv", kFails, "", kInfo, "FFFF"},
    {67, "DE", -10329, "set Country Code failed", "flashkv", kFails, "", kInfo, "FFFF"},
    {82, "M60", -10327, "set model name failed", "flashkv", kFails, "", kInfo, "FFFF"},
    {77, kGroup, -10336, "set group failed", "flashkv", kFails, "", kInfo, "FFFF"},
    {77, kGroup, -10336, "set group failed", "/bin/check_group", kFails, "", kInfo, ""},
    {73, "", -10300, "soft reset fail", "flashkv", kFails, "", "user-config", "FF+F"},
};
// clang-format on


class Faults : public testing::Test {
  protected:
    // Starts a unit with room for a mebibyte in its /tmp. False when this machine cannot.
    bool start() {
        unit.reset();
        kernel.reset();
        try {
            kernel = std::make_unique<Kernel>([this] { unit.emplace(std::vector<StateFile>{{"/flash/user-config", "kept"}}, std::vector<string>{"--tmp-size", "1048576"}); });
        } catch (const UnitImpossible&) {
            return false;
        }
        station.emplace();
        spent.clear();
        return true;
    }

    // What the station sees of the command: the text of the answer, or kFails.
    string see(const Row& row) {
        unit->errors();
        const bool inner = row.subType == 72 || row.subType == 73;
        const Answer answer = inner ? station->encrypted(row.subType, row.argument)
                                    : station->command(row.subType, row.argument);
        const string text = answer.payload.c_str() + (inner ? 12 : 0);
        if (answer.info() == 0)
            return text;
        EXPECT_EQ(answer.info(), 3);
        EXPECT_EQ(text, "");
        const string errors = unit->errors();
        const bool unsaid = row.subType == 76 && spent.contains(76);
        EXPECT_NE(unsaid, errors.find(errorLine(row.code, row.message)) != string::npos) << errors;
        return kFails;
    }

    std::map<string, string> flash() const {
        std::map<string, string> parts;
        for (const auto& entry : fs::directory_iterator(unit->path("/flash")))
            parts[entry.path().filename()] = unit->read("/flash/" + entry.path().filename().string());
        return parts;
    }

    // The command under a fault that `arise` brings and `lift` takes away again.
    void expect(const Row& row, const string& expected, bool canWrite, bool isLast,
                const std::function<void()>& arise, const std::function<void()>& lift) {
        SCOPED_TRACE(std::to_string(row.subType) + " " + row.argument + " " + row.tool);
        const bool once = !row.changes.empty() && row.subType != 73;
        ASSERT_TRUE(!once || !spent.contains(row.subType) || start());
        unit->write("/modem/kind", row.modem + "\n");
        unit->write("/modem/ftm", row.subType == 112 ? "1\n" : "0\n");
        if (!answers.contains(&row))
            answers[&row] = once || row.subType == 73 ? "" : see(row);
        const string healthy = answers[&row];
        auto before = flash();
        arise();
        const string seen = see(row);
        lift();
        const bool differs = row.subType == 79;  // from time to time
        EXPECT_TRUE(seen == (expected == kWorks ? healthy : expected) || (differs && seen != kFails)) << seen;
        // A failure changes nothing; these two have done a part when they fail, and are asked again.
        const bool mayChange = canWrite && (seen != kFails || row.subType == 90 || row.subType == 73);
        for (const auto& [part, content] : flash())
            EXPECT_TRUE(content == before[part] || (mayChange && part == row.changes)) << part;
        if (once && seen != kFails)
            spent.insert(row.subType);
        if (!once && !isLast)
            return;
        const string again = see(row);
        EXPECT_EQ(again == kFails, spent.contains(row.subType));
        EXPECT_TRUE(once || differs || again == healthy) << again;
        EXPECT_TRUE(!once || seen != kFails || flash()[row.changes] != before[row.changes]);
        if (once)
            spent.insert(row.subType);
    }

    // Has the unit's own shell do something.
    void inUnit(const string& snippet) {
        unit->fault("fwinfo", snippet + "; exit");
        station->command(55);
        unit->remove("/fault/fwinfo");
    }

    std::unique_ptr<Kernel> kernel;
    std::optional<Unit> unit;
    std::optional<Station> station;
    std::map<const Row*, string> answers;  // without a fault
    std::set<int> spent;  // commands that have done what they do once
};

TEST_F(Faults, OfATool) {
    for (const string way : {"missing", "exit 1", "exit 0", "kill -9 $$", "yes x | tr -d '\\n' | head -c 1048576"}) {
        SCOPED_TRACE(way);
        ASSERT_TRUE(start());
        const bool works = way.starts_with("yes");
        for (const Row& row : kRows) {
            if (row.tool.empty())
                continue;
            const string path = row.tool[0] == '/' ? row.tool : "/usr/sbin/" + row.tool;
            const string name = fs::path(path).filename();
            const bool writes = works || row.changes.empty() || (name != "flashkv" && name != "mfgp_hook_erase_radio");
            // reload_config says nothing when it has worked, too.
            const string without = way == "exit 0" && name == "reload_config" ? "" : row.without;
            expect(row, works ? row.noisy : without, writes, works,
                [&] {
                    if (way == "missing")
                        fs::rename(unit->path(path), unit->path(path + ".away"));
                    else
                        unit->fault(name, way);
                },
                [&] {
                    if (way == "missing")
                        fs::rename(unit->path(path + ".away"), unit->path(path));
                    unit->remove("/fault/" + name);
                });
        }
    }
}

TEST_F(Faults, OfTheSystem) {
    const struct {
        const char* what;
        std::function<void()> arise;
        std::function<void()> lift;
    } columns[] = {
        {"no pipe", [&] { unit->allowPipes(false); }, [&] { unit->allowPipes(true); }},
        {"no process", [&] { kernel->answer(unit->daemon(), Kernel::kForks, -EAGAIN, 1000); }, [&] { kernel->answer(unit->daemon(), Kernel::kForks, 0, 0); }},
        {"/tmp full", [&] { inUnit("yes | head -c 1048576 >/tmp/filler"); }, [&] { inUnit("rm /tmp/filler"); }},
        {"/tmp read-only", [&] { inUnit("mount -o remount,ro tmpfs /tmp"); }, [&] { inUnit("mount -o remount,rw tmpfs /tmp"); }},
    };
    for (size_t i = 0; i < std::size(columns); i++) {
        SCOPED_TRACE(columns[i].what);
        ASSERT_TRUE(start());
        for (const Row& row : kRows)
            if (!row.denied.empty())
                expect(row, row.denied[i] == 'F' ? kFails : kWorks, true, i == 3, columns[i].arise, columns[i].lift);
    }
}

const Row& rowOf(uint8_t subType) {
    return *std::ranges::find(kRows, subType, &Row::subType);
}

TEST_F(Faults, OfADump) {
    ASSERT_TRUE(start());
    const string whole = unit->read("/flash/product-info");
    const string empty = "[ $1 = -w ] || { : >$2; exit ", cut = "[ $1 = -w ] || { head -c 50 /flash/product-info >$2; exit ";
    const struct {
        string tool;
        string seen;
        string after;
    } rows[] = {
        {empty + "1; }", kFails, whole},
        {cut + "1; }", kFails, whole},
        {cut + "$(kill -9 $$); }", kFails, whole},
        {"exit 0", kFails, whole},
        // A dump that the tool calls whole is nothing else than one of a partition with less in it:
        // all of it is kept.
        {empty + "0; }", "", "oem_id:OEM\n"},
        {cut + "0; }", "", whole.substr(0, 50) + "\noem_id:OEM\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tool);
        ASSERT_TRUE(start());
        unit->write("/flash/product-info", whole);
        inUnit("echo left:1 >/tmp/oemid-tmp");
        unit->fault("flashkv", row.tool);
        EXPECT_EQ(see(rowOf(60)), row.seen);
        EXPECT_EQ(unit->read("/flash/product-info"), row.after);
    }
}

TEST_F(Faults, OfTheConfiguration) {
    ASSERT_TRUE(start());
    for (const auto& [file, subType] : {std::pair("wifi", 69), {"protocol", 69}, {"bluetooth", 69}, {"bluetooth", 87}, {"wifi", 135}}) {
        const string path = string("/etc/config/") + file, good = unit->read(path);
        string lists = good;
        for (size_t at = 0; (at = lists.find("option", at)) != string::npos;)
            lists.replace(at, 6, "list");
        for (const string& bad : {string(), good + "config 'open\n", lists})
            expect(rowOf(static_cast<uint8_t>(subType)), kFails, false, true,
                   [&] { bad.empty() ? unit->remove(path) : unit->write(path, bad); },
                   [&] { unit->write(path, good); });
    }
}

TEST_F(Faults, OfAControllerThatLoops) {
    const string module = "/usr/lib/lua/luci/controller/admin/administration.lua";
    ASSERT_TRUE(start());
    const string good = unit->read(module);
    const time_t before = time(nullptr);
    expect(rowOf(55), kWorks, false, true,
           [&] { unit->write(module, "local start = os.time() while os.time() - start < 6 do end " + good); },
           [&] { unit->write(module, good); });
    EXPECT_GE(time(nullptr) - before, 5);
}

TEST_F(Faults, OfASignalInAWait) {
    ASSERT_TRUE(start());
    for (const auto kind : {Kernel::kSelects, Kernel::kWaits})
        for (const uint8_t subType : std::initializer_list<uint8_t>{53, 94, 60})
            expect(rowOf(subType), kWorks, true, true,
                   [&] { kernel->answer(unit->daemon(), kind, -EINTR, 3); },
                   [&] {
                       EXPECT_EQ(station->ask({.type = 4}).info(), 0);
                       EXPECT_EQ(kernel->left(), 0);
                   });
}

}  // namespace
