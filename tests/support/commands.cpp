#include "tests/support/commands.h"

Text Commands::ask(const Command& command, const std::string& argument, bool encrypted) {
    unit.trace();
    unit.errors();
    unit.calls();
    const Answer answer = encrypted ? station.encrypted(command.subType, argument)
                                    : station.command(command.subType, argument);
    trace = withoutLines(unit.trace());
    const std::string errors = unit.errors();
    const bool failed = answer.info() == 3;
    EXPECT_EQ(errors.find(errorLine(command.code, command.message)) != std::string::npos, failed)
        << errors;
    EXPECT_EQ(answer.info(), failed ? 3 : 0);
    std::string payload = answer.payload;
    if (encrypted) {
        // An inner header stands in front, which answers for the length.
        const std::string start = {2, 7, 2, static_cast<char>(answer.info()), 0, 0, 0};
        const std::string end = {'\xA5', '\x5A', static_cast<char>(command.subType), 0};
        const size_t length = static_cast<uint8_t>(payload.at(7));
        EXPECT_EQ(answer.header.substr(0, 4), start.substr(0, 4));
        EXPECT_EQ(payload.substr(0, 12), start + payload[7] + end);
        EXPECT_EQ(payload.size(), (12 + length + 7) / 8 * 8);
        payload = padded(payload.substr(12, length), (length + 7) / 8 * 8);
    }
    EXPECT_TRUE(!failed || payload.empty());
    return failed ? kFails : payload;
}

void Commands::expectSaid(const Command& command, const std::string& said) const {
    const std::string line = said[0] == '[' ? said : "[" + command.handler + "():%] " + said;
    EXPECT_TRUE(said.empty() || trace.find(line) != std::string::npos) << line << "\n" << trace;
}

void Commands::expectRows(const Command& command, const std::vector<Row>& rows, bool encrypted) {
    for (const Row& row : rows) {
        SCOPED_TRACE(command.handler + " " + row.argument + " " + row.said + row.content);
        if (!row.file.empty())
            unit.write(row.file, row.content);
        const Text payload = ask(command, row.argument, encrypted);
        EXPECT_EQ(payload,
                  row.answer ? padded(*row.answer, (row.answer->size() + 7) / 8 * 8) : kFails);
        expectSaid(command, row.said);
        EXPECT_EQ(shellLines(trace), row.run);
    }
}
