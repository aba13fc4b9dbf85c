// Texts that would run a command of their own if they were part of a shell line unchecked. They
// come from the wire, from factory fields and from the configuration. A text that runs makes the
// file /c.
#include <regex>

#include "tests/support/command_rows.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using std::string;

// Each text fits in every field.
const char* const kTexts[] = {"`>/c`$(>/c);>/c", "|>/c&>/c&", "\n>/c\n", "';>/c;'",
                              "\";>/c;\"",       "a b>/c",    "%s%n"};

string replaced(const string& text, const char* from, const char* to) {
    return std::regex_replace(text, std::regex(from), to);
}

class ShellLine : public testing::TestWithParam<const char*> {
  protected:
    // Runs the command and returns true if it is refused.
    bool isRefused(uint8_t subType, const string& argument) {
        SCOPED_TRACE(std::to_string(subType) + " " + argument);
        const bool isEncrypted = subType == kGetModel || subType == kReset;
        const Answer answer =
            isEncrypted ? station.encrypted(subType, argument) : station.command(subType, argument);
        EXPECT_FALSE(unit.exists("/c"));
        return answer.info() == kCommandFailed;
    }

    const string text = GetParam();
    const bool isPlain = text == "%s%n", hasNewline = text[0] == '\n';
    Unit unit;
    Station station;
};
INSTANTIATE_TEST_SUITE_P(, ShellLine, testing::ValuesIn(kTexts));

TEST_P(ShellLine, TextFromTheWire_RunsNothing) {
    unit.write("/modem/ftm", "1\n");
    for (const CommandRow& row : allCommands()) {
        const uint8_t command = row.subType;
        if (row.changes.empty()) {
            // The group generator takes no text, and no logger runs.
            isRefused(command, text);
            EXPECT_EQ(isRefused(command, row.argument + text), command == kStopLog) << int{command};
        } else if (!row.argument.empty() && command != kSetMac && command != kSetGroup) {
            const bool isEdit = row.changes == "product-info";
            const bool isBad = command == kSetSpecialId || (command == kSetImei && !isPlain);
            EXPECT_EQ(isRefused(command, text), isBad || (isEdit && hasNewline)) << int{command};
        }
    }
    const string gid =
        replaced(replaced(text, "\"", "\\\""), "\n", "\\n") + string(36 - text.size(), 'g');
    EXPECT_EQ(isRefused(kSetGroup, groupObject(x(304), gid)), hasNewline);
    // A record holds the text, and no other record was made.
    const string records = unit.read("/flash/product-info");
    for (const char* key : {"\noem_id:", "\ncountry:", "\nproduct_name:"})
        EXPECT_EQ(contains(records, key + text + "\n"), !hasNewline);
    EXPECT_EQ(contains(records, "\npreconf_g:" + text + "ggg"), !hasNewline);
    EXPECT_FALSE(contains(records, "\n>/c"));
}

TEST_P(ShellLine, TextFromAFieldOrTheConfiguration_RunsNothing) {
    for (const char* tool : {"fwinfo", "uci"})
        unit.fault(tool, "printf %s '" + replaced(text, "'", "'\\''") + "'; exit");
    for (const CommandRow& row : allCommands())
        EXPECT_TRUE(!isRefused(row.subType, row.argument) || row.subType != kSpread || !isPlain);
    // The script that names the network gets one word, or the default.
    const string word = isPlain ? text : text[0] == 'a' ? "a" : "NORVANE";
    const auto calls = [&] { return unit.read("/calls.log"); };
    EXPECT_TRUE(eventually([&] { return contains(calls(), "essid.sh " + word + " 137B0F\n"); }));
    EXPECT_EQ(contains(calls(), "wifistats %s%n 10\n"), isPlain);
}

}  // namespace
