// The group commands: refusals and their causes, reads, and generated groups.
#include "tests/support/command_rows.h"
#include "tests/support/commands.h"

namespace {

constexpr uint8_t kSetGroup = 77, kGetGroup = 78, kGenerate = 79;
const std::string kKey(308, 'k'), kGid(36, 'g');

class Group : public Commands {};

// clang-format off
TEST_F(Group, AnInvalidObject_IsRefusedWithItsCause) {
    const std::string before = unit.read("/flash/product-info"), good = groupObject(kKey, kGid);
    const std::string tool = "/fault/check_group";
    const std::string rejected = "check group input error\n", noGid = "not find gid object \n";
    const std::string noJson = "json_tokener_parse result is NULL\n";
    const Lines check = {"rm /tmp/mfgp_group.output > /dev/null 2>&1; "
                         "/bin/check_group /tmp/mfgp_group.input /tmp/mfgp_group.output"};
    const Lines dump = {check[0], "flashkv -r /tmp/group-tmp -p product-info"};
    const std::string badKey = groupObject(kKey.substr(1) + "\\n", kGid);
    const Row rows[] = {
        {.argument = "", .said = rejected, .put = {tool, "printf success >$2; exit"}, .ran = {}},
        {.argument = "{", .said = noJson},
        {.argument = std::string(1024, ' ') + good, .said = noJson},
        {.argument = "[1]", .said = noGid},
        {.argument = groupObject(kKey, kGid + "g"), .said = "gid not valid \n"},
        {.argument = groupObject(kKey, "\\u0000" + kGid), .said = "gid not valid \n"},
        {.argument = R"({"gid":")" + kGid + R"(","key":3})", .said = "not find key object \n"},
        {.argument = groupObject(kKey.substr(2), kGid), .said = "key not valid \n"},
        {.argument = groupObject(kKey, kGid, R"("3")"), .said = "not find pack object \n"},
        {.argument = badKey, .said = "modify /tmp/group-tmp key error \n", .ran = dump},
        // Only the exact verdict on the text as it came is accepted.
        {.argument = "[5]", .said = noGid,
         .put = {tool, "[ \"$(cat $1)\" = '[5]' ] && printf success >$2; exit"}},
        {.argument = good, .said = rejected, .put = {tool, "exit"}},  // that verdict is removed
        {.argument = good, .said = rejected, .put = {tool, "printf 'success%093d' 0 >$2; exit"}},
        {.argument = good, .said = "open file /tmp/mfgp_group.output error\n",
         .put = {tool, "rm -f $2; exit"}},
        {.argument = good, .said = "fread file /tmp/mfgp_group.output error\n",
         .put = {tool, "mkdir $2; exit"}}};
    for (Row row : rows) {
        row.answer = kFails;
        if (row.ran.empty() && !row.argument.empty())
            row.ran = check;
        expectRows(kSetGroup, {row});
    }
    EXPECT_EQ(unit.read("/flash/product-info"), before);
    // A number of more than seven characters is cut.
    unit.remove("/tmp/mfgp_group.output");
    unit.remove(tool);
    EXPECT_EQ(ask(kSetGroup, groupObject(kKey, kGid, "-123456789012")), "");
    const std::string keys = "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\n";
    EXPECT_EQ(unit.read("/flash/product-info"), before + keys + "preconf_p:-214748\n");
    expectRows(kSetGroup, {{.argument = good, .answer = kFails, .said = "repeated execution \n"}});
}

TEST_F(Group, AnEarlierVerdict_IsNotUsed) {
    unit.write("/tmp/mfgp_group.output", "success");
    unit.remove("/bin/sh");
    EXPECT_EQ(ask(kSetGroup, groupObject(kKey, kGid)), kFails);
}

TEST_F(Group, AReadAnswersAnObject) {
    const std::string cut = R"({ "key": ")" + kKey + R"(", "gid": ")" + kGid + R"(", "pack": 9 })";
    const struct {
        std::string key, gid, pack;
        Text answer = kFails;
    } rows[] = {
        {.key = kKey + "cut", .gid = kGid + "cut", .pack = "099", .answer = cut},
        {.key = "a\"/", .answer = R"({ "key": "a\"\/", "gid": "", "pack": 0 })"},
        {.pack = "1a"},
        {.pack = "-5"}};
    for (const auto& row : rows) {
        unit.write("/fw/PRECONF_KEY", row.key);
        unit.write("/fw/PRECONF_GID", row.gid);
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(kGetGroup, {{.answer = row.answer, .put = {"/fw/PRECONF_PACK", row.pack}}});
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-cache"));
    }
}

TEST_F(Group, AGroupIsGeneratedByTheFirmwaresTool) {
    const struct {
        std::string argument, tool, count;  // without a count the tool does not run
        Text answer = kFails;
    } rows[] = {
        {.argument = "5", .tool = "printf 'a\\000b\\n' >$2", .count = "5",
         .answer = std::string("a\0b\n", 4)},
        {.argument = "12x", .tool = "echo $1 >$2; exit 1", .count = "12", .answer = "12\n"},
        {.argument = "1", .tool = "yes x | tr -d '\\n' | head -c 1030 >$2", .count = "1",
         .answer = x(1023)},
        {.argument = "1", .tool = ": >$2", .count = "1"},
        {.argument = "0"},
        {.argument = "4294967297"}};
    for (const auto& row : rows) {
        unit.fault("generate_group", row.tool + "; exit");
        EXPECT_EQ(ask(kGenerate, row.argument),
                  row.answer ? padded(*row.answer, (row.answer->size() + 7) / 8 * 8) : kFails);
        const Lines call = {"generate_group " + row.count + " /tmp/mfgp_generate_group"};
        EXPECT_EQ(calls, row.count.empty() ? Lines{} : call);
    }
    unit.remove("/fault/generate_group");
    EXPECT_EQ(ask(kSetGroup, station.command(kGenerate, "3").text()), "");
}
// clang-format on

}  // namespace
