// The small services: reports and processes.
#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>

#include "core/report.h"
#include "core/shell.h"
#include "tests/support/unit.h"

namespace {

TEST(Report, WritesOneLineWithTheErrnoOfTheMoment) {
    testing::internal::CaptureStderr();
    errno = EADDRINUSE;
    EXPECT_EQ(report(-1, nullptr), -1);
    EXPECT_EQ(errno, EADDRINUSE);
    char expected[64];
    snprintf(expected, sizeof expected, "[Error][errCode: -1]|[errno: %x]\n", EADDRINUSE);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

TEST(Shell, RunsALineAsItsCallersCountOnIt) {
    setenv("MFGP_TEST_VARIABLE", "seen", 1);
    const std::string file = testing::TempDir() + "mfgp-seen";
    for (const std::string& line : {"echo \"=$MFGP_TEST_VARIABLE=\" >" + file,
                                    std::string("exit 3"), std::string("kill -9 $$")}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(mfgp_execCmd("%s", line.c_str()), 0);
        const std::string trace = withoutLines(testing::internal::GetCapturedStdout());
        EXPECT_EQ(trace, "[mfgp_execCmd():%] cmd: " + line + " \r\n");
    }
    EXPECT_EQ(readFile(file), "==\n") << "the environment is empty";
    EXPECT_EQ(mfgp_system("test \"$MFGP_TEST_VARIABLE\" = seen"), 1);
    EXPECT_EQ(mfgp_system("exit 3") + mfgp_system("kill -9 $$"), 0);
    EXPECT_EQ(mfgp_execCmd("echo %s", std::string(1019, 'x').c_str()), -1);
}

TEST(Shell, PlainTextIsOnlyTheNamedAlphabet) {
    const std::string marks = "%+,-./:=@^_";
    for (int byte = 1; byte < 256; byte++) {
        const std::string text(1, static_cast<char>(byte));
        const bool isPlain =
            (byte < 128 && isalnum(byte) != 0) || marks.find(text) != std::string::npos;
        EXPECT_EQ(mfgp_isPlainText(("a" + text).c_str()), isPlain) << byte;
    }
}

TEST(Shell, ReadsAreBoundedTerminatedAndToldApart) {
    char text[9] = "zzzzzzzz";
    EXPECT_EQ(mfgp_readCommand("printf 12345678901234", text), 8);
    EXPECT_STREQ(text, "12345678");
    EXPECT_EQ(mfgp_readCommand("yes", std::span(text).first(5)), 4);  // never ends by itself
    EXPECT_EQ(mfgp_readCommand("true", text), 0);
    EXPECT_STREQ(text, "");
}

}  // namespace
