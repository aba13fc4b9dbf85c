// Both dispatchers: which sub-types are known, which are gated, and what a reply looks like that no
// handler has filled.
#include <gtest/gtest.h>

#include <set>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

constexpr char kRefused[] = "Lumo is not in produce mode!";
const std::set<int> kGated = {10, 17, 18, 50, 54, 56, 57, 58, 59,  60,  65,  67, 75,
                              77, 78, 79, 80, 86, 87, 88, 89, 104, 105, 128, 135};
const std::set<int> kKnown = {10,  17,  18,  50,  53,  54,  55,  56,  57,  58,  59,  60,  64,
                              65,  66,  67,  68,  69,  70,  71,  75,  76,  77,  78,  79,  80,
                              82,  86,  87,  88,  89,  90,  91,  92,  93,  94,  104, 105, 106,
                              107, 108, 109, 110, 112, 113, 114, 115, 116, 128, 131, 135};

TEST(SpecialCommands, ExactlyTheGatedOnesAreRefusedOutsideProduceMode) {
    Unit unit;
    const Station station;
    for (const char* mode : {"normal", "tes", "Test", ""}) {
        unit.setMode(mode);
        for (int subType = 0; subType < 256; subType++) {
            SCOPED_TRACE(subType);
            if (kKnown.count(subType) != 0 && kGated.count(subType) == 0)
                continue;
            unit.errors();
            const Answer answer = station.ask({.subType = static_cast<uint8_t>(subType)});
            const bool refused = kGated.count(subType) != 0;
            EXPECT_EQ(answer.info(), refused ? 3 : 5);
            EXPECT_EQ(answer.length(), 0U);
            EXPECT_EQ(unit.errors().find(errorLine(-10300, kRefused)) != std::string::npos,
                      refused);
        }
    }
    EXPECT_EQ(unit.calls(), std::vector<std::string>{}) << "a refusal ran a tool";
}

TEST(SpecialCommands, ServesTheGatedOnesInProduceMode) {
    Unit unit;
    const Station station;
    for (const char* mode : {"test", "testing", "test1"}) {
        unit.setMode(mode);
        EXPECT_EQ(station.command(10).info(), 0) << mode;
    }
    for (const int subType : kKnown)
        EXPECT_NE(station.command(static_cast<uint8_t>(subType)).info(), 5) << subType;
    EXPECT_EQ(unit.errors().find(kRefused), std::string::npos);
}

TEST(SpecialCommands, AModeThatCannotBeReadIsNotProduceMode) {
    Unit unit;
    const Station station;
    const struct {
        const char* file;
        const char* said;
    } rows[] = {
        {"config settings 'settings'\n\toption other '1'\n", "lookup ptr: Entry not found\n"},
        {"config settings 'settings'\n\tlist mode 'test'\n", "lookup ptr: Entry not found\n"},
        {"config settings\n\toption mode 'test'\n", "lookup ptr: Entry not found\n"},
        {"config settings 'settings\n", "lookup ptr: Parse error"},
        {nullptr, "lookup ptr: Entry not found\n"},
    };
    for (const auto& row : rows) {
        if (row.file != nullptr)
            unit.write("/etc/config/wanDetect", row.file);
        else
            unit.remove("/etc/config/wanDetect");
        unit.errors();
        EXPECT_EQ(station.command(10).info(), 3);
        const std::string errors = unit.errors();
        EXPECT_NE(errors.find(row.said), std::string::npos) << errors;
        EXPECT_NE(errors.find(errorLine(-1, "Get mode fail!")), std::string::npos) << errors;
        EXPECT_EQ(station.command(53).info(), 0);
    }
}

TEST(SpecialCommands, LogsTheRequestAsTheLineKnowsIt) {
    Unit unit;
    const Station station;
    station.command(200, "an argument");
    const std::string trace = unit.trace();
    EXPECT_NE(trace.find("] #spCmd: an argument\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("] #spCmd:0xc8\n"), std::string::npos);
    EXPECT_NE(trace.find("] #flags:0x7f0ff\n"), std::string::npos);
    station.command(200, std::string(300, 'x'));
    EXPECT_NE(unit.trace().find("] #spCmd: " + std::string(255, 'x') + "\n"), std::string::npos);
}

TEST(SpecialCommands, AnUnknownOneComesBackAsItWas) {
    Unit unit;
    const Station station;
    const Answer answer = station.ask({.subType = 9, .payload = "whatever"});
    EXPECT_EQ(answer.header.substr(0, 4), std::string("\2\3\0\5", 4));
    EXPECT_EQ(answer.payload, "whatever");
    EXPECT_EQ(unit.errors(), "");
}

TEST(EncryptedCommands, RefuseAndAnswerUnknownOnesInBothHeaders) {
    Unit unit;
    const Station station;
    unit.setMode("normal");
    for (int subType = 0; subType < 256; subType++) {
        if (subType >= 70 && subType <= 72)
            continue;
        SCOPED_TRACE(subType);
        const Answer answer = station.encrypted(static_cast<uint8_t>(subType), "argument");
        const char info = subType == 73 ? '\3' : '\5';
        EXPECT_EQ(answer.header.substr(0, 4), std::string("\2\7\2") + info);
        EXPECT_EQ(answer.length(), 16U) << "12 bytes of inner header, padded";
        const std::string inner = {
            2, 7, 2, info, 0, 0, 0, 0, '\xA5', '\x5A', static_cast<char>(subType), 0, 0, 0, 0, 0};
        EXPECT_EQ(answer.payload, inner) << "nothing of the request comes back behind it";
    }
    EXPECT_NE(unit.errors().find(errorLine(-10300, kRefused)), std::string::npos);
    EXPECT_NE(unit.trace().find("] packet len:12, packet buf:argument\n"), std::string::npos);
}

TEST(EncryptedCommands, APayloadTooShortForAHeaderReadsAsZero) {
    Unit unit;
    const Station station;
    const Answer answer = station.ask({.type = 7, .payload = "\2\7"});
    EXPECT_EQ(answer.info(), 5);
    EXPECT_EQ(answer.payload, std::string("\2\7\2\5", 4) + std::string(12, '\0'));
}

}  // namespace
