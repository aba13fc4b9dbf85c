#include "tests/support/commands.h"

Text Commands::ask(uint8_t subType, const std::string& argument, bool encrypted) {
    unit.trace();
    unit.errors();
    unit.calls();
    const Answer answer =
        encrypted ? station.encrypted(subType, argument) : station.command(subType, argument);
    trace = withoutLines(unit.trace());
    const bool failed = answer.info() == 3;
    EXPECT_TRUE(!failed || unit.errors().find("[Error]") != std::string::npos);
    EXPECT_EQ(answer.info(), failed ? 3 : 0);
    std::string payload = answer.payload;
    if (encrypted) {
        // An inner header stands in front, which answers for the length.
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

void Commands::expectSaid(const std::string& said) const {
    const std::string text = said[0] == '[' ? said : "():%] " + said;
    size_t at = trace.find(text);
    while (said[0] != '[' && at < trace.size() &&
           trace.compare(trace.rfind('[', at), 5, "[mfgp") != 0)
        at = trace.find(text, at + 1);
    EXPECT_TRUE(said.empty() || at != std::string::npos) << said << "\n" << trace;
}

void Commands::expectRows(uint8_t subType, const std::vector<Row>& rows, bool encrypted) {
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(subType) + " " + row.argument + " " + row.said + row.content);
        if (!row.file.empty())
            unit.write(row.file, row.content);
        const Text payload = ask(subType, row.argument, encrypted);
        EXPECT_EQ(payload,
                  row.answer ? padded(*row.answer, (row.answer->size() + 7) / 8 * 8) : kFails);
        expectSaid(row.said);
        EXPECT_EQ(shellLines(trace), row.run);
    }
}
