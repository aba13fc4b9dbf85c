// Commands to a unit as rows: an argument, and everything that must come of it.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

using Lines = std::vector<std::string>;
using Text = std::optional<std::string>;

inline const Text kFails = {};
inline const std::string kArgument = "a text that no answer may hold";

struct Row {
    std::string argument;
    Text answer;            // before it is padded to whole blocks; kFails: with an error line
    std::string said = {};  // by a handler, where no "[function" stands in front
    std::string file = {};  // gets the content first
    std::string content = {};
    Lines run = {};  // by the command runner
};

// With zero bytes behind it, up to the length.
inline std::string padded(std::string text, size_t length) {
    text.resize(length);
    return text;
}

class Commands : public testing::Test {
  protected:
    // The reply's innermost payload, kFails for a failure. Its headers and the report must be
    // right. `trace` is what was traced on the way.
    Text ask(uint8_t subType, const std::string& argument, bool encrypted = false);
    void expectSaid(const std::string& said) const;
    void expectRows(uint8_t subType, const std::vector<Row>& rows, bool encrypted = false);

    Unit unit;
    Station station;
    std::string trace;
};
