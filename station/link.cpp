#include "station/link.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <ctime>

#include "station/commands.h"
#include "station/explain.h"
#include "station/interrupt.h"

namespace station {
namespace {

constexpr size_t kReceiveSize = 65536;  // no UDP datagram is longer

uint16_t firstPacketId() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint16_t>((now.tv_nsec >> 10) ^ now.tv_sec ^ getpid());
}

// Returns true for ICMP errors about an earlier datagram. The unit may still be booting, so they do
// not end a wait.
bool isNetworkReport(int error) {
    return error == ECONNREFUSED || error == EHOSTUNREACH || error == ENETUNREACH ||
           error == EHOSTDOWN || error == ENETDOWN || error == EPROTO || error == ENOPROTOOPT;
}

bool isPassing(int error) { return error == EINTR || error == EAGAIN || error == EWOULDBLOCK; }

std::string resolve(const std::string& host, unsigned port, sockaddr_in* address) {
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (result != 0)
        return "cannot find host " + host + ": " + gai_strerror(result);
    memcpy(address, found->ai_addr, sizeof *address);
    freeaddrinfo(found);
    address->sin_port = htons(static_cast<uint16_t>(port));
    return "";
}

std::string systemError(const std::string& what) { return what + ": " + strerror(errno); }

// Binds the socket to the local address, port and interface. Several calls on one machine may share
// the port, each connected to a different unit. Returns an error message, or an empty text.
std::string bindLocal(int fd, const Options& options) {
    const int yes = 1;
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    if (!options.bindAddress.empty()) {
        std::string unresolved = resolve(options.bindAddress, 0, &local);
        if (!unresolved.empty())
            return unresolved;
    }
    local.sin_port = htons(static_cast<uint16_t>(options.localPort));
    const std::string& device = options.interface;
    // Before bind: an unprivileged user may name the interface of a socket only once.
    if (!device.empty() && setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                                      static_cast<socklen_t>(device.size())) != 0) {
        const bool needsRights = errno == EPERM;
        return systemError("cannot use interface '" + device + "'") +
               (needsRights ? " (kernels before 5.7 need root or CAP_NET_RAW)" : "");
    }
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0)
        return systemError("cannot send from " + options.bindAddress + " port " +
                           std::to_string(options.localPort));
    return "";
}

// Takes the lock for this local port, unit and interface, so that two calls at the same time do not
// receive each other's replies. The lock is an abstract socket name: the kernel frees it when the
// process ends, however it ends, and each network namespace has its own. Waits for at most
// --timeout. Returns what went wrong, or an empty text.
std::string lockUnit(const Options& options, Link* link) {
    if (options.localPort == 0)
        return "";
    char host[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &link->address.sin_addr, host, sizeof host);
    const std::string name = "mfgp-station/" + std::to_string(options.localPort) + '/' + host +
                             ':' + std::to_string(options.port) + '/' + options.interface;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                               std::min(name.size(), sizeof address.sun_path - 1));
    link->lock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto end = std::min(secondsFromNow(options.timeout), link->deadline);
    while (bind(link->lock, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        if (errno != EADDRINUSE)
            return systemError("cannot lock " + link->unit);
        if (Clock::now() >= end)
            return "another mfgp-station talks to " + link->unit + " from port " +
                   std::to_string(options.localPort) +
                   "; wait until it ends, or use another --local-port";
        usleep(20000);
    }
    return "";
}

// Discards datagrams that were received before the request. On a fixed port they can be late
// replies to an earlier call, and not every reply has a packet id that shows it.
void drain(int fd) {
    constexpr int kMost = 1000;
    uint8_t byte = 0;
    for (int i = 0; i < kMost; i++)
        if (recv(fd, &byte, sizeof byte, MSG_DONTWAIT) < 0 && isPassing(errno) && errno != EINTR)
            return;
}

