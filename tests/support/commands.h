// Commands to a unit as rows: an argument, the answer, and the effects.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

using Lines = std::vector<std::string>;
using Text = std::optional<std::string>;

inline const Text kFails = {};
inline const std::string kArgument = "a text that no answer may hold";

struct Row {
    std::string argument = kArgument;
    Text answer = "";       // without the padding to whole blocks
    std::string logs = {};  // is in the trace
    StateFile put = {};     // is written before the command
    Lines ran = {};         // the lines of the command runner
};

// Appends zero bytes up to the length.
inline std::string padded(std::string text, size_t length) {
    text.resize(length);
    return text;
}

class Commands : public testing::Test {
  protected:
    // Returns the reply's innermost payload, or kFails for a failure. Checks the headers and the
    // report. Stores the trace and the tool calls of the command.
    Text ask(uint8_t subType, const std::string& argument, bool encrypted = false) {
        unit.trace();
        unit.errors();
        unit.calls();
        const Answer answer =
            encrypted ? station.encrypted(subType, argument) : station.command(subType, argument);
        trace = withoutLines(unit.trace());
        calls = unit.calls();
        const bool failed = answer.info() == kCommandFailed;
        EXPECT_TRUE(!failed || contains(unit.errors(), "[Error]"));
        EXPECT_EQ(answer.info(), failed ? kCommandFailed : 0);
        std::string payload = answer.payload;
        if (encrypted) {
            // The length of the value is in an inner header before it.
            const std::string start = {2, 7, 2, static_cast<char>(answer.info()), 0, 0, 0};
            const std::string end = {'\xA5', '\x5A', static_cast<char>(subType), 0};
            const size_t length = static_cast<uint8_t>(payload.at(7));
            EXPECT_EQ(answer.header.substr(0, 4), start.substr(0, 4));
            EXPECT_EQ(payload.substr(0, 12), start + payload[7] + end);
            EXPECT_EQ(payload.size(), (12 + length + 7) / 8 * 8);
            payload = padded(payload.substr(12, length), (length + 7) / 8 * 8);
        }
        EXPECT_TRUE(!failed || payload.empty());
        return failed ? kFails : payload;
    }

    void expectRows(uint8_t subType, const std::vector<Row>& rows, bool encrypted = false) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::to_string(subType) + " " + row.argument + " " + row.logs +
                         row.put.content);
            if (!row.put.path.empty())
                unit.write(row.put.path, row.put.content);
            const Text payload = ask(subType, row.argument, encrypted);
            EXPECT_EQ(payload,
                      row.answer ? padded(*row.answer, (row.answer->size() + 7) / 8 * 8) : kFails);
            EXPECT_TRUE(contains(trace, row.logs)) << row.logs << "\n" << trace;
            EXPECT_EQ(shellLines(trace), row.ran);
        }
    }

    Unit unit;
    Station station;
    std::string trace;
    Lines calls;
};
