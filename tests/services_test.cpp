// The small services: context and session table, reports, processes.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstdlib>

#include "core/report.h"
#include "core/service_context.h"
#include "core/shell.h"
#include "tests/support/unit.h"

namespace {

// What a call writes to standard error.
template <typename Call>
std::string errorsOf(Call call) {
    testing::internal::CaptureStderr();
    call();
    fflush(stderr);
    return testing::internal::GetCapturedStderr();
}

TEST(Report, WritesOneLineWithTheErrnoOfTheMoment) {
    const std::string text = errorsOf([] {
        errno = 0;
        EXPECT_EQ(report(-10106, "receive error"), -10106);
        errno = EBADF;
        EXPECT_EQ(report(-1, nullptr), -1);
        EXPECT_EQ(errno, EBADF);
    });
    EXPECT_EQ(text,
              "[Error][errCode: -10106][errMsg: receive error]|[errno: 0]\n"
              "[Error][errCode: -1]|[errno: 9]\n");
}

TEST(Session, HasOneSlotAndReportsEveryMisuse) {
    ServiceContext* ctx = nullptr;
    const auto expect = [](int code, const std::string& message, auto call) {
        int result = 0;
        const std::string text = errorsOf([&] { result = call(); });
        EXPECT_EQ(result, code);
        EXPECT_EQ(text.find(errorLine(code, message)), 0U) << text;
    };
    static ServiceContext other;
    expect(-10204, "session not init", [] { return mfgp_sessionRegister(&other); });
    expect(-10205, "session not init", [] { return mfgp_sessionRemove(&other); });
    ASSERT_EQ(mfgp_sessionTableCreate(), 0);
    expect(-10202, "argument error", [] { return mfgp_contextCreate(nullptr); });
    expect(-10204, "add: argument invalid", [] { return mfgp_sessionRegister(nullptr); });
    expect(-10205, "del: argument invalid", [] { return mfgp_sessionRemove(nullptr); });
    expect(-10203, "argument error", [] { return mfgp_contextDestroy(nullptr); });

    ASSERT_EQ(mfgp_contextCreate(&ctx), 0);
    EXPECT_STREQ(ctx->sessionName, "mfgpse0000");
    EXPECT_EQ(ctx->sockFd, -1);
    expect(-10206, "too many sessions", [] { return mfgp_sessionRegister(&other); });
    expect(-10205, "session not found", [] { return mfgp_sessionRemove(&other); });
    EXPECT_EQ(mfgp_contextDestroy(ctx), 0);

    ASSERT_EQ(mfgp_contextCreate(&ctx), 0);
    EXPECT_STREQ(ctx->sessionName, "mfgpse0001");
    EXPECT_EQ(mfgp_contextDestroy(ctx), 0);
    mfgp_sessionTableFree();
}

TEST(Shell, RunnerAndWrapperDifferInWhatCounts) {
    const struct {
        const char* line;
        int runner;
        int wrapper;
    } rows[] = {{"true", 0, 1},
                {"exit 3", 0, 0},
                {"kill -9 $$", 0, 0},
                {"/no/such/tool 2>/dev/null", 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(mfgp_execCmd("%s", row.line), row.runner) << row.line;
        EXPECT_EQ(mfgp_system(row.line), row.wrapper) << row.line;
    }
    const std::string tooLong(1024, 'x');
    EXPECT_EQ(mfgp_execCmd("echo %s", tooLong.c_str()), -1);
}

TEST(Shell, RunnerPassesNoVariablesAndLogsItsLine) {
    setenv("MFGP_TEST_VARIABLE", "seen", 1);
    testing::internal::CaptureStdout();
    bool succeeded = false;
    EXPECT_EQ(mfgp_execLine("test -z \"$MFGP_TEST_VARIABLE\"", &succeeded), 0);
    EXPECT_TRUE(succeeded);
    fflush(stdout);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text.rfind("[mfgp_execCmd():", 0), 0U);
    EXPECT_NE(text.find("] cmd: test -z \"$MFGP_TEST_VARIABLE\" \r\n"), std::string::npos);
}

TEST(Shell, ReadsAreBoundedTerminatedAndToldApart) {
    char text[9];
    memset(text, 'z', sizeof text);
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
