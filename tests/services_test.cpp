// The small services: context and session table, reports, processes.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <functional>

#include "core/report.h"
#include "core/service_context.h"
#include "core/shell.h"
#include "tests/support/unit.h"

namespace {

TEST(Report, WritesOneLineWithTheErrnoOfTheMoment) {
    testing::internal::CaptureStderr();
    errno = 0;
    EXPECT_EQ(report(-10106, "receive error"), -10106);
    errno = EADDRINUSE;
    EXPECT_EQ(report(-1, nullptr), -1);
    EXPECT_EQ(errno, EADDRINUSE);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[Error][errCode: -10106][errMsg: receive error]|[errno: 0]\n"
              "[Error][errCode: -1]|[errno: 62]\n");
}

TEST(Session, HasOneSlotAndReportsEveryMisuse) {
    static ServiceContext other;
    ServiceContext* ctx = nullptr;
    const auto expect = [](int code, const std::string& message, const std::function<int()>& call) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(call(), code);
        EXPECT_EQ(testing::internal::GetCapturedStderr().find(errorLine(code, message)), 0U);
    };
    expect(-10204, "session not init", [] { return mfgp_sessionRegister(&other); });
    expect(-10205, "session not init", [] { return mfgp_sessionRemove(&other); });
    ASSERT_EQ(mfgp_sessionTableCreate(), 0);
    expect(-10202, "argument error", [] { return mfgp_contextCreate(nullptr); });
    expect(-10204, "add: argument invalid", [] { return mfgp_sessionRegister(nullptr); });
    expect(-10205, "del: argument invalid", [] { return mfgp_sessionRemove(nullptr); });
    expect(-10203, "argument error", [] { return mfgp_contextDestroy(nullptr); });
    for (const char* name : {"mfgpse0000", "mfgpse0001"}) {
        ASSERT_EQ(mfgp_contextCreate(&ctx), 0);
        EXPECT_STREQ(ctx->sessionName, name);
        EXPECT_EQ(ctx->sockFd, -1);
        expect(-10206, "too many sessions", [] { return mfgp_sessionRegister(&other); });
        expect(-10205, "session not found", [] { return mfgp_sessionRemove(&other); });
        EXPECT_EQ(mfgp_contextDestroy(ctx), 0);
    }
    mfgp_sessionTableFree();
}

TEST(Shell, RunsALineAsItsCallersCountOnIt) {
    setenv("MFGP_TEST_VARIABLE", "seen", 1);
    for (const auto& [line, succeeds] : {std::pair{"test -z \"$MFGP_TEST_VARIABLE\"", true},
                                         {"exit 3", false},
                                         {"kill -9 $$", false},
                                         {"/no/such/tool 2>/dev/null", false}}) {
        bool succeeded = !succeeds;
        testing::internal::CaptureStdout();
        EXPECT_EQ(mfgp_execLine(line, &succeeded), 0);
        const std::string trace = withoutLines(testing::internal::GetCapturedStdout());
        EXPECT_EQ(trace, "[mfgp_execCmd():%] cmd: " + std::string(line) + " \r\n");
        EXPECT_EQ(succeeded, succeeds);
        EXPECT_EQ(mfgp_execCmd("%s", line), 0);
    }
    EXPECT_EQ(mfgp_system("test \"$MFGP_TEST_VARIABLE\" = seen"), 1);
    EXPECT_EQ(mfgp_system("exit 3") + mfgp_system("kill -9 $$"), 0);
    EXPECT_EQ(mfgp_execCmd("echo %s", std::string(1019, 'x').c_str()), -1);
}

TEST(Shell, ReadsAreBoundedTerminatedAndToldApart) {
    char text[9] = "zzzzzzzz";
    EXPECT_EQ(mfgp_readCommand("printf 12345678901234", text, 8), 8);
    EXPECT_STREQ(text, "12345678");
    EXPECT_EQ(mfgp_readCommand("yes", text, 4), 4);  // never ends by itself
    EXPECT_EQ(mfgp_readCommand("true", text, 8), 0);
    EXPECT_STREQ(text, "");
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(mfgp_readCommand("echo x", text, 8), kPipeNotOpened);
    EXPECT_STREQ(text, "");
    setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
