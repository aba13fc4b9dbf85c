// The group commands: what is refused and why, what is read back, what is generated.
#include "tests/support/commands.h"

namespace {

// A row is a line, from here on.
// clang-format off

const Command kSetGroup = {77, "mfgp2_cmd_setGroupInfo", -10336, "set group failed"},
    kGetGroup = {78, "mfgp2_cmd_getGroupInfo", -10337, "get Groupinfo failed"},
    kGenerate = {79, "mfgp2_cmd_generateGroupInfo", -10338, "generate Groupinfo failed"};
const std::string kKey(308, 'k'), kGid(36, 'g');

std::string object(const std::string& key, const std::string& gid, const std::string& pack) {
    return R"({"gid":")" + gid + R"(","pack":)" + pack + R"(,"key":")" + key + R"("})";
}

class Group : public Commands {};

TEST_F(Group, IsRefusedWhenItIsNotValid) {
    const std::string before = unit.read("/flash/product-info"), fault = "/fault/check_group";
    const std::string yes = "printf success >$2; exit", rejected = "check group input error\n", error = "Set GroupInfo error, ";
    const std::string noJson = error + "json_tokener_parse result is NULL\n", noGid = error + "not find gid object \n", badGid = error + "gid not valid \n";
    const Lines check = {"rm /tmp/mfgp_group.output > /dev/null 2>&1; /bin/check_group /tmp/mfgp_group.input /tmp/mfgp_group.output"};
    const Lines dump = {check[0], "flashkv -r /tmp/group-tmp -p product-info"};
    const std::string check1 = "[__check_group_input():%] ", output = " file /tmp/mfgp_group.output error\n";
    expectRows(kSetGroup, {
        {"", kFails, rejected, fault, yes},
        {"{", kFails, noJson, "", "", check},
        {std::string(1024, ' ') + object(kKey, kGid, "3"), kFails, noJson, "", "", check},
        {"[1]", kFails, noGid, "", "", check},
        {object(kKey, kGid + "g", "3"), kFails, badGid, "", "", check},
        {object(kKey, kGid.substr(1), "3"), kFails, badGid, "", "", check},
        {object(kKey, "\\u0000" + kGid, "3"), kFails, badGid, "", "", check},
        {R"({"gid":")" + kGid + R"(","key":3})", kFails, error + "not find key object \n", "", "", check},
        {object(kKey.substr(2), kGid, "3"), kFails, error + "key not valid \n", "", "", check},
        {object(kKey, kGid, R"("3")"), kFails, error + "not find pack object \n", "", "", check},
        {object(kKey.substr(1) + "\\n", kGid, "3"), kFails, error + "modify /tmp/group-tmp key error \n", "", "", dump},
        {object(kKey, kGid.substr(1) + "\\r", "3"), kFails, error + "modify /tmp/group-tmp gid error \n", "", "", dump},
        // Only the exact verdict on the text as it came is accepted.
        {"[5]", kFails, noGid, fault, "[ \"$(cat $1)\" = '[5]' ] && printf success >$2; exit", check},
        {"[1]", kFails, rejected, fault, "exit", check},  // the verdict above has been removed
        {"[1]", kFails, rejected, fault, "printf 'success%093d' 0 >$2; exit", check},
        {"[1]", kFails, rejected, fault, "printf succes >$2; exit", check},
        {"[1]", kFails, check1 + "open" + output, fault, "rm -f $2; exit", check},
        {"[1]", kFails, check1 + "fread" + output, fault, "mkdir $2; exit", check},
    });
    EXPECT_EQ(unit.read("/flash/product-info"), before);
    // Numbers of more than seven characters are cut.
    unit.remove("/tmp/mfgp_group.output");
    unit.remove(fault);
    EXPECT_EQ(ask(kSetGroup, object(kKey, kGid, "-123456789012")), "");
    EXPECT_EQ(unit.read("/flash/product-info"), before + "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\npreconf_p:-214748\n");
    expectRows(kSetGroup, {{object(kKey, kGid, "3"), kFails, error + "repeated execution \n"}});
}

TEST_F(Group, IsAnsweredAsAnObject) {
    const auto stored = [&](const std::string& key, const std::string& gid, const std::string& pack, const Text& answer, const std::string& said) {
        unit.write("/fw/PRECONF_KEY", key);
        unit.write("/fw/PRECONF_GID", gid);
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(kGetGroup, {{kArgument, answer, said, "/fw/PRECONF_PACK", pack}});
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-cache"));
    };
    stored(kKey + "cut", kGid + "cut", "099", R"({ "key": ")" + kKey + R"(", "gid": ")" + kGid + R"(", "pack": 9 })", "pRplyBuf is: { \"key\": \"kk");
    stored("a\"/", "", "", R"({ "key": "a\"\/", "gid": "", "pack": 0 })", "groupinfo pack_str is: , len is 0\n");
    stored("", "", "1a", kFails, "pack_str is not digit.\n");
    stored("", "", "-5", kFails, "pack_str is not digit.\n");
    unit.allowPipes(false);
    expectRows(kGetGroup, {{"", kFails, "get firm info key failed.\n"}});
}

TEST_F(Group, IsGeneratedByTheFirmwaresTool) {
    for (const auto& [argument, generator, count, answer] : {
            // No count: it is not even asked.
            std::tuple{"5", "printf 'a\\000b\\n' >$2", "5", Text(std::string("a\0b\n", 4))},
            {"12x", "echo $1 >$2; exit 1", "12", "12\n"},
            {"1", "yes x | tr -d '\\n' | head -c 1030 >$2", "1", std::string(1023, 'x')},
            {"1", ": >$2", "1", kFails}, {"2147483647", ":", "2147483647", kFails},
            {"0", ":", "", kFails}, {"-2", ":", "", kFails}, {"4294967297", ":", "", kFails}}) {
        expectRows(kGenerate, {{argument, answer, "", "/fault/generate_group", std::string(generator) + "; exit"}});
        EXPECT_EQ(unit.calls(), *count == 0 ? Lines{} : Lines{std::string("generate_group ") + count + " /tmp/mfgp_generate_group"});
    }
    expectRows(kGenerate, {{"1", kFails, "open /tmp/mfgp_generate_group file error \n"}});
    unit.remove("/fault/generate_group");
    EXPECT_EQ(ask(kSetGroup, station.command(79, "3").text()), "") << "fits together";
}

}  // namespace
