#include "tests/support/client.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace {

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A socket belongs to the network in which it was made, wherever its process goes.
int socketTo(const Unit& unit, uint16_t port) {
    const std::string own = "/proc/self/ns/net";
    const std::string other = "/proc/" + std::to_string(unit.daemon()) + "/ns/net";
    const bool isElsewhere = !std::filesystem::equivalent(own, other);
    const int here = open(own.c_str(), O_RDONLY | O_CLOEXEC);
    const int there = open(other.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_TRUE(!isElsewhere || setns(there, CLONE_NEWNET) == 0);
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(!isElsewhere || setns(here, CLONE_NEWNET) == 0);
    close(here);
    close(there);
    return fd;
}

void pass(int station, int unit, int drops) {
    std::array<char, 65536> datagram = {};
    sockaddr_in peer = {};
    auto* const address = reinterpret_cast<sockaddr*>(&peer);
    for (pollfd wait[] = {{station, POLLIN, 0}, {unit, POLLIN, 0}}; poll(wait, 2, -1) > 0;) {
        socklen_t size = sizeof peer;
        if (wait[0].revents != 0) {
            const ssize_t length =
                recvfrom(station, datagram.data(), datagram.size(), 0, address, &size);
            send(unit, datagram.data(), static_cast<size_t>(length), 0);
        } else {
            const ssize_t length = recv(unit, datagram.data(), datagram.size(), 0);
            if (length >= 0 && drops-- <= 0)
                sendto(station, datagram.data(), static_cast<size_t>(length), 0, address, size);
        }
    }
}

}  // namespace

ShellResult shell(const std::string& line) {
    const std::string prepared = "station='" MFGP_STATION " --host 127.0.0.1'; ";
    FILE* const pipe = popen((prepared + "{ " + line + "\n} 2>&1 </dev/null").c_str(), "r");
    std::string output;
    std::array<char, 4096> part = {};
    for (size_t length = 0; (length = fread(part.data(), 1, part.size(), pipe)) > 0;)
        output.append(part.data(), length);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

void expectRows(std::initializer_list<StationRow> rows) {
    for (const StationRow& row : rows) {
        const ShellResult result = shell("$station " + row.words);
        EXPECT_EQ(result.exitCode, row.exitCode) << row.words << "\n" << result.output;
        EXPECT_NE(result.output.find(row.output), std::string::npos) << row.words << "\n"
                                                                     << result.output;
    }
}

Relay::Relay(const Unit& unit, uint16_t port, int drops) {
    const sockaddr_in own = loopback(port);
    const int toUnit = socketTo(unit, 1040);
    const int toStation = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(toStation, reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
    process_ = fork();
    if (process_ == 0) {
        pass(toStation, toUnit, drops);
        _exit(1);
    }
    close(toUnit);
    close(toStation);
}

Relay::~Relay() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}
