// The task loop with its clock, its wait and its handler scripted: this program's functions are
// linked in place of the daemon's and the C library's, so that half an hour takes no time.
#include "core/task.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "core/clock.h"
#include "core/produce_mode.h"
#include "core/receive.h"
#include "core/service_context.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

struct Turn {
    bool produceMode;
    int ready;               // what select answers: 1, 0 (time-out) or -1
    uint32_t secondsWaited;  // the clock goes on by this in the wait
    long expectedWait;
    int expectedBound;  // seen by the handler
};

std::vector<Turn> script;
size_t turn;
uint32_t now;
int handled;
uint32_t flagsSeen;

}  // namespace

uint32_t mfgp_clock() { return now; }

bool mfgp_isProduceMode() { return script.at(turn).produceMode; }

int mfgp_parserHandler(ServiceContext* ctx) {
    EXPECT_EQ(ctx->peerBound, script.at(turn - 1).expectedBound) << "turn " << turn - 1;
    ctx->peerBound = 1;
    ctx->lastBeat = now;
    flagsSeen = ctx->flags;
    handled++;
    return 0;
}

extern "C" int select(int, fd_set* readable, fd_set*, fd_set*, timeval* wait) {
    const Turn& current = script.at(turn++);
    EXPECT_EQ(wait->tv_sec, current.expectedWait) << "turn " << turn - 1;
    now += current.secondsWaited;
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
    EXPECT_NE(trace.find("] mfgp task start\n"), std::string::npos);
    EXPECT_NE(trace.find("] mfgp task exit\n"), std::string::npos);
    return testing::internal::GetCapturedStderr();
}

TEST(Task, WaitsByModeAndForgetsASilentStation) {
    script = {
        {false, 1, 599, 600, 0},   // the first datagram
        {true, 1, 60, 1800, 1},    // 60 seconds of silence keep the binding
        {true, -1, 10, 1800, 1},   // an interrupted wait is waited again
        {false, 1, 51, 600, 0},    // 61 in all do not
        {true, 1, 1799, 1800, 0},  //
        {false, 0, 600, 600, 0},   // the first wait that runs out ends it
    };
    EXPECT_EQ(runTask(), "");
    EXPECT_EQ(turn, script.size());
    EXPECT_EQ(handled, 4);
    EXPECT_EQ(flagsSeen, 0x7F0FEU);
}

TEST(Task, OutlivesTheReaderOfItsLog) {
    FILE* const log = popen("echo $$; exec " MFGP_RUNNER " " MFGPD, "r");
    pid_t daemon = 0;
    ASSERT_EQ(fscanf(log, "%d", &daemon), 1);
    close(fileno(log));
    while (kill(daemon, 0) == 0 && readFile("/proc/net/udp").find(":0410 ") == std::string::npos)
        usleep(1000);
    const Station station;
    station.send("\1");
    EXPECT_TRUE(station.receive());
    // What is ignored would be ignored in every tool too.
    const std::string status = readFile("/proc/" + std::to_string(daemon) + "/status");
    const std::string ignored = status.substr(status.find("SigIgn:") + 8);
    EXPECT_EQ(std::stoull(ignored, nullptr, 16) >> (SIGPIPE - 1) & 1, 0U);
    kill(daemon, SIGTERM);
    pclose(log);
}

struct Finished {
    std::string output;  // standard output and error
    int status;
};

Finished runLine(const std::string& line) {
    FILE* const pipe = popen(("exec 2>&1; " + line).c_str(), "r");
    Finished finished = {};
    for (int byte = 0; (byte = fgetc(pipe)) != EOF;)
        finished.output += static_cast<char>(byte);
    finished.status = WEXITSTATUS(pclose(pipe));
    return finished;
}

TEST(Task, TakesNoArgumentsExceptVersion) {
    const std::string run = MFGP_RUNNER " " MFGPD;
    const Finished version = runLine(run + " --version");
    EXPECT_EQ(version.output.substr(0, 6), "mfgpd ");
    EXPECT_EQ(version.status, 0);
    for (const char* arguments : {" -h", " --help", " --version x", " ''"}) {
        const Finished refused = runLine(run + arguments);
        EXPECT_EQ(refused.output, "mfgpd takes no arguments; see mfgpd(8)\n");
        EXPECT_EQ(refused.status, 2);
    }
}

TEST(Task, WithTooManyInheritedDescriptors_EndsCleanly) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    int last = 0;  // The descriptors close when the test's process ends.
    while (last >= 0 && last <= FD_SETSIZE)
        last = open("/dev/null", O_RDONLY);
    ASSERT_GT(last, FD_SETSIZE);
    const Finished ended = runLine(MFGP_RUNNER " " MFGPD);
    EXPECT_NE(ended.output.find(errorLine(-10101, "mfgp_udpSocketCreate failed")),
              std::string::npos)
        << ended.output;
    EXPECT_EQ(ended.status, 0);
}

TEST(Task, WithClosedStandardStreamsAndIgnoredChildren_Serves) {
    const pid_t daemon = fork();
    if (daemon == 0) {
        signal(SIGCHLD, SIG_IGN);
        for (int fd = 0; fd < 3; fd++)
            close(fd);
        execl("/bin/sh", "sh", "-c", "exec " MFGP_RUNNER " " MFGPD, nullptr);
        _exit(127);
    }
    while (readFile("/proc/net/udp").find(":0410 ") == std::string::npos)
        usleep(1000);
    const std::string process = "/proc/" + std::to_string(daemon);
    for (const char* fd : {"/fd/0", "/fd/1", "/fd/2"})
        EXPECT_EQ(std::filesystem::read_symlink(process + fd), "/dev/null");
    const std::string status = readFile(process + "/status");
    const std::string ignored = status.substr(status.find("SigIgn:") + 8);
    EXPECT_EQ(std::stoull(ignored, nullptr, 16) >> (SIGCHLD - 1) & 1, 0U);
    kill(daemon, SIGTERM);
    waitpid(daemon, nullptr, 0);
}

TEST(Task, EndsAtOnceWhenThePortIsTaken) {
    const Station holder({}, "127.0.0.1", 1040);
    script = {};
    EXPECT_TRUE(runTask().starts_with(errorLine(-10103, "failed to bind socket")));
}

}  // namespace
