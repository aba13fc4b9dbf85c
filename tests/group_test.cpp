// The group commands: refusals and their causes, reads, and generated groups.
#include "tests/support/command_rows.h"
#include "tests/support/commands.h"

namespace {

const std::string kKey(308, 'k'), kGid(36, 'g');

class Group : public Commands {};

TEST_F(Group, AnInvalidObject_IsRefusedWithItsCause) {
    const std::string before = unit.read("/flash/product-info"), good = groupObject(kKey, kGid);
    const std::string rejected = "check group input error\n", noGid = "not find gid object \n";
    const std::string noJson = "json_tokener_parse result is NULL\n";
    const Lines check = {
        "rm /tmp/mfgp_group.output > /dev/null 2>&1; "
        "/bin/check_group /tmp/mfgp_group.input /tmp/mfgp_group.output"};
    const Lines dump = {check[0], "flashkv -r /tmp/group-tmp -p product-info"};
    const std::string badKey = groupObject(kKey.substr(1) + "\\n", kGid);
    const auto refused = [&](const std::string& argument, const std::string& logs, const Lines& ran,
                             const std::string& verdict = "") {
        if (!verdict.empty())
            unit.fault("check_group", verdict + "; exit");
        expectRows(kSetGroup, {{.argument = argument, .answer = kFails, .logs = logs, .ran = ran}});
    };
    refused("", rejected, {}, "printf success >$2");  // this verdict holds for the next rows too
    refused("{", noJson, check);
    refused(std::string(1024, ' ') + good, noJson, check);
    refused("[1]", noGid, check);
    refused(groupObject(kKey, kGid + "g"), "gid not valid \n", check);
    refused(groupObject(kKey, "\\u0000" + kGid), "gid not valid \n", check);
    refused(R"({"gid":")" + kGid + R"(","key":3})", "not find key object \n", check);
    refused(groupObject(kKey.substr(2), kGid), "key not valid \n", check);
    refused(groupObject(kKey, kGid, R"("3")"), "not find pack object \n", check);
    refused(badKey, "modify /tmp/group-tmp key error \n", dump);
    // Only the exact verdict on the unchanged text is accepted. Each check removes the last one.
    refused("[5]", noGid, check, "[ \"$(cat $1)\" = '[5]' ] && printf success >$2");
    refused(good, rejected, check, "exit");
    refused(good, rejected, check, "printf 'success%093d' 0 >$2");
    refused(good, "open file /tmp/mfgp_group.output error\n", check, "rm -f $2");
    refused(good, "fread file /tmp/mfgp_group.output error\n", check, "mkdir $2");
    EXPECT_EQ(unit.read("/flash/product-info"), before);
    // A number of more than seven characters is cut.
    unit.remove("/tmp/mfgp_group.output");
    unit.remove("/fault/check_group");
    EXPECT_EQ(ask(kSetGroup, groupObject(kKey, kGid, "-123456789012")), "");
    const std::string keys = "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\n";
    EXPECT_EQ(unit.read("/flash/product-info"), before + keys + "preconf_p:-214748\n");
    expectRows(kSetGroup, {{.argument = good, .answer = kFails, .logs = "repeated execution \n"}});
}

TEST_F(Group, VerdictLeftByAnEarlierCheck_IsNotUsed) {
    unit.write("/tmp/mfgp_group.output", "success");
    unit.remove("/bin/sh");
    EXPECT_EQ(ask(kSetGroup, groupObject(kKey, kGid)), kFails);
    EXPECT_TRUE(contains(trace, "open file /tmp/mfgp_group.output error"));
}

TEST_F(Group, GetGroup_AnswersAJsonObject_AndRefusesAPackThatIsNotDigits) {
    const std::string cut = R"({ "key": ")" + kKey + R"(", "gid": ")" + kGid + R"(", "pack": 9 })";
    const auto test = [&](const std::string& key, const std::string& gid, const char* pack,
                          const Text& answer) {
        unit.write("/fw/PRECONF_KEY", key);
        unit.write("/fw/PRECONF_GID", gid);
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(kGetGroup, {{.answer = answer, .put = {"/fw/PRECONF_PACK", pack}}});
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-cache"));
    };
    test(kKey + "cut", kGid + "cut", "099", cut);
    test("a\"/", "", "", R"({ "key": "a\"\/", "gid": "", "pack": 0 })");
    test("", "", "1a", kFails);
    test("", "", "-5", kFails);
}

TEST_F(Group, GenerateGroup_AnswersTheOutputOfTheFirmwaresTool) {
    const auto test = [&](const char* argument, const std::string& tool, const Text& answer,
                          const std::string& count = "") {  // without a count the tool does not run
        unit.fault("generate_group", tool + "; exit");
        expectRows(kGenerateGroup, {{.argument = argument, .answer = answer}});
        const Lines call = {"generate_group " + count + " /tmp/mfgp_generate_group"};
        EXPECT_EQ(calls, count.empty() ? Lines{} : call);
    };
    test("5", "printf 'a\\000b\\n' >$2", std::string("a\0b\n", 4), "5");
    test("12x", "echo $1 >$2; exit 1", "12\n", "12");
    test("1", "yes x | tr -d '\\n' | head -c 1030 >$2", x(1023), "1");
    test("1", ": >$2", kFails, "1");
    test("0", ":", kFails);
    test("4294967297", ":", kFails);
    unit.remove("/fault/generate_group");
    EXPECT_EQ(ask(kSetGroup, station.command(kGenerateGroup, "3").text()), "");
}

}  // namespace
