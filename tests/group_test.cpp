// The group commands: what is refused and why, what is read back, what is generated.
#include "tests/support/commands.h"

namespace {

constexpr uint8_t kSetGroup = 77, kGetGroup = 78, kGenerate = 79;
const std::string kKey(308, 'k'), kGid(36, 'g');

std::string object(const std::string& key, const std::string& gid, const std::string& pack) {
    return R"({"gid":")" + gid + R"(","pack":)" + pack + R"(,"key":")" + key + R"("})";
}

class Group : public Commands {};

TEST_F(Group, IsRefusedWhenItIsNotValid) {
    const std::string before = unit.read("/flash/product-info"), fault = "/fault/check_group";
    const std::string rejected = "check group input error\n", error = "Set GroupInfo error, ";
    const std::string noJson = error + "json_tokener_parse result is NULL\n";
    const std::string noGid = error + "not find gid object \n", badGid = error + "gid not valid \n";
    const std::string output = " file /tmp/mfgp_group.output error\n";
    const std::string check1 = "[__check_group_input():%] ";
    const Lines check = {
        "rm /tmp/mfgp_group.output > /dev/null 2>&1; "
        "/bin/check_group /tmp/mfgp_group.input /tmp/mfgp_group.output"};
    const Lines dump = {check[0], "flashkv -r /tmp/group-tmp -p product-info"};
    const std::vector<Row> rows = {
        // clang-format off
        {"", kFails, rejected, fault, "printf success >$2; exit"},
        {"{", kFails, noJson, "", "", check},
        {std::string(1024, ' ') + object(kKey, kGid, "3"), kFails, noJson, "", "", check},
        {"[1]", kFails, noGid, "", "", check},
        {object(kKey, kGid + "g", "3"), kFails, badGid, "", "", check},
        {object(kKey, "\\u0000" + kGid, "3"), kFails, badGid, "", "", check},
        {R"({"gid":")" + kGid + R"(","key":3})", kFails, error + "not find key object \n", "", "", check},
        {object(kKey.substr(2), kGid, "3"), kFails, error + "key not valid \n", "", "", check},
        {object(kKey, kGid, R"("3")"), kFails, error + "not find pack object \n", "", "", check},
        {object(kKey.substr(1) + "\\n", kGid, "3"), kFails, error + "modify /tmp/group-tmp key error \n", "", "", dump},
        // Only the exact verdict on the text as it came is accepted.
        {"[5]", kFails, noGid, fault, "[ \"$(cat $1)\" = '[5]' ] && printf success >$2; exit", check},
        {"[1]", kFails, rejected, fault, "exit", check},  // the verdict above has been removed
        {"[1]", kFails, rejected, fault, "printf 'success%093d' 0 >$2; exit", check},
        {"[1]", kFails, check1 + "open" + output, fault, "rm -f $2; exit", check},
        {"[1]", kFails, check1 + "fread" + output, fault, "mkdir $2; exit", check},
        // clang-format on
    };
    expectRows(kSetGroup, rows);
    EXPECT_EQ(unit.read("/flash/product-info"), before);
    // Numbers of more than seven characters are cut.
    unit.remove("/tmp/mfgp_group.output");
    unit.remove(fault);
    EXPECT_EQ(ask(kSetGroup, object(kKey, kGid, "-123456789012")), "");
    const std::string keys = "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\n";
    EXPECT_EQ(unit.read("/flash/product-info"), before + keys + "preconf_p:-214748\n");
    expectRows(kSetGroup, {{object(kKey, kGid, "3"), kFails, error + "repeated execution \n"}});
}

TEST_F(Group, IsNotAcceptedByAnEarlierVerdict) {
    unit.write("/tmp/mfgp_group.output", "success");
    unit.remove("/bin/sh");
    EXPECT_EQ(ask(kSetGroup, object(kKey, kGid, "3")), kFails);
    expectSaid("[__check_group_input():%] open file /tmp/mfgp_group.output error\n");
}

TEST_F(Group, IsAnsweredAsAnObject) {
    const std::string cut = R"({ "key": ")" + kKey + R"(", "gid": ")" + kGid + R"(", "pack": 9 })";
    const std::string empty = R"({ "key": "a\"\/", "gid": "", "pack": 0 })";
    for (const auto& [key, gid, pack, answer, said] : {
             std::tuple{kKey + "cut", kGid + "cut", "099", Text(cut),
                        "pRplyBuf is: { \"key\": \"kk"},
             {"a\"/", "", "", empty, "groupinfo pack_str is: , len is 0\n"},
             {"", "", "1a", kFails, "pack_str is not digit.\n"},
             {"", "", "-5", kFails, "pack_str is not digit.\n"},
         }) {
        unit.write("/fw/PRECONF_KEY", key);
        unit.write("/fw/PRECONF_GID", gid);
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(kGetGroup, {{kArgument, answer, said, "/fw/PRECONF_PACK", pack}});
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-cache"));
    }
}

TEST_F(Group, IsGeneratedByTheFirmwaresTool) {
    for (const auto& [argument, generator, count, answer] : {
             // No count: it is not even asked.
             std::tuple{"5", "printf 'a\\000b\\n' >$2", "5", Text(std::string("a\0b\n", 4))},
             {"12x", "echo $1 >$2; exit 1", "12", "12\n"},
             {"1", "yes x | tr -d '\\n' | head -c 1030 >$2", "1", std::string(1023, 'x')},
             {"1", ": >$2", "1", kFails},
             {"0", ":", "", kFails},
             {"-2", ":", "", kFails},
             {"4294967297", ":", "", kFails},
         }) {
        const std::string snippet = std::string(generator) + "; exit";
        expectRows(kGenerate, {{argument, answer, "", "/fault/generate_group", snippet}});
        const std::string call = std::string("generate_group ") + count;
        EXPECT_EQ(unit.calls(), *count == 0 ? Lines{} : Lines{call + " /tmp/mfgp_generate_group"});
    }
    expectRows(kGenerate, {{"1", kFails, "open /tmp/mfgp_generate_group file error \n"}});
    unit.remove("/fault/generate_group");
    EXPECT_EQ(ask(kSetGroup, station.command(79, "3").text()), "") << "fits together";
}

}  // namespace
