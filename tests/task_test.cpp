// The task loop with a scripted clock, wait and handler: this program's functions are linked in
// place of the daemon's and the C library's, so that half an hour takes no time. Then the process.
#include "core/task.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "core/clock.h"
#include "core/produce_mode.h"
#include "core/receive.h"
#include "core/service_context.h"
#include "tests/support/client.h"
#include "tests/support/wire.h"

namespace {

struct Turn {
    bool isProduceMode;
    int ready;         // the result of select: 1, 0 (timeout) or -1
    uint32_t seconds;  // the clock advances by this in the wait
    long wait;         // expected
    int bound;         // expected in the handler
};

std::vector<Turn> script;
size_t turn;
uint32_t now, flagsSeen;
int handled;

}  // namespace

uint32_t mfgp_clock() { return now; }

bool mfgp_isProduceMode() { return script.at(turn).isProduceMode; }

int mfgp_parserHandler(ServiceContext* ctx) {
    EXPECT_EQ(ctx->peerBound, script.at(turn - 1).bound) << "turn " << turn - 1;
    ctx->peerBound = 1;
    ctx->lastBeat = now;
    flagsSeen = ctx->flags;
    handled++;
    return 0;
}

extern "C" int select(int, fd_set* readable, fd_set*, fd_set*, timeval* wait) {
    const Turn& current = script.at(turn++);
    EXPECT_EQ(wait->tv_sec, current.wait) << "turn " << turn - 1;
    now += current.seconds;
    if (current.ready == 0)
        FD_ZERO(readable);
    errno = EINTR;
    return current.ready;
}

namespace {

std::string runTask() {
    turn = 0;
    handled = 0;
    now = 4294967000U;  // the 32-bit clock wraps within the test
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(mfgp_sessionTableCreate(), 0);
    mfgp_taskEntry();
    mfgp_sessionTableFree();
    const std::string trace = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(contains(trace, "] mfgp task start\n"));
    EXPECT_TRUE(contains(trace, "] mfgp task exit\n"));
    return testing::internal::GetCapturedStderr();
}

TEST(Task, WaitsLongerInProduceMode_AndReleasesASilentStation) {
    script = {
        {.isProduceMode = false, .ready = 1, .seconds = 599, .wait = 600},
        // 60 seconds of silence keep the binding, 61 do not. An interrupted wait is repeated.
        {.isProduceMode = true, .ready = 1, .seconds = 60, .wait = 1800, .bound = 1},
        {.isProduceMode = true, .ready = -1, .seconds = 10, .wait = 1800, .bound = 1},
        {.isProduceMode = false, .ready = 1, .seconds = 51, .wait = 600},
        {.isProduceMode = true, .ready = 1, .seconds = 1799, .wait = 1800},
        // The first timeout ends the loop.
        {.isProduceMode = false, .ready = 0, .seconds = 600, .wait = 600},
    };
    EXPECT_EQ(runTask(), "");
    EXPECT_EQ(turn, script.size());
    EXPECT_EQ(handled, 4);
    EXPECT_EQ(flagsSeen, 0x7F0FEU);
}

TEST(Task, WithATakenPort_EndsAtOnce) {
    const Station holder({}, "127.0.0.1", 1040);
    script = {};
    EXPECT_TRUE(runTask().starts_with(errorLine(-10103, "failed to bind socket")));
}

// The daemon, started through a shell line and bound.
struct Daemon {
    explicit Daemon(const std::string& line)
        : log(popen(("echo $$; exec " + line + MFGP_RUNNER " " MFGPD).c_str(), "r")) {
        EXPECT_EQ(fscanf(log, "%d", &pid), 1);
        EXPECT_TRUE(eventually([] { return contains(readFile("/proc/net/udp"), ":0410 "); }));
    }
    ~Daemon() {
        kill(pid, SIGTERM);
        pclose(log);
    }
    std::string proc() const { return "/proc/" + std::to_string(pid); }
    bool ignores(int signal) const {
        const std::string status = readFile(proc() + "/status");
        const std::string ignored = status.substr(status.find("SigIgn:") + 8);
        return (std::stoull(ignored, nullptr, 16) >> (signal - 1) & 1) != 0;
    }

    FILE* log;
    pid_t pid = 0;
};

TEST(Process, WithoutAReaderOfItsLog_StillAnswers) {
    const Daemon daemon("");
    close(fileno(daemon.log));
    const Station station;
    station.send("\1");
    EXPECT_TRUE(station.receive());
    EXPECT_FALSE(daemon.ignores(SIGPIPE));
}

TEST(Process, ClosedStreamsAndIgnoredSigchld_AreRestoredAtStart) {
    const Daemon daemon("env --ignore-signal=CHLD sh -c 'exec \"$@\" <&- >&- 2>&-' sh ");
    for (const char* fd : {"/fd/0", "/fd/1", "/fd/2"})
        EXPECT_EQ(std::filesystem::read_symlink(daemon.proc() + fd), "/dev/null");
    EXPECT_FALSE(daemon.ignores(SIGCHLD));
}

TEST(Process, TakesNoArgumentExceptVersion) {
    const std::string run = MFGP_RUNNER " " MFGPD;
    const ShellResult version = shell(run + " --version");
    EXPECT_EQ(version.output.substr(0, 6), "mfgpd ");
    EXPECT_EQ(version.exitCode, 0);
    for (const char* arguments : {" --help", " --version x", " ''"}) {
        const ShellResult refused = shell(run + arguments);
        EXPECT_EQ(refused.output, "mfgpd takes no arguments; see mfgpd(8)\n");
        EXPECT_EQ(refused.exitCode, 2);
    }
}

TEST(Process, WithTooManyInheritedDescriptors_EndsCleanly) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    int last = 0;  // these descriptors close when the test's process ends
    while (last >= 0 && last <= FD_SETSIZE)
        last = open("/dev/null", O_RDONLY);
    ASSERT_GT(last, FD_SETSIZE);
    const ShellResult ended = shell(MFGP_RUNNER " " MFGPD);
    EXPECT_TRUE(contains(ended.output, errorLine(-10101, "mfgp_udpSocketCreate failed")))
        << ended.output;
    EXPECT_EQ(ended.exitCode, 0);
}

}  // namespace
