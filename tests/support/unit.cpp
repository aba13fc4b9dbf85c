#include "tests/support/unit.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

std::string readAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

// Starts the simulator with its standard output in a pipe; returns the pipe's reading end.
int startSimulator(const std::vector<std::string>& words, pid_t* child) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
    *child = fork();
    if (*child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    return ends[0];
}

std::string readLine(int fd, int milliseconds) {
    std::string line;
    char byte = 0;
    pollfd wait = {fd, POLLIN, 0};
    while (poll(&wait, 1, milliseconds) == 1 && read(fd, &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

}  // namespace

Unit::Unit(const std::vector<StateFile>& prepare, const std::vector<std::string>& arguments)
    : arguments_(arguments) {
    char name[] = "/tmp/mfgp-unit-XXXXXX";
    if (mkdtemp(name) == nullptr)
        throw std::runtime_error("mkdtemp");
    root_ = name;
    for (const auto& [file, content] : prepare)
        write(file, content);
    start();
}

Unit::~Unit() {
    stop();
    fs::remove_all(root_);
}

void Unit::start() {
    std::vector<std::string> words = {MFGP_SIM, "up",    "--state", root_.string(), "--daemon",
                                      MFGPD,    "--net", "shared",  "--runner",     MFGP_RUNNER};
    words.insert(words.end(), arguments_.begin(), arguments_.end());
    const int out = startSimulator(words, &simulator_);
    const std::string line = readLine(out, 20000);
    close(out);
    const size_t pid = line.rfind("pid ");
    if (line.find("ready") == std::string::npos || pid == std::string::npos) {
        constexpr int kCannotBeDone = 77;
        int status = 0;
        kill(simulator_, SIGTERM);
        waitpid(simulator_, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == kCannotBeDone) {
            fs::remove_all(root_);
            throw UnitImpossible("this machine cannot run such a unit");
        }
        throw std::runtime_error("the simulated unit did not start: " + line + errors());
    }
    daemon_ = std::stoi(line.substr(pid + 4));
    callsSeen_ = traceSeen_ = errorsSeen_ = 0;
}

void Unit::stop() {
    if (simulator_ <= 0)
        return;
    kill(simulator_, SIGTERM);
    waitpid(simulator_, nullptr, 0);
    simulator_ = -1;
}

bool Unit::running() const {
    return kill(daemon_, 0) == 0;
}

void Unit::write(const std::string& inUnit, const std::string& content) const {
    fs::create_directories(path(inUnit).parent_path());
    std::ofstream(path(inUnit), std::ios::binary) << content;
}

std::string Unit::read(const std::string& inUnit) const {
    return readAll(path(inUnit));
}

void Unit::fault(const std::string& tool, const std::string& snippet) const {
    write("/fault/" + tool, snippet + "\n");
}

void Unit::allowPipes(bool allowed) const {
    // On its way back to the wait the daemon looks at the mode, with a descriptor of that moment.
    const std::string process = "/proc/" + std::to_string(daemon_);
    while (running() && readAll(process + "/stat").find(") S ") == std::string::npos)
        usleep(1000);
    rlimit limit = {};
    prlimit(daemon_, RLIMIT_NOFILE, nullptr, &limit);
    limit.rlim_cur = allowed ? limit.rlim_max : 0;
    for (int left = allowed ? 0 : 1; left > 0; limit.rlim_cur++)
        left -= !fs::is_symlink(process + "/fd/" + std::to_string(limit.rlim_cur));
    if (prlimit(daemon_, RLIMIT_NOFILE, &limit, nullptr) != 0)
        throw std::runtime_error("prlimit");
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

std::string Unit::trace() {
    return since("/log/stdout", &traceSeen_);
}

std::string Unit::errors() {
    return since("/log/stderr", &errorsSeen_);
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

void enterOwnNetwork() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    const int spaces = user == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET;
    if (unshare(spaces) != 0) {
        // Held open, and with it the lock, until the process ends.
        const int lock = open("/tmp/mfgpd-tests.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        flock(lock, LOCK_EX);
        return;
    }
    if (user != 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    ifreq loopback = {};
    strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP;
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ioctl(fd, SIOCSIFFLAGS, &loopback);
    close(fd);
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests))
        enterOwnNetwork();
    return RUN_ALL_TESTS();
}
