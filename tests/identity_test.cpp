// The nine identity reads: one row each, and what they answer when the field reader misbehaves.
#include <gtest/gtest.h>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

struct IdentityRead {
    uint8_t subType;
    const char* key;
    bool cleansUp;
    size_t longest;  // bytes of a long field that are answered
    uint32_t length;
    std::string empty;
    int code;
    const char* message;
    const char* log;  // for a field that reads "value"
};

const IdentityRead kReads[] = {
    {10, "PRODUCT_ID", false, 16, 16, "00000000", -10330, "get Product ID failed",
     "[mfgp_cmd_getProdId():%] get proID is: value,len is 5\n"},
    {53, "DEV_ID", true, 64, 64, "", -10316, "get device ID failed",
     "[mfgp_cmd_getDevID():%] get device id is: value,len is 5\n"},
    {55, "MAC", true, 17, 17, "", -10320, "get mac failed",
     "[mfgp_cmd_getMAC():%] get mac is: value, len is 5\n"},
    {56, "FW_ID", false, 64, 64, "", -10321, "get fw ID failed",
     "[mfgp_cmd_getFwID():%] get fw id is: value, len is 5\n"},
    {57, "HW_ID", false, 64, 64, "", -10322, "get fw ID failed",
     "[mfgp_cmd_getHwID():%] get hw id is: value, len is 5\n"},
    {59, "OEM_ID", true, 64, 64, "", -10324, "get OEM ID failed",
     "[mfgp_cmd_getOemID():%] get oem id is: value,len is 5\n"},
    {66, "COUNTRY", true, 64, 64, "UN", -10328, "get Country Code failed",
     "[mfgp_cmd_getCountryCode():%] get countryCode is: value,len is 5\n"},
};

std::string padded(std::string text, uint32_t length) {
    text.resize((length + 7) / 8 * 8);
    return text;
}

TEST(IdentityReads, AnswerTheFieldInAFixedLength) {
    Unit unit;
    const Station station;
    for (const IdentityRead& row : kReads) {
        SCOPED_TRACE(row.key);
        const std::string file = std::string("/fw/") + row.key;
        const std::string argument = "the request's own text, longer than the answer is";
        const std::string call = std::string("fwinfo ") + row.key;
        unit.write("/tmp/fwinfo-cache", "stale");
        unit.calls();
        unit.trace();

        unit.write(file, "value\n");
        EXPECT_EQ(station.command(row.subType, argument).payload, padded("value", row.length));
        EXPECT_EQ(unit.calls(), std::vector<std::string>{call});
        EXPECT_EQ(unit.exists("/tmp/fwinfo-cache"), !row.cleansUp);
        const std::string trace = withoutLines(unit.trace());
        EXPECT_NE(trace.find(row.log), std::string::npos) << trace;
        EXPECT_NE(trace.find("pRplyBuf is: value, len is 5\n"), std::string::npos);

        unit.write(file, "two\nlines");
        EXPECT_EQ(station.command(row.subType).payload, padded("two lines", row.length));
        const std::string tooLong(100, 'x');
        unit.write(file, tooLong);
        EXPECT_EQ(station.command(row.subType).payload,
                  padded(tooLong.substr(0, row.longest), row.length));
        for (const char* nothing : {"", "\n", "\n\n"}) {
            unit.write(file, nothing);
            EXPECT_EQ(station.command(row.subType, argument).payload,
                      padded(row.empty, row.length));
        }
    }
}

TEST(IdentityReads, SpecialIdIsAnsweredAsARegion) {
    Unit unit;
    const Station station;
    const struct {
        const char* specialId;
        std::string answer;
    } rows[] = {{"55530000", "US"}, {"x4E5A0000y", "NZ"},   {"00000000", "UN"},
                {"", "UN"},         {"4D580000", "MX"},     {"ZZZZ", ""},
                {"\n", "UN"},       {"4D5855530000", "US"}, {"4", "@"}};
    for (const auto& row : rows) {
        unit.write("/fw/SPECIAL_ID", row.specialId);
        EXPECT_EQ(station.command(64).payload, padded(row.answer, 64)) << row.specialId;
    }
    EXPECT_NE(withoutLines(unit.trace())
                  .find("[mfgp_cmd_getSpecialID():%] get special id is: 55530000,len is 8\n"),
              std::string::npos);
}

TEST(IdentityReads, HardwareDescriptionJoinsTwoFields) {
    Unit unit;
    const Station station;
    const std::string longText(40, 'm');
    const struct {
        std::string model;
        std::string version;
        std::string answer;
    } rows[] = {{"M31-5G", "V1.0", "M31-5G V1.0"},
                {"", "V1.0", " V1.0"},
                {"M31-5G", "", "M31-5G "},
                {"", "", ""},
                {longText, longText, longText.substr(0, 31) + " " + longText.substr(0, 31)}};
    for (const auto& row : rows) {
        unit.write("/fw/MODEL", row.model);
        unit.write("/fw/HARDVERSION", row.version);
        EXPECT_EQ(station.command(58).payload, padded(row.answer, 128));
    }
    EXPECT_NE(withoutLines(unit.trace())
                  .find("[mfgp_cmd_getHwDesc():%] get device id is: M31-5G V1.0, len is 11\n"),
              std::string::npos);
}

TEST(IdentityReads, AToolThatMisbehavesIsAnEmptyField) {
    Unit unit({StateFile{"/fw/MAC", "02-1A-2B-13-7B-00\n"}});
    const Station station;
    const struct {
        const char* fault;
        const char* answer;
    } rows[] = {{"exit 1", ""},
                {"kill -9 $$", ""},
                {"yes m | head -c 1048576 | tr -d '\\n'; exit", "mmmmmmmmmmmmmmmmm"}};
    for (const auto& row : rows) {
        unit.fault("fwinfo", row.fault);
        const Answer answer = station.command(55);
        EXPECT_EQ(answer.info(), 0);
        EXPECT_EQ(answer.payload, padded(row.answer, 17)) << row.fault;
    }
    unit.remove("/usr/sbin/fwinfo");
    EXPECT_EQ(station.command(55).payload, padded("", 17)) << "tool missing";
    EXPECT_NE(unit.errors().find("fwinfo: not found"), std::string::npos);
}

TEST(IdentityReads, NoDescriptorForThePipeFailsWithTheCommandsOwnCode) {
    Unit unit({StateFile{"/fw/MAC", "02-1A-2B-13-7B-00\n"}});
    const Station station;
    std::vector<std::tuple<uint8_t, int, const char*>> rows = {
        {64, -10326, "get special ID failed"}, {58, -10323, "get hw desc failed"}};
    for (const IdentityRead& read : kReads)
        rows.emplace_back(read.subType, read.code, read.message);
    unit.allowPipes(false);
    for (const auto& [subType, code, message] : rows) {
        const Answer answer = station.command(subType, "argument");
        EXPECT_EQ(answer.info(), 3);
        EXPECT_EQ(answer.length(), 0U);
        const std::string errors = unit.errors();
        EXPECT_NE(errors.find(errorLine(code, message)), std::string::npos) << errors;
    }
    unit.allowPipes(true);
    EXPECT_EQ(station.command(55).text(), "02-1A-2B-13-7B-00");
}

}  // namespace
