// The nine identity reads: one row each.
#include "tests/support/commands.h"

namespace {

// A row is a line, from here on.
// clang-format off

const Command kSpecialId = {64, "mfgp_cmd_getSpecialID", -10326, "get special ID failed"},
    kDescription = {58, "mfgp_cmd_getHwDesc", -10323, "get hw desc failed"};

const struct {
    Command command;
    std::string key;
    bool cleansUp;
    size_t longest, length;  // bytes of a long field that are answered, and of every answer
    std::string empty;
    std::string said;  // of a field that reads "value"
} kReads[] = {
    {{10, "mfgp_cmd_getProdId", -10330, "get Product ID failed"}, "PRODUCT_ID", false, 16, 16, "00000000", "get proID is: value,len is 5\n"},
    {{53, "mfgp_cmd_getDevID", -10316, "get device ID failed"}, "DEV_ID", true, 64, 64, "", "get device id is: value,len is 5\n"},
    {{55, "mfgp_cmd_getMAC", -10320, "get mac failed"}, "MAC", true, 17, 17, "", "get mac is: value, len is 5\n"},
    {{56, "mfgp_cmd_getFwID", -10321, "get fw ID failed"}, "FW_ID", false, 64, 64, "", "get fw id is: value, len is 5\n"},
    {{57, "mfgp_cmd_getHwID", -10322, "get fw ID failed"}, "HW_ID", false, 64, 64, "", "get hw id is: value, len is 5\n"},
    {{59, "mfgp_cmd_getOemID", -10324, "get OEM ID failed"}, "OEM_ID", true, 64, 64, "", "get oem id is: value,len is 5\n"},
    {{66, "mfgp_cmd_getCountryCode", -10328, "get Country Code failed"}, "COUNTRY", true, 64, 64, "UN", "get countryCode is: value,len is 5\n"},
};

class IdentityReads : public Commands {};

TEST_F(IdentityReads, AnswerTheFieldInAFixedLength) {
    const std::string longText(100, 'x'), argument = longText + "of the request, longer than the answer is";
    for (const auto& read : kReads) {
        const std::string file = "/fw/" + read.key, empty = padded(read.empty, read.length);
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(read.command, {{argument, padded("value", read.length), read.said, file, "value\n"}});
        EXPECT_EQ(unit.calls(), Lines{"fwinfo " + read.key});
        EXPECT_EQ(unit.exists("/tmp/fwinfo-cache"), !read.cleansUp);
        expectRows(read.command, {
            {"", padded("two lines", read.length), "pRplyBuf is: two lines, len is 9\n", file, "two\nlines"},
            {"", padded(longText.substr(0, read.longest), read.length), "", file, longText},
            {argument, empty, "", file, ""},
            {argument, empty, "", file, "\n\n"},
        });
    }
}

TEST_F(IdentityReads, SpecialIdIsAnsweredAsARegion) {
    const std::string file = "/fw/SPECIAL_ID";
    expectRows(kSpecialId, {
        {kArgument, padded("US", 64), "get special id is: 55530000,len is 8\n", file, "55530000"},
        {"", padded("NZ", 64), "", file, "x4E5A0000y"},
        {"", padded("@", 64), "", file, "4"},
        {"", padded("UN", 64), "", file, "\n"},
    });
}

TEST_F(IdentityReads, HardwareDescriptionJoinsTwoFields) {
    const std::string longText(40, 'm'), cut = longText.substr(0, 31);
    for (const auto& [model, version, answer] : {
            std::tuple{std::string("M31-5G"), std::string("V1.0"), std::string("M31-5G V1.0")},
            {"", "V1.0", " V1.0"}, {"M31-5G", "", "M31-5G "}, {"", "", ""}, {longText, longText, cut + " " + cut}}) {
        unit.write("/fw/MODEL", model);
        const std::string said = "get device id is: " + answer + ", len is " + std::to_string(answer.size()) + "\n";
        expectRows(kDescription, {{kArgument, padded(answer, 128), said, "/fw/HARDVERSION", version}});
    }
}

TEST_F(IdentityReads, NoDescriptorForThePipeFailsWithTheCommandsOwnCode) {
    unit.allowPipes(false);
    for (const auto& read : kReads)
        EXPECT_EQ(ask(read.command, kArgument), kFails);
    for (const Command& command : {kSpecialId, kDescription})
        EXPECT_EQ(ask(command, kArgument), kFails);
    unit.allowPipes(true);
    EXPECT_EQ(station.command(55).text(), "02-1A-2B-13-7B-00");
}

}  // namespace
