// What a unit can fail at: what each command answers under every fault, and what it has changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <regex>
#include <set>

#include "tests/support/kernel.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using std::string;
namespace fs = std::filesystem;

const string kFails = "(fails)";  // info 3, nothing in the reply, the command's own code and text
const string kWorks = "(works)";  // answers as without the fault
const string kGroup =
    R"({"key":")" + string(304, 'k') + R"(","gid":")" + string(36, 'g') + R"(","pack":3})";
const string kMac = "\x02\x1A\x2B\x13\x7B\x0F", kImei = "860000000000017",
             kNines(15, '9'), kInfo = "product-info";
const string kRssi = R"({"band":0,"nss":2})", kGear = R"({"gear":"2","time":3})",
             kChains = R"({"band":"0","antmode":1})";

string x(size_t count) { return string(count, 'x'); }

// One that brings nothing is missing, fails, says nothing or is killed; a noisy one prints a
// mebibyte of x before it does its work.
struct Tool {
    string name;
    string without, noisy;  // what the reply holds
    string modem = "RG520N-EU";
};

struct Row {
    uint8_t subType;
    string argument;
    int code;
    string message;
    string denied;  // under FaultsOfTheSystem: fails (F) or works (+)
    std::vector<Tool> tools;
    string changes = {};  // the partition that is written, once in a run unless it is the reset
};

// clang-format off
const Row kRows[] = {
    {10, "", -10330, "get Product ID failed", "FF++", {{"fwinfo", "00000000", x(16)}}},
    {53, "", -10316, "get device ID failed", "FF++", {{"fwinfo", "", x(64)}}},
    {55, "", -10320, "get mac failed", "FF++", {{"fwinfo", "", x(17)}}},
    {56, "", -10321, "get fw ID failed", "FF++", {{"fwinfo", "", x(64)}}},
    {57, "", -10322, "get fw ID failed", "FF++", {{"fwinfo", "", x(64)}}},
    {59, "", -10324, "get OEM ID failed", "FF++", {{"fwinfo", "", x(64)}}},
    {66, "", -10328, "get Country Code failed", "FF++", {{"fwinfo", "UN", x(64)}}},
    {58, "", -10323, "get hw desc failed", "FF++", {{"fwinfo", "", x(31) + " " + x(31)}}},
    {64, "", -10326, "get special ID failed", "FF++", {{"fwinfo", "UN", ""}}},
    {68, "", -10331, "get SSID failed", "FF++", {{"fwinfo", "", x(64)}}},
    {70, "", -10333, "get hw version failed", "FF++", {{"fwinfo", "", x(64)}}},
    {71, "", -10332, "get fw version failed", "FF++", {{"fwinfo", "", x(64)}}},
    {72, "", -10339, "get model name failed", "FF++", {{"fwinfo", "", x(64)}}},
    {78, "", -10337, "get Groupinfo failed", "FF++", {{"fwinfo", R"({ "key": "", "gid": "", "pack": 0 })", kFails}}},
    {91, "", -10351, "get imei failed", "FF++",
     {{"fwinfo", kNines, kNines}, {"uci", kFails, kImei}, {"atcon", kNines, kImei}, {"cellcli", kNines, kNines, "FG621"}}},
    {135, "", -10335, "get config for check failed", "FF++", {{"fwinfo", "", x(63)}}},
    {104, kGear, -10300, "Set Fan Control Error", "FF++", {{"fwinfo", "", ""}, {"main_fanctrl", "", ""}}},
    {106, "", -10344, "get card state failed", "FF++", {{"uci", "", x(3)}}},
    {107, "", -10345, "get card conn failed", "FF++", {{"uci", "", x(3)}}},
    {109, "", -10347, "get card reg state failed", "FF++", {{"uci", "", x(8)}}},
    {108, "", -10346, "get card siglvl failed", "FF++", {{"uci", "", x(8)}}},
    {110, "", -10348, "get sim imei failed", "FF++", {{"atcon", "", kImei}}},
    {112, "1-3-0-60-1-19850", -10352, "set antenna failed", "FF++", {{"uci", kFails, kFails}}},
    {114, "1", -10354, "set antenna FTM failed", "FF++", {{"uci", kFails, kFails}, {"atcon", "", ""}}},
    {115, "", -10355, "get antenna FTM failed", "FF++", {{"uci", kFails, kFails}, {"atcon", kFails, "0\n"}}},
    {116, "", -10356, "get lte soft version failed", "FF++",
     {{"uci", kFails, kFails}, {"atcon", kFails, "11.22.33.44"}, {"cellcli", kFails, "11.22.33.44", "FG621"}}},
    {131, kRssi, -10357, "get wifi rssi error", "FF++", {{"uci", "-128", "-128"}, {"wifistats", "-128", "6"}}},
    {93, "", -10342, "QLog failed to stop!", "++++", {}},  // none runs
    {92, "", -10341, "QLog failed to start!", "+F++", {{"QLog", "", ""}}},
    {94, "1", -10343, "ExtAntenna failed to change!", "FF++", {{"reload_config", kFails, ""}, {"uci", "", ""}}},
    {50, "WIFI", -10331, "get SSID failed", "FF++", {{"/sbin/is_cal", kFails, kFails}}},
    {86, "", -10331, "get SSID failed", "FF++", {{"/sbin/is_cal", kFails, kFails}}},
    {69, "", -10334, "get enable flags failed", "++++", {}},
    {87, "", -10340, "get bluetooth enable failed", "++++", {}},
    {18, "", -10309, "start calibration data failed", "+F++", {{"/sbin/wifi", "", ""}, {"/etc/init.d/qcmbr", "", ""}}},
    {18, "Btdiag", -10309, "start calibration data failed", "+F++", {{"/etc/init.d/bluetopia", "", ""}}},
    {18, "coext", -10309, "start calibration data failed", "+F++", {{"coext", "", ""}}},
    {89, R"({"gear":255})", -10300, "recheck all gears fanspeed failed!", "+F++", {{"/etc/init.d/fan_control", "", ""}}},
    {128, kChains, -10300, "Set Smart Antenna Error", "+F++", {}},
    {80, "", -10349, "enable test mode failed", "+F++", {{"mfgp_hook_enable_testmode", "", ""}}},
    {79, "3", -10338, "generate Groupinfo failed", "FFFF", {{"/bin/generate_group", kFails, kWorks}}},
    {17, "", -10308, "erase calibration data failed", "++++", {{"mfgp_hook_erase_radio", "", ""}}, "radio"},
    {54, "ID", -10315, "set device ID failed", "+FFF", {{"flashkv", "", ""}}, "device-id"},
    {76, "00000000", -1, "get product id failed", "+FFF", {{"flashkv", "", ""}}, "pin"},
    {75, kMac, -10303, "set mac failed", "FFFF", {{"flashkv", "", ""}, {"mfgp_hook_setmac", "", ""}, {"/lib/essid/essid.sh", "", ""}}, "default-mac"},
    {90, "123456789012345", -10350, "set imei failed", "FFFF", {{"flashkv", "", ""}, {"atcon", "", ""}, {"uci", kFails, ""}}, "default-imei"},
    {60, "OEM", -10325, "set OEM ID failed", "FFFF", {{"flashkv", kFails, ""}}, kInfo},
    {65, "NZ", -10327, "set Special ID failed", "FFFF", {{"flashkv", kFails, ""}}, kInfo},
    {67, "DE", -10329, "set Country Code failed", "FFFF", {{"flashkv", kFails, ""}}, kInfo},
    {82, "M60", -10327, "set model name failed", "FFFF", {{"flashkv", kFails, ""}}, kInfo},
    {77, kGroup, -10336, "set group failed", "FFFF", {{"flashkv", kFails, ""}, {"/bin/check_group", kFails, ""}}, kInfo},
    {73, "", -10300, "soft reset fail", "FF+F", {{"flashkv", kFails, ""}}, "user-config"},
};
// clang-format on

const Row& rowOf(uint8_t subType) { return *std::ranges::find(kRows, subType, &Row::subType); }

class Faults : public testing::Test {
  protected:
    void SetUp() override { start(); }

    void start() {
        unit.reset();
        spent.clear();
        // A coexistence test that ended would write into /tmp beside a fault of it.
        unit.emplace(
            std::vector<StateFile>{{"/flash/user-config", "kept"}, {"/wlan/coext_seconds", "3600"}},
            std::vector<string>{"--tmp-size", "1048576"});
        station.emplace();
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
        const bool isSilent = row.subType == 76 && spent.contains(76);
        const string error = errorLine(row.code, row.message);
        EXPECT_NE(isSilent, unit->errors().find(error) != string::npos) << error;
        return kFails;
    }

    std::map<string, string> flash() const {
        std::map<string, string> parts;
        for (const auto& entry : fs::directory_iterator(unit->path("/flash")))
            parts[entry.path().filename()] = readFile(entry);
        return parts;
    }

    using Action = std::function<void()>;
    // The command under a fault that `arise` brings and `lift` takes away again. Thereafter, which
    // is looked at when no other fault follows, it works as before, unless its permission is used
    // up.
    void expect(const Row& row, const string& expected, const Action& arise, const Action& lift,
                bool isLast = true, bool canWrite = true) {
        SCOPED_TRACE(std::to_string(row.subType) + " " + row.argument);
        const bool once = !row.changes.empty() && row.subType != 73, differs = row.subType == 79;
        if (spent.contains(row.subType))
            start();
        unit->write("/modem/ftm", row.subType == 112 ? "1\n" : "0\n");
        if (!answers.contains(&row))
            answers[&row] = row.changes.empty() ? see(row) : "";
        const string& answer = answers[&row];
        auto before = flash();
        arise();
        const string seen = see(row);
        lift();
        EXPECT_TRUE(seen == (expected == kWorks ? answer : expected) || (differs && seen != kFails))
            << seen;
        // A failure changes nothing, but for these two, which have done a part and are asked again.
        const bool mayChange =
            canWrite && (seen != kFails || row.subType == 90 || row.subType == 73);
        for (const auto& [part, content] : flash())
            EXPECT_TRUE(content == before[part] || (mayChange && part == row.changes)) << part;
        if (once && seen != kFails)
            spent.insert(row.subType);
        else if (!isLast)
            return;
        const string again = see(row);
        EXPECT_TRUE(spent.contains(row.subType) ? again == kFails : again == answer || differs)
            << again;
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

    std::optional<Unit> unit;
    std::optional<Injection> injection;
    std::optional<Station> station;
    std::map<const Row*, string> answers;  // without a fault
    std::set<int> spent;                   // the commands that have done what they do once
};

class FaultsOfATool : public Faults, public testing::WithParamInterface<const char*> {};

TEST_P(FaultsOfATool, AreAnswered) {
    const string way = GetParam();
    const bool works = way.starts_with("yes"), missing = way == "missing";
    for (const Row& row : kRows)
        for (const auto& tool : row.tools) {
            const string path = tool.name[0] == '/' ? tool.name : "/usr/sbin/" + tool.name;
            const string file = fs::path(path).filename();
            const auto move = [&](const string& from, const string& to) {
                fs::rename(unit->path(from), unit->path(to));
            };
            unit->write("/modem/kind", tool.modem + "\n");
            // reload_config says nothing when it has worked, too.
            const bool isDone = way == "exit 0" && file == "reload_config";
            const bool canWrite = works || (file != "flashkv" && file != "mfgp_hook_erase_radio");
            expect(
                row, works ? tool.noisy : (isDone ? "" : tool.without),
                [&] { missing ? move(path, "/away") : unit->fault(file, way); },
                [&] { missing ? move("/away", path) : unit->remove("/fault/" + file); },
                &tool == &row.tools.back(), canWrite);
        }
}
INSTANTIATE_TEST_SUITE_P(, FaultsOfATool,
                         testing::Values("missing", "exit 1", "exit 0", "kill -9 $$",
                                         "yes x | tr -d '\\n' | head -c 1048576"));

class FaultsOfTheSystem : public Faults, public testing::WithParamInterface<size_t> {};

TEST_P(FaultsOfTheSystem, AreAnswered) {
    const struct {
        Action arise;
        Action lift;
    } columns[] = {
        {[&] { unit->allowPipes(false); }, [&] { unit->allowPipes(true); }},
        {[&] { injection.emplace(*unit, kForks, "error=EAGAIN"); }, [&] { injection.reset(); }},
        {[&] { inUnit("yes | head -c 1048576 >/tmp/filler"); }, [&] { inUnit("rm /tmp/filler"); }},
        {[&] { inUnit("mount -o remount,ro tmpfs /tmp"); },
         [&] { inUnit("mount -o remount,rw tmpfs /tmp"); }},
    };
    const auto& [arise, lift] = columns[GetParam()];
    for (const Row& row : kRows)
        expect(row, row.denied[GetParam()] == 'F' ? kFails : kWorks, arise, lift);
}
INSTANTIATE_TEST_SUITE_P(, FaultsOfTheSystem, testing::Range<size_t>(0, 4));

TEST_F(Faults, OfADump) {
    const string whole = unit->read("/flash/product-info"), ifDump = "[ $1 = -w ] || ";
    const string empty = ": >$2; ", cut = "head -c 50 /flash/product-info >$2; ";
    const struct {
        string tool;
        string seen;
        string after;
    } rows[] = {
        // The exit status is ignored: only a missing file shows that the dump failed.
        {"exit 1", kFails, whole},
        {"exit 0", kFails, whole},
        {cut + "kill -9 $$", "", whole.substr(0, 50) + "\noem_id:OEM\n"},
        {cut + "exit 0", "", whole.substr(0, 50) + "\noem_id:OEM\n"},
        {empty + "exit 0", "", "oem_id:OEM\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tool);
        if (unit->read("/flash/product-info") != whole)
            start();
        inUnit("echo left:1 >/tmp/oemid-tmp");
        unit->fault("flashkv", ifDump + "{ " + row.tool + "; }");
        EXPECT_EQ(see(rowOf(60)), row.seen);
        EXPECT_EQ(unit->read("/flash/product-info"), row.after);
    }
}

TEST_F(Faults, OfTheConfiguration) {
    const std::pair<const char*, uint8_t> reads[] = {
        {"wifi", 69}, {"protocol", 69}, {"bluetooth", 69}, {"bluetooth", 87}, {"wifi", 135}};
    for (const auto& [file, subType] : reads) {
        const string path = string("/etc/config/") + file, good = unit->read(path);
        const string lists = std::regex_replace(good, std::regex("option"), "list");
        const auto lift = [&] { unit->write(path, good); };
        expect(
            rowOf(subType), kFails, [&] { unit->remove(path); }, lift);
        for (const string& bad : {good + "config 'open\n", lists})
            expect(
                rowOf(subType), kFails, [&] { unit->write(path, bad); }, lift);
    }
}

TEST_F(Faults, OfAControllerThatLoops) {
    const string module = "/usr/lib/lua/luci/controller/admin/administration.lua";
    const string good = unit->read(module);
    const string loop = "local start = os.time() while os.time() - start < 6 do end ";
    const time_t before = time(nullptr);
    expect(
        rowOf(55), kWorks, [&] { unit->write(module, loop + good); },
        [&] { unit->write(module, good); });
    EXPECT_GE(time(nullptr) - before, 5);
}

TEST_F(Faults, OfASignalInAWait) {
    for (const Row& row : {rowOf(53), rowOf(94), rowOf(60)}) {
        expect(
            row, kWorks, [&] { injection.emplace(*unit, "wait4", "error=EINTR:when=1..3"); },
            [&] { injection.reset(); });
        EXPECT_NE(unit->read("/strace").find("(INJECTED)"), string::npos);
    }
}

}  // namespace
