#include "station/link.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>

namespace station {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kReceiveSize = 65536;  // no UDP datagram is longer

uint16_t firstPacketId() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint16_t>((now.tv_nsec >> 10) ^ now.tv_sec ^ getpid());
}

// What routers and the unit's own kernel say of an earlier datagram. It may be about to start, so
// this ends no waiting.
bool isNetworkReport(int error) {
    return error == ECONNREFUSED || error == EHOSTUNREACH || error == ENETUNREACH ||
           error == EHOSTDOWN || error == ENETDOWN || error == EPROTO || error == ENOPROTOOPT;
}

bool isPassing(int error) {
    return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

std::string resolve(const Options& options, sockaddr_in* address) {
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(options.host.c_str(), nullptr, &hints, &found);
    if (result != 0)
        return "cannot find host " + options.host + ": " + gai_strerror(result);
    memcpy(address, found->ai_addr, sizeof *address);
    freeaddrinfo(found);
    address->sin_port = htons(options.port);
    return "";
}

std::string systemError(const std::string& what) {
    return what + ": " + strerror(errno);
}

// Several stations on one host may share the port, each connected to a unit of its own.
std::string bindLocal(int fd, uint16_t port) {
    if (port == 0)
        return "";
    const int yes = 1;
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0)
        return systemError("cannot use local port " + std::to_string(port));
    return "";
}

// Throws away what was received before the request: on a fixed port that may be the late answer to
// an earlier call, and not every answer carries a packet id to know it by.
void drain(int fd) {
    constexpr int kMost = 1000;
    uint8_t byte = 0;
    for (int i = 0; i < kMost; i++)
        if (recv(fd, &byte, sizeof byte, MSG_DONTWAIT) < 0 && isPassing(errno) && errno != EINTR)
            return;
}

// Returns 0 or an errno. What the network says of an earlier datagram is handed out by the next
// send, which then sends nothing; so there is a second one.
int sendDatagram(int fd, const Bytes& datagram) {
    constexpr int kAttempts = 8;  // signals in between included
    int reports = 0;
    int error = 0;
    for (int i = 0; i < kAttempts; i++) {
        if (send(fd, datagram.data(), datagram.size(), 0) >= 0)
            return 0;
        error = errno;
        if (error != EINTR && (!isNetworkReport(error) || reports++ > 0))
            return error;
    }
    return error;
}

// Milliseconds until then, rounded up so that the wait does not spin at its end.
int millisecondsUntil(Clock::time_point end) {
    const double left = std::chrono::duration<double, std::milli>(end - Clock::now()).count();
    return static_cast<int>(std::min(std::ceil(std::max(left, 0.0)), double{INT_MAX}));
}

// Receives one datagram into *datagram if there is one in time. Returns 0 or an errno: EAGAIN when
// there is none.
int receiveDatagram(int fd, int milliseconds, Bytes* datagram) {
    pollfd wait = {fd, POLLIN, 0};
    const int ready = poll(&wait, 1, milliseconds);
    if (ready <= 0)
        return ready == 0 ? EAGAIN : errno;
    datagram->resize(kReceiveSize);
    const ssize_t length = recv(fd, datagram->data(), datagram->size(), MSG_DONTWAIT);
    if (length < 0)
        return errno;
    datagram->resize(static_cast<size_t>(length));
    return 0;
}

// Returns false when there is no use in waiting on.
bool noteError(int error, Answer* answer) {
    if (isPassing(error))
        return true;
    answer->error = error;
    if (isNetworkReport(error))
        return true;
    answer->delivery = Delivery::Fault;
    return false;
}

void awaitReply(const Link& link, uint8_t type, const std::vector<uint16_t>& sentIds,
                Answer* answer) {
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(answer->spent.seconds));
    Bytes datagram;
    for (int left = 0; (left = millisecondsUntil(end)) > 0;) {
        const int error = receiveDatagram(link.fd, left, &datagram);
        if (error != 0) {
            if (!noteError(error, answer))
                return;
            continue;
        }
        answer->reply = openReply(datagram.data(), datagram.size(), link.key);
        if (answers(answer->reply, type, sentIds)) {
            answer->delivery = Delivery::Answered;
            return;
        }
    }
}

}  // namespace

Link::~Link() {
    if (fd >= 0)
        close(fd);
}

std::string openLink(const Options& options, Link* link) {
    link->unit = options.host + ":" + std::to_string(options.port);
    link->key = keyOf(options.user, options.password);
    link->nextId = firstPacketId();
    sockaddr_in address = {};
    std::string unresolved = resolve(options, &address);
    if (!unresolved.empty())
        return unresolved;
    link->fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (link->fd < 0)
        return systemError("cannot open a socket");
    std::string unbound = bindLocal(link->fd, options.localPort);
    if (!unbound.empty())
        return unbound;
    if (connect(link->fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return systemError("cannot reach " + link->unit);
    return "";
}

Answer ask(Link* link, const Request& request, const Patience& patience) {
    Answer answer = {Delivery::NoAnswer, {}, {0, patience.seconds}, 0};
    std::vector<uint16_t> sentIds;
    drain(link->fd);
    while (answer.delivery == Delivery::NoAnswer && answer.spent.tries < patience.tries) {
        answer.spent.tries++;
        answer.error = 0;  // what was said of an earlier try may no longer hold
        sentIds.push_back(link->nextId++);
        const Bytes datagram = buildRequest(request, sentIds.back(), link->key);
        const int error = sendDatagram(link->fd, datagram);
        if (error != 0) {
            answer.error = error;
            answer.delivery = Delivery::Fault;
            return answer;
        }
        awaitReply(*link, request.type, sentIds, &answer);
    }
    return answer;
}

}  // namespace station
