// Text that would run more than the command it is part of, wherever a text from the wire, from a
// factory field or from the configuration comes near a shell line. The tools that run must be those
// that run for a harmless text. What the text would run in addition makes the file /c.
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "tests/support/command_rows.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using std::string;
using Lines = std::vector<string>;

const string kHarmless = "safe";

// Short enough for every field.
const char* const kTexts[] = {"`>/c`$(>/c);>/c", "|>/c&>/c&", "\n>/c\n", "';>/c;'",
                              "\";>/c;\"",       "a b>/c",    "%s%n"};

string replaced(string text, const string& from, const string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

struct Sequence {
    std::vector<uint8_t> subTypes;
    std::vector<bool> refused;
    std::vector<Lines> calls;  // those that were seen directly after each command

    // The calls of the commands of which the other run refused as many, or others.
    Lines callsWhere(const Sequence& other, bool isSame) const {
        Lines lines;
        for (size_t i = 0; i < calls.size(); i++)
            if ((refused[i] == other.refused[i]) == isSame)
                lines.insert(lines.end(), calls[i].begin(), calls[i].end());
        std::ranges::sort(lines);
        return lines;
    }
};

class ShellLine : public testing::TestWithParam<const char*> {
  protected:
    // Starts a unit and runs all commands. The text is part of the arguments, or it is in all
    // factory fields and the whole configuration.
    Sequence run(const string& with, bool isArgument) {
        unit.reset();
        unit.emplace();
        const Station station;
        unit->write("/modem/ftm", "1\n");
        if (!isArgument)
            for (const char* tool : {"fwinfo", "uci"})
                unit->fault(tool, "printf %s '" + replaced(with, "'", "'\\''") + "'; exit");
        Sequence done;
        for (const CommandRow& row : allCommands()) {
            std::vector<string> arguments = {row.argument};
            const bool isWrite = !row.changes.empty();
            if (isArgument && row.subType == 77)
                arguments = {groupObject(string(304, 'k'), inJson(with))};
            else if (isArgument && row.subType != 75)
                arguments = {isWrite ? with : row.argument + with};
            if (isArgument && !isWrite && row.subType != 94)  // 94 takes one character, unchecked
                arguments.push_back(with);
            for (const string& argument : arguments) {
                const bool isEncrypted = row.subType == 72 || row.subType == 73;
                const Answer answer = isEncrypted ? station.encrypted(row.subType, argument)
                                                  : station.command(row.subType, argument);
                usleep(row.subType == 75 || row.subType == 104 ? 100000 : 0);  // in background
                done.subTypes.push_back(row.subType);
                done.refused.push_back(answer.info() == 3);
                done.calls.push_back(unit->calls());
            }
        }
        usleep(300000);
        done.calls.back() = unit->calls();
        return done;
    }

    static string inJson(const string& gid) {
        const string json = replaced(replaced(gid, "\"", "\\\""), "\n", "\\n");
        return json + string(36 - gid.size(), 'g');
    }

    // Checks the calls against those of the run with the harmless text. A command that the text
    // made fail may have made only some of them.
    void expectOnly(const Sequence& ran, const Sequence& harmless, const string& word) {
        Lines all, expected = harmless.callsWhere(ran, true), missing, additional;
        const Lines refused = harmless.callsWhere(ran, false);
        for (const Lines& calls : ran.calls)
            all.insert(all.end(), calls.begin(), calls.end());
        std::ranges::sort(all);
        for (string& line : expected)
            line = replaced(line, kHarmless, word);
        std::ranges::sort(expected);
        std::ranges::set_difference(expected, all, std::back_inserter(missing));
        std::ranges::set_difference(all, expected, std::back_inserter(additional));
        EXPECT_EQ(missing, Lines{});
        for (const string& line : additional)
            EXPECT_TRUE(std::ranges::binary_search(refused, line)) << line;
        EXPECT_FALSE(unit->exists("/c"));
    }

    const string text = GetParam();
    const bool isPlain = text == "%s%n";
    std::optional<Unit> unit;
};
INSTANTIATE_TEST_SUITE_P(, ShellLine, testing::ValuesIn(kTexts));

TEST_P(ShellLine, TextFromTheWire_RunsNothing) {
    const Sequence harmless = run(kHarmless, true), ran = run(text, true);
    expectOnly(ran, harmless, text);
    const bool hasNewline = text[0] == '\n';
    for (size_t i = 0; i < ran.calls.size(); i++) {
        const uint8_t command = ran.subTypes[i];
        const bool isEdit = command == 60 || command == 67 || command == 77 || command == 82;
        EXPECT_EQ(ran.refused[i] != harmless.refused[i],
                  (isEdit && hasNewline) || (command == 90 && !isPlain))
            << int{command};
    }
    // A record holds the text, and no other record was made.
    const string records = unit->read("/flash/product-info");
    for (const char* key : {"\noem_id:", "\ncountry:", "\nproduct_name:"})
        EXPECT_EQ(records.find(key + text + "\n") != string::npos, !hasNewline);
    EXPECT_EQ(records.find("\npreconf_g:" + text + "ggg") != string::npos, !hasNewline);
    EXPECT_EQ(records.find("\n>/c"), string::npos);
}

TEST_P(ShellLine, TextFromAFieldOrTheConfiguration_RunsNothing) {
    const Sequence harmless = run(kHarmless, false), ran = run(text, false);
    expectOnly(ran, harmless, isPlain ? text : text[0] == 'a' ? "a" : "NORVANE");
    const size_t spread =
        static_cast<size_t>(std::ranges::find(ran.subTypes, 131) - ran.subTypes.begin());
    EXPECT_EQ(ran.refused.at(spread), !isPlain);
}

}  // namespace
