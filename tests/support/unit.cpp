#include "tests/support/unit.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

std::string readFile(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

bool eventually(const std::function<bool()>& condition) {
    bool isTrue = condition();
    for (int i = 0; i < 3000 && !isTrue; i++, isTrue = condition())
        usleep(10000);
    return isTrue;
}

UnitImpossible::UnitImpossible(const char* why)
    : AssertionException(testing::TestPartResult(testing::TestPartResult::kSkip, "", 0, why)) {
    [why] { GTEST_SKIP() << why; }();
}

Unit::Unit(const std::vector<StateFile>& files, const std::string& arguments) {
    char name[] = "/tmp/mfgp-unit-XXXXXX";
    if (mkdtemp(name) == nullptr)
        throw std::runtime_error("mkdtemp");
    root_ = name;
    // The shell prints its pid, which becomes the simulator's.
    line_ = "echo $$; exec " MFGP_SIM " up --daemon ${MFGPD-" MFGPD "} --runner '" MFGP_RUNNER
            "' --net shared " +
            arguments + " --state " + root_.string();
    for (const auto& [file, content] : files)
        write(file, content);
    start();
}

Unit::~Unit() {
    stop();
    fs::remove_all(root_);
}

void Unit::start() {
    output_ = popen(line_.c_str(), "re");
    char ready[512] = {};
    if (fscanf(output_, "%d ", &simulator_) != 1 ||
        fgets(ready, sizeof ready, output_) == nullptr) {
        const int status = pclose(output_);
        const std::string printed = errors();
        fs::remove_all(root_);
        if (WEXITSTATUS(status) == 77)
            throw UnitImpossible("this machine cannot run such a unit");
        throw std::runtime_error("the simulated unit did not start: " + printed);
    }
    daemon_ = std::stoi(strstr(ready, "pid ") + 4);
    callsSeen_ = traceSeen_ = errorsSeen_ = 0;
    setenv("unit", root_.c_str(), 1);  // for shell()
    setenv("daemon", std::to_string(daemon_).c_str(), 1);
}

void Unit::stop() {
    if (output_ == nullptr)
        return;
    kill(simulator_, SIGTERM);
    pclose(output_);
    output_ = nullptr;
}

void Unit::write(const std::string& inUnit, const std::string& content) const {
    fs::create_directories(path(inUnit).parent_path());
    std::ofstream(path(inUnit), std::ios::binary) << content;
}

void Unit::fault(const std::string& tool, const std::string& snippet) const {
    write("/fault/" + tool, snippet + "\n");
}

void Unit::setMode(const std::string& mode) const {
    write("/etc/config/wanDetect", "config settings 'settings'\n\toption mode '" + mode + "'\n");
}

std::string Unit::since(const std::string& file, size_t* offset) const {
    const std::string all = read(file);
    const std::string fresh = all.substr(std::min(*offset, all.size()));
    *offset = all.size();
    return fresh;
}

std::vector<std::string> Unit::calls() {
    std::istringstream lines(since("/calls.log", &callsSeen_));
    std::vector<std::string> calls;
    for (std::string line; std::getline(lines, line);)
        calls.push_back(line);
    return calls;
}

std::string withoutLines(std::string trace) {
    for (size_t at = 0; (at = trace.find("():", at)) != std::string::npos; at += 3)
        trace.replace(at + 3, trace.find(']', at) - at - 3, "%");
    return trace;
}

std::vector<std::string> shellLines(const std::string& trace) {
    std::vector<std::string> lines;
    constexpr size_t kStart = 5;
    for (size_t at = 0; (at = trace.find("cmd: ", at)) != std::string::npos;) {
        const size_t end = trace.find(" \r\n", at);
        lines.push_back(trace.substr(at + kStart, end - at - kStart));
        at = end;
    }
    return lines;
}

std::string errorLine(int code, const std::string& message) {
    return "[Error][errCode: " + std::to_string(code) + "][errMsg: " + message + "]|[errno: ";
}

// Gives this process a network of its own, so that port 1040 is free. If the machine refuses that,
// waits until no other test process runs.
static void enterOwnNetwork() {
    const std::string user = std::to_string(getuid()), group = std::to_string(getgid());
    const bool root = getuid() == 0;
    if (unshare(root ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        // The descriptor and its lock are held until the process ends.
        flock(open("/tmp/mfgpd-tests.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666), LOCK_EX);
        return;
    }
    if (!root) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
        std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
    }
    if (system("busybox ip link set lo up") != 0)
        fprintf(stderr, "busybox is missing (busybox-static)\n");
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests))
        enterOwnNetwork();
    return RUN_ALL_TESTS();
}
