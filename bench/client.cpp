// Sends requests to a server on this machine and prints one number.
//
//   bench-client PORT COUNT TYPE SUB-TYPE PAYLOAD-BYTES
//     sends one request again and again, each after the answer to the last one; prints the median
//     time to the answer in nanoseconds
//   bench-client PORT COUNT hostile
//     sends datagrams of random types, sub-types and payloads, all with a correct digest; prints
//     the number of answers that are not empty
#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "station/message.h"

namespace {

// The daemon serves one station at a time, so every run uses the same port.
constexpr uint16_t kOwnPort = 1041;

size_t numberOf(const char* text) { return strtoul(text, nullptr, 10); }

int connectedSocket(const char* port, timeval patience) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(kOwnPort);
    const int bound = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    address.sin_port = htons(static_cast<uint16_t>(numberOf(port)));
    if (bound == 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        return fd;
    perror("bench-client: socket");
    exit(1);
}

// Returns the length of the reply, or 0 without a reply.
size_t exchange(int fd, const station::Bytes& request, station::Bytes* reply) {
    if (send(fd, request.data(), request.size(), 0) < 0)
        return 0;
    const ssize_t length = recv(fd, reply->data(), reply->size(), 0);
    return length < 0 ? 0 : static_cast<size_t>(length);
}

// The numbers are the same in each run. rand is good enough for them.
int sendHostile(int fd, size_t count) {
    const station::Key key = station::keyOf("", "");
    station::Bytes reply(65536);
    size_t answered = 0;
    for (size_t i = 0; i < count; i++) {
        station::Bytes payload(static_cast<size_t>(rand() % (i % 50 == 0 ? 40000 : 300)));
        for (uint8_t& byte : payload)
            byte = static_cast<uint8_t>(rand());
        const auto type = static_cast<uint8_t>(rand() % (i % 2 == 0 ? 10 : 256));
        const auto subType = static_cast<uint8_t>(rand());
        const auto request =
            station::buildRequest({type, subType, payload}, static_cast<uint16_t>(i), key);
        answered += exchange(fd, request, &reply) != 0;
    }
    printf("%zu\n", answered);
    return 0;
}

int measureRequest(int fd, size_t count, char** words) {
    const station::Key key = station::keyOf("", "");
    const station::Bytes request = station::buildRequest(
        {static_cast<uint8_t>(numberOf(words[0])), static_cast<uint8_t>(numberOf(words[1])),
         station::Bytes(numberOf(words[2]), 'b')},
        1, key);
    station::Bytes reply(65536);
    std::vector<int64_t> times;
    for (size_t i = 0; i < count; i++) {
        const auto start = std::chrono::steady_clock::now();
        const size_t length = exchange(fd, request, &reply);
        times.push_back((std::chrono::steady_clock::now() - start).count());
        // Only the first reply is decoded, because decoding is not what is measured.
        const bool whole = i > 0 || station::openReply(reply.data(), length, key).status ==
                                        station::DecodeStatus::Whole;
        if (length < kHeaderSize || !whole || mfgp_info(reply.data()) != kInfoSuccess) {
            fprintf(stderr, "bench-client: request %zu got no good answer\n", i);
            return 1;
        }
    }
    const auto middle = times.begin() + static_cast<ptrdiff_t>(count / 2);
    std::nth_element(times.begin(), middle, times.end());
    printf("%lld\n", static_cast<long long>(*middle));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && strcmp(argv[3], "hostile") == 0)
        return sendHostile(connectedSocket(argv[1], {0, 50000}), numberOf(argv[2]));
    if (argc == 6)
        return measureRequest(connectedSocket(argv[1], {30, 0}), numberOf(argv[2]), argv + 3);
    fprintf(stderr,
            "usage: bench-client PORT COUNT TYPE SUB-TYPE PAYLOAD-BYTES\n"
            "       bench-client PORT COUNT hostile\n");
    return 2;
}
