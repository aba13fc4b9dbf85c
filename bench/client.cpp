// Sends one request again and again, each when the last one is answered, and prints the median time
// to the answer in nanoseconds.
//
//   bench-client PORT COUNT TYPE SUB-TYPE PAYLOAD-BYTES
//   bench-client PORT COUNT hostile
//     sends datagrams of random types, sub-types and payloads, all with a correct digest, and
//     prints how many were answered within 5 ms
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

// Every run is the same station to the daemon.
constexpr uint16_t kOwnPort = 1041;

int connectedSocket(uint16_t port) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    const timeval patience = {30, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(kOwnPort);
    const int bound = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    address.sin_port = htons(port);
    if (bound == 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        return fd;
    perror("bench-client: socket");
    exit(1);
}

// Returns the length of the reply; 0 without one.
size_t exchange(int fd, const station::Bytes& request, station::Bytes* reply) {
    if (send(fd, request.data(), request.size(), 0) < 0)
        return 0;
    const ssize_t length = recv(fd, reply->data(), reply->size(), 0);
    return length < 0 ? 0 : static_cast<size_t>(length);
}

// The numbers are the same in each run. rand is good enough for them.
int sendHostile(int fd, size_t count, const station::Key& key) {
    station::Bytes reply(65536);
    size_t answered = 0;
    const timeval patience = {0, 50000};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
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

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && strcmp(argv[3], "hostile") == 0)
        return sendHostile(connectedSocket(static_cast<uint16_t>(atoi(argv[1]))),
                           strtoul(argv[2], nullptr, 10), station::keyOf("", ""));
    if (argc != 6) {
        fprintf(stderr, "usage: bench-client PORT COUNT TYPE SUB-TYPE PAYLOAD-BYTES|hostile\n");
        return 2;
    }
    const int fd = connectedSocket(static_cast<uint16_t>(atoi(argv[1])));
    const size_t count = strtoul(argv[2], nullptr, 10);
    const station::Key key = station::keyOf("", "");
    const station::Bytes request = station::buildRequest(
        {static_cast<uint8_t>(atoi(argv[3])), static_cast<uint8_t>(atoi(argv[4])),
         station::Bytes(strtoul(argv[5], nullptr, 10), 'b')},
        1, key);
    station::Bytes reply(65536);
    std::vector<int64_t> times;
    for (size_t i = 0; i < count; i++) {
        const auto start = std::chrono::steady_clock::now();
        const size_t length = exchange(fd, request, &reply);
        times.push_back((std::chrono::steady_clock::now() - start).count());
        // The first is read in full, the others only looked at: reading is not what is measured.
        const bool whole = i > 0 || station::openReply(reply.data(), length, key).status ==
                                        station::DecodeStatus::Whole;
        if (length < kHeaderSize || !whole || mfgp_info(reply.data()) != kInfoSuccess) {
            fprintf(stderr, "bench-client: request %zu was not answered as it should\n", i);
            return 1;
        }
    }
    const auto middle = times.begin() + static_cast<ptrdiff_t>(count / 2);
    std::nth_element(times.begin(), middle, times.end());
    printf("%lld\n", static_cast<long long>(*middle));
    return 0;
}
