// The group commands: what is refused and why, what is read back, what is generated.
#include <gtest/gtest.h>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

const std::string kKey(308, 'k');
const std::string kGid(36, 'g');

std::string object(const std::string& key, const std::string& gid, const std::string& pack) {
    return R"({"gid":")" + gid + R"(","pack":)" + pack + R"(,"key":")" + key + R"("})";
}

std::string padded(std::string text) {
    text.resize((text.size() + 7) / 8 * 8);
    return text;
}

TEST(SetGroup, RefusesWhatIsNotValidAndSaysWhy) {
    Unit unit;
    const Station station;
    const std::string before = unit.read("/flash/product-info");
    const char* const yes = "printf success >$2";
    const struct {
        const char* checker;
        std::string argument;
        const char* log;
        size_t linesRun;
    } rows[] = {
        // clang-format off
        {yes, "", "check group input error\n", 0},
        {yes, "{", "Set GroupInfo error, json_tokener_parse result is NULL\n", 1},
        {yes, std::string(1024, ' ') + object(kKey, kGid, "3"), "Set GroupInfo error, json_tokener_parse result is NULL\n", 1},
        {yes, "[1]", "Set GroupInfo error, not find gid object \n", 1},
        {yes, object(kKey, kGid + "g", "3"), "Set GroupInfo error, gid not valid \n", 1},
        {yes, object(kKey, kGid.substr(1), "3"), "Set GroupInfo error, gid not valid \n", 1},
        {yes, object(kKey, "\\u0000" + kGid, "3"), "Set GroupInfo error, gid not valid \n", 1},
        {yes, R"({"gid":")" + kGid + R"(","key":3})", "Set GroupInfo error, not find key object \n", 1},
        {yes, object(kKey.substr(2), kGid, "3"), "Set GroupInfo error, key not valid \n", 1},
        {yes, object(kKey, kGid, R"("3")"), "Set GroupInfo error, not find pack object \n", 1},
        {yes, object(kKey.substr(1) + "\\n", kGid, "3"), "Set GroupInfo error, modify /tmp/group-tmp key error \n", 2},
        {yes, object(kKey, kGid.substr(1) + "\\r", "3"), "Set GroupInfo error, modify /tmp/group-tmp gid error \n", 2},
        // Only the exact verdict on the text as it came is accepted.
        {"[ \"$(cat $1)\" = '[5]' ] && printf success >$2", "[5]", "Set GroupInfo error, not find gid object \n", 1},
        {":", "[1]", "check group input error\n", 1},  // the verdict above has been removed
        {"echo success >$2", "[1]", "check group input error\n", 1},
        {"printf 'success%093d' 0 >$2", "[1]", "check group input error\n", 1},
        {"printf succes >$2", "[1]", "check group input error\n", 1},
        {"rm -f $2", "[1]", "open file /tmp/mfgp_group.output error\n", 1},
        {"mkdir $2", "[1]", "fread file /tmp/mfgp_group.output error\n", 1},
        // clang-format on
    };
    for (const auto& row : rows) {
        unit.fault("check_group", std::string(row.checker) + "; exit");
        EXPECT_EQ(station.command(77, row.argument).info(), 3);
        const std::string trace = unit.trace();
        EXPECT_NE(trace.find(std::string("] ") + row.log), std::string::npos) << trace;
        EXPECT_EQ(shellLines(trace).size(), row.linesRun) << row.argument;
        EXPECT_EQ(unit.errors().rfind(errorLine(-10336, "set group failed"), 0), 0U);
    }
    EXPECT_EQ(unit.read("/flash/product-info"), before);
    // Numbers of more than seven characters are cut.
    unit.remove("/tmp/mfgp_group.output");
    unit.remove("/fault/check_group");
    EXPECT_EQ(station.command(77, object(kKey, kGid, "-123456789012")).info(), 0);
    EXPECT_EQ(unit.read("/flash/product-info"),
              before + "preconf_k:" + kKey + "\npreconf_g:" + kGid + "\npreconf_p:-214748\n");
    EXPECT_EQ(station.command(77, object(kKey, kGid, "3")).info(), 3);
    EXPECT_NE(unit.trace().find("Set GroupInfo error, repeated execution \n"), std::string::npos);
}

