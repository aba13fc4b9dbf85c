// Both dispatchers: which sub-types exist, which need produce mode, and the replies that no handler
// fills.
#include "station/commands.h"
#include "tests/support/commands.h"

namespace {

// Returns the station's row of a sub-type, or null.
const station::Command* rowOf(uint8_t type, int subType) {
    for (const station::Command& row : station::commands())
        if (row.type == type && row.subType == subType)
            return &row;
    return nullptr;
}

class Dispatch : public Commands {};

TEST_F(Dispatch, EachSubType_IsKnownAndGatedAsTheStationListsIt) {
    for (const std::string mode : {"normal", "tes", "Test", "", "test", "testing"}) {
        unit.setMode(mode);
        for (int message = 0; message < 512; message++) {
            const uint8_t type = message < 256 ? kSpecial : kEncrypted;
            const auto subType = static_cast<uint8_t>(message);
            SCOPED_TRACE(mode + " " + std::to_string(type) + " " + std::to_string(subType));
            const station::Command* const row = rowOf(type, subType);
            const bool isGated = row != nullptr && row->gate == station::Gate::ProduceMode;
            const bool isRefused = isGated && !mode.starts_with("test");
            unit.errors();
            unit.calls();
            const Answer answer = type == kSpecial ? station.command(subType)
                                                   : station.encrypted(subType, "argument");
            EXPECT_EQ(answer.info() == kUnknownCommand, row == nullptr);
            EXPECT_EQ(contains(unit.errors(), errorLine(-10300, "Lumo is not in produce mode!")),
                      isRefused);
            if (row != nullptr && !isRefused)
                continue;
            const uint8_t info = isRefused ? kCommandFailed : kUnknownCommand;
            const std::string start = {2, kEncrypted, 2, static_cast<char>(info)};
            const std::string zerosAndId("\0\0\0\0\xA5\x5A", 6);
            EXPECT_EQ(answer.info(), info);
            EXPECT_TRUE(type == kSpecial || answer.header.starts_with(start));
            // Nothing of the request follows the inner header.
            EXPECT_EQ(answer.payload,
                      type == kSpecial
                          ? ""
                          : padded(start + zerosAndId + static_cast<char>(subType), 16));
            calls = unit.calls();
            // These two run in the background, so their calls may come late.
            std::erase(calls, "QLog -s 9000");
            std::erase(calls, "main_fanctrl 0 0");
            EXPECT_EQ(calls, Lines{});
        }
    }
    EXPECT_TRUE(contains(unit.trace(), "] packet len:12, packet buf:argument\n"));
    // A payload too short for an inner header reads as zero.
    EXPECT_EQ(station.ask({.type = kEncrypted, .payload = "\2\7"}).payload, padded("\2\7\2\5", 16));
}

TEST_F(Dispatch, UnreadableMode_IsNotProduceMode) {
    for (const std::string file :
         {"config settings 'settings'\n\toption other '1'\n",
          "config settings 'settings'\n\tlist mode 'test'\n",
          "config settings\n\toption mode 'test'\n", "", "config settings 'settings\n"}) {
        unit.remove("/etc/config/wanDetect");
        if (!file.empty())
            unit.write("/etc/config/wanDetect", file);
        unit.errors();
        EXPECT_EQ(station.command(kGetProductId).info(), kCommandFailed);
        const std::string errors = unit.errors();
        // The text for a file that cannot be parsed depends on the library's version.
        EXPECT_TRUE(
            contains(errors, "lookup ptr: Entry not found") ||
            (file.ends_with("'settings\n") && errors.starts_with("lookup ptr: Parse error")))
            << errors;
        EXPECT_TRUE(contains(errors, errorLine(-1, "Get mode fail!"))) << errors;
    }
}

TEST_F(Dispatch, UnknownSubType_IsLogged_AndTheRequestIsReturned) {
    const Answer answer = station.ask({.subType = 200, .payload = std::string(304, 'x')});
    EXPECT_EQ(answer.header.substr(0, 4), std::string("\2\3\0\5", 4));
    EXPECT_EQ(answer.payload, std::string(304, 'x'));
    trace = withoutLines(unit.trace());
    const std::string text = "[mfgp_cmd_spCmd():%] #spCmd: " + std::string(255, 'x') + "\n";
    EXPECT_TRUE(contains(trace, text + "[mfgp_cmd_spCmd():%] #spCmd:0xc8\n")) << trace;
    EXPECT_TRUE(contains(trace, "[mfgp_cmd_spCmd():%] #flags:0x7f0ff\n"));
}

}  // namespace
