// Starts a server in the unit's root and asks it until it answers; prints the time from the start
// to the answer in nanoseconds.
//
//   bench-start ROOT PORT DATAGRAM-IN-HEXADECIMAL PROGRAM [ARGUMENT...]
#include <arpa/inet.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::vector<uint8_t> bytesOf(const char* text) {
    std::vector<uint8_t> bytes;
    for (unsigned byte = 0; sscanf(text, "%2x", &byte) == 1; text += 2)
        bytes.push_back(static_cast<uint8_t>(byte));
    return bytes;
}

int connectedSocket(uint16_t port) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        return fd;
    perror("bench-start: socket");
    exit(1);
}

// Before the server has its port, the datagram is refused at once.
bool answers(int fd, const std::vector<uint8_t>& datagram) {
    send(fd, datagram.data(), datagram.size(), 0);
    pollfd answer = {fd, POLLIN, 0};
    uint8_t first = 0;
    if (poll(&answer, 1, 2) == 1 && recv(fd, &first, 1, 0) == 1)
        return true;
    usleep(200);  // the server has the same processor
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        fprintf(stderr, "usage: bench-start ROOT PORT DATAGRAM PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    const int fd = connectedSocket(static_cast<uint16_t>(atoi(argv[2])));
    const std::vector<uint8_t> datagram = bytesOf(argv[3]);
    const auto start = Clock::now();
    const pid_t server = fork();
    if (server == 0) {
        if (chroot(argv[1]) == 0 && chdir("/") == 0 && freopen("/log/stdout", "a", stdout) &&
            freopen("/log/stdout", "a", stderr))
            execv(argv[4], argv + 4);
        _exit(127);
    }
    bool answered = false;
    while (!(answered = answers(fd, datagram)) && Clock::now() < start + std::chrono::seconds(20)) {
    }
    const auto end = Clock::now();
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
    if (!answered) {
        fprintf(stderr, "bench-start: no answer from %s\n", argv[4]);
        return 1;
    }
    printf("%lld\n", static_cast<long long>((end - start).count()));
    return 0;
}
