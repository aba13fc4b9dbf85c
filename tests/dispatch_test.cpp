// Both dispatchers: which sub-types are known, which are gated, and what a reply looks like that no
// handler has filled.
#include <set>

#include "tests/support/commands.h"

namespace {

const std::string kRefused = errorLine(-10300, "Lumo is not in produce mode!");
const std::set<int> kGated = {10, 17, 18, 50, 54, 56, 57, 58, 59,  60,  65,  67, 75,
                              77, 78, 79, 80, 86, 87, 88, 89, 104, 105, 128, 135};
const std::set<int> kAlways = {53, 55, 64,  66,  68,  69,  70,  71,  76,  82,  90,  91,  92,
                               93, 94, 106, 107, 108, 109, 110, 112, 113, 114, 115, 116, 131};

class Dispatch : public Commands {};

TEST_F(Dispatch, GatesExactlyTheseOutsideProduceMode) {
    for (const char* mode : {"normal", "tes", "Test", ""}) {
        unit.setMode(mode);
        for (int subType = 0; subType < 256; subType++) {
            if (kAlways.count(subType) != 0)
                continue;
            unit.errors();
            const bool refused = kGated.count(subType) != 0;
            const Answer answer = station.ask({.subType = static_cast<uint8_t>(subType)});
            EXPECT_EQ(answer.info(), refused ? 3 : 5) << subType;
            EXPECT_EQ(answer.length(), 0U) << subType;
            EXPECT_EQ(unit.errors().find(kRefused) != std::string::npos, refused) << subType;
        }
    }
    EXPECT_EQ(unit.calls(), Lines{}) << "a refusal ran a tool";
    for (const int subType : kAlways)
        EXPECT_NE(station.command(static_cast<uint8_t>(subType)).info(), 5) << subType;
    for (const char* mode : {"test", "testing"}) {
        unit.setMode(mode);
        for (const int subType : kGated)
            EXPECT_NE(station.command(static_cast<uint8_t>(subType)).info(), 5) << subType;
    }
    EXPECT_EQ(unit.errors().find(kRefused), std::string::npos);
}

TEST_F(Dispatch, AModeThatCannotBeReadIsNotProduceMode) {
    const std::string notFound = "lookup ptr: Entry not found\n";
    for (const auto& [file, said] :
         {std::pair{"config settings 'settings'\n\toption other '1'\n", notFound},
          {"config settings 'settings'\n\tlist mode 'test'\n", notFound},
          {"config settings\n\toption mode 'test'\n", notFound},
          {"config settings 'settings\n", "lookup ptr: "},  // the reason depends on the library
          {"", notFound}}) {
        unit.remove("/etc/config/wanDetect");
        if (*file != 0)
            unit.write("/etc/config/wanDetect", file);
        unit.errors();
        EXPECT_EQ(station.command(10).info(), 3);
        const std::string errors = unit.errors();
        EXPECT_NE(errors.find(said), std::string::npos) << errors;
        EXPECT_NE(errors.find(errorLine(-1, "Get mode fail!")), std::string::npos) << errors;
    }
}

TEST_F(Dispatch, AnUnknownOneIsLoggedAndComesBackAsItWas) {
    const Answer answer = station.ask({.subType = 200, .payload = std::string(304, 'x')});
    EXPECT_EQ(answer.header.substr(0, 4), std::string("\2\3\0\5", 4));
    EXPECT_EQ(answer.payload, std::string(304, 'x'));
    trace = withoutLines(unit.trace());
    const std::string text = "[mfgp_cmd_spCmd():%] #spCmd: " + std::string(255, 'x') + "\n";
    EXPECT_NE(trace.find(text + "[mfgp_cmd_spCmd():%] #spCmd:0xc8\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("[mfgp_cmd_spCmd():%] #flags:0x7f0ff\n"), std::string::npos);
}

TEST_F(Dispatch, EncryptedOnesAreAnsweredInBothHeaders) {
    unit.setMode("normal");
    for (int subType = 0; subType < 256; subType++) {
        if (subType >= 70 && subType <= 72)
            continue;
        const Answer answer = station.encrypted(static_cast<uint8_t>(subType), "argument");
        const char info = subType == 73 ? '\3' : '\5';
        const std::string start = std::string("\2\7\2") + info;
        EXPECT_EQ(answer.header.substr(0, 4), start) << subType;
        EXPECT_EQ(
            answer.payload,
            padded(start + std::string("\0\0\0\0\xA5\x5A", 6) + static_cast<char>(subType), 16))
            << "nothing of the request comes back behind it";
    }
    EXPECT_NE(unit.errors().find(kRefused), std::string::npos);
    EXPECT_NE(unit.trace().find("] packet len:12, packet buf:argument\n"), std::string::npos);
    // A payload too short for a header reads as zero.
    EXPECT_EQ(station.ask({.type = 7, .payload = "\2\7"}).payload, padded("\2\7\2\5", 16));
}

}  // namespace