// Sends the datagram. A pending ICMP error of an earlier datagram makes one send fail without
// sending, so the send is repeated. Returns 0 or an errno.
int sendDatagram(int fd, const Bytes& datagram) {
    constexpr int kAttempts = 8;  // includes interrupted ones
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

// Receives one datagram into *datagram. Returns 0, EAGAIN after the timeout, or another errno.
int receiveDatagram(int fd, int milliseconds, Bytes* datagram) {
    const int error = waitReadable(fd, milliseconds);
    if (error != 0)
        return error;
    datagram->resize(kReceiveSize);
    const ssize_t length = recv(fd, datagram->data(), datagram->size(), MSG_DONTWAIT);
    if (length < 0)
        return errno;
    datagram->resize(static_cast<size_t>(length));
    return 0;
}

void noteError(int error, Answer* answer) {
    if (isPassing(error))
        return;
    answer->error = error;
    if (!isNetworkReport(error))
        answer->status = ExchangeStatus::Fault;
}

// Returns the verbosity for a datagram. The payload of a secret is not traced.
unsigned traceLevel(const Link& link, const Bytes& datagram) {
    constexpr unsigned kFieldsOnly = 2;
    const bool hasType = datagram.size() >= kInnerHeaderSize;
    const bool hides = !link.showSecrets && hasType &&
                       isSecret(mfgp_type(datagram.data()), mfgp_subType(datagram.data()));
    return hides ? std::min(link.verbosity, kFieldsOnly) : link.verbosity;
}

// Decodes a datagram and stores it as the answer if it is one.
void judge(const Link& link, uint8_t type, const std::vector<uint16_t>& sentIds,
           const Bytes& datagram, Answer* answer) {
    answer->reply = openReply(datagram.data(), datagram.size(), link.key);
    const bool fits = answers(answer->reply, type, sentIds);
    if (fits)
        answer->status = ExchangeStatus::Answered;
    traceDatagram(traceLevel(link, datagram),
                  fits ? "received" : "ignored, because it answers no current request", datagram,
                  link.key);
}

void awaitReply(const Link& link, uint8_t type, double seconds,
                const std::vector<uint16_t>& sentIds, Answer* answer) {
    const auto end = std::min(secondsFromNow(seconds), link.deadline);
    Bytes datagram;
    for (int left = 0;
         answer->status == ExchangeStatus::NoAnswer && (left = millisecondsUntil(end)) > 0;) {
        const int error = receiveDatagram(link.fd, left, &datagram);
        if (interruptSignal() != 0)
            answer->status = ExchangeStatus::Interrupted;
        else if (error != 0)
            noteError(error, answer);
        else
            judge(link, type, sentIds, datagram, answer);
    }
}

// Connects the socket, so that it receives only from its unit. Returns 0 or an errno.
int connectTo(Link* link) {
    const auto* const address = reinterpret_cast<const sockaddr*>(&link->address);
    if (!link->connected && connect(link->fd, address, sizeof link->address) != 0)
        return errno;
    link->connected = true;
    return 0;
}

// Sends one attempt. If there is no route to the unit, `wait` still waits for the timeout, because
// a route may appear before the next attempt.
void sendTry(Link* link, const Bytes& datagram, const RetryPolicy& retry, Answer* answer) {
    traceDatagram(traceLevel(*link, datagram), "sent to " + link->unit, datagram, link->key);
    answer->error = connectTo(link);
    if (answer->error == 0)
        answer->error = sendDatagram(link->fd, datagram);
    if (answer->error != 0 && !(retry.whateverTheNetwork && isNetworkReport(answer->error)))
        answer->status = ExchangeStatus::Fault;
}

}  // namespace

Link::~Link() {
    for (const int owned : {fd, lock})
        if (owned >= 0)
            close(owned);
}

void prepareLink(const Options& options, Link* link) {
    link->unit = options.host + ":" + std::to_string(options.port);
    link->key = keyOf(options.user.value_or(""), options.password.value_or(""));
    link->nextId = static_cast<uint16_t>(options.packetId.value_or(firstPacketId()));
    link->verbosity = options.verbosity;
    link->showSecrets = options.showSecrets;
    link->user = options.user.value_or("");
    link->deadlineSeconds = options.deadline;
}

std::string openLink(const Options& options, Link* link) {
    std::string unresolved = resolve(options.host, options.port, &link->address);
    if (!unresolved.empty())
        return unresolved;
    link->fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (link->fd < 0)
        return systemError("cannot open a socket");
    const std::string wrong = bindLocal(link->fd, options);
    return wrong.empty() ? lockUnit(options, link) : wrong;
}

Answer ask(Link* link, const Request& request, const RetryPolicy& retry) {
    Answer answer;
    std::vector<uint16_t> sentIds;
    const auto start = Clock::now();
    drain(link->fd);
    while (answer.status == ExchangeStatus::NoAnswer && answer.tries < retry.tries &&
           Clock::now() < link->deadline) {
        if (interruptSignal() != 0 && !retry.whateverTheSignal) {
            answer.status = ExchangeStatus::Interrupted;
            break;
        }
        answer.tries++;
        sentIds.push_back(link->nextId++);
        sendTry(link, buildRequest(request, sentIds.back(), link->key), retry, &answer);
        awaitReply(*link, request.type, retry.seconds, sentIds, &answer);
    }
    answer.seconds = secondsSince(start);
    answer.deadlineReached =
        answer.status == ExchangeStatus::NoAnswer && Clock::now() >= link->deadline;
    return answer;
}

double secondsSince(Clock::time_point then) {
    return std::chrono::duration<double>(Clock::now() - then).count();
}

int millisecondsUntil(Clock::time_point end) {
    const double left = std::chrono::duration<double, std::milli>(end - Clock::now()).count();
    return static_cast<int>(std::min(std::ceil(std::max(left, 0.0)), double{INT_MAX}));
}

Clock::time_point secondsFromNow(double seconds) {
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace station