TEST(GetGroup, AnswersTheStoredObject) {
    Unit unit;
    const Station station;
    const auto answered = [](const std::string& key, const std::string& gid, const char* pack) {
        return R"({ "key": ")" + key + R"(", "gid": ")" + gid + R"(", "pack": )" + pack + " }";
    };
    const struct {
        std::string key;
        std::string gid;
        const char* pack;
        std::string answer;  // empty: fails
    } rows[] = {
        {kKey + "cut", kGid + "cut", "099", answered(kKey, kGid, "9")},
        {"a\"/", "", "", answered("a\\\"\\/", "", "0")},
        {"", "", "1a", ""},
        {"", "", "-5", ""},
    };
    for (const auto& row : rows) {
        unit.write("/fw/PRECONF_KEY", row.key);
        unit.write("/fw/PRECONF_GID", row.gid);
        unit.write("/fw/PRECONF_PACK", row.pack);
        unit.write("/tmp/fwinfo-cache", "stale");
        const Answer answer = station.command(78, "argument");
        EXPECT_EQ(answer.info(), row.answer.empty() ? 3 : 0);
        EXPECT_EQ(answer.payload, padded(row.answer));
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-cache"));
        EXPECT_NE(unit.trace().find(row.answer.empty() ? "] pack_str is not digit.\n"
                                                       : "] pRplyBuf is: " + row.answer + ", len"),
                  std::string::npos);
    }
    unit.allowPipes(false);
    EXPECT_EQ(station.command(78).info(), 3);
    EXPECT_NE(unit.trace().find("] get firm info key failed.\n"), std::string::npos);
    EXPECT_NE(unit.errors().find(errorLine(-10337, "get Groupinfo failed")), std::string::npos);
}

TEST(GenerateGroup, AnswersWhatTheGeneratorWrites) {
    Unit unit;
    const Station station;
    const struct {
        const char* argument;
        const char* generator;
        std::string count;   // that it is asked for; empty: it is not
        std::string answer;  // empty: fails
    } rows[] = {
        {"5", "printf 'a\\000b\\n' >$2", "5", std::string("a\0b\n", 4)},
        {"12x", "echo $1 >$2; exit 1", "12", "12\n"},
        {"1", "yes x | tr -d '\\n' | head -c 1030 >$2", "1", std::string(1023, 'x')},
        {"1", ": >$2", "1", ""},
        {"2147483647", ":", "2147483647", ""},
        {"0", ":", "", ""},
        {"-2", ":", "", ""},
        {"abc", ":", "", ""},
        {"4294967297", ":", "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.argument) + ": " + row.generator);
        unit.fault("generate_group", std::string(row.generator) + "; exit");
        const Answer answer = station.command(79, row.argument);
        EXPECT_EQ(answer.info(), row.answer.empty() ? 3 : 0);
        EXPECT_EQ(answer.payload, padded(row.answer));
        const std::string call = "generate_group " + row.count + " /tmp/mfgp_generate_group";
        EXPECT_EQ(unit.calls(), std::vector<std::string>(row.count.empty() ? 0 : 1, call));
    }
    EXPECT_NE(unit.errors().find(errorLine(-10338, "generate Groupinfo failed")),
              std::string::npos);
    EXPECT_NE(unit.trace().find("] open /tmp/mfgp_generate_group file error \n"),
              std::string::npos);
    unit.remove("/fault/generate_group");
    EXPECT_EQ(station.command(77, station.command(79, "3").text()).info(), 0) << "fits together";
}

}  // namespace
