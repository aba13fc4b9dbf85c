#include "station/check.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <iterator>
#include <utility>

#include "station/interrupt.h"

namespace station {
namespace {

constexpr int kAsks = 3;
constexpr double kAskSeconds = 0.6;

sockaddr_in ipv4(const sockaddr* address) {
    sockaddr_in copy = {};
    memcpy(&copy, address, sizeof copy);
    return copy;
}

std::string textOf(const sockaddr_in& address) {
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return text;
}

// Calls the function with each IPv4 address of this machine.
void forEachAddress(const std::function<void(const ifaddrs&)>& visit) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return;
    for (const ifaddrs* one = list; one != nullptr; one = one->ifa_next)
        if (one->ifa_addr != nullptr && one->ifa_addr->sa_family == AF_INET)
            visit(*one);
    freeifaddrs(list);
}

std::vector<sockaddr_in> broadcastAddresses(const Options& options) {
    std::vector<sockaddr_in> all;
    forEachAddress([&](const ifaddrs& local) {
        const bool isMeant = options.interface.empty() || options.interface == local.ifa_name;
        if (!isMeant || (local.ifa_flags & IFF_BROADCAST) == 0)
            return;
        // Computed, because `ip address add` without `broadcast` leaves the interface without one.
        all.push_back(ipv4(local.ifa_addr));
        all.back().sin_addr.s_addr |= ~ipv4(local.ifa_netmask).sin_addr.s_addr;
        all.back().sin_port = htons(static_cast<uint16_t>(options.port));
    });
    return all;
}

// Receives until the time, or until one unit is found if one is enough, and adds the sender of each
// short reply. Returns the last errno, or 0.
int collect(const Link& link, Clock::time_point end, bool isOne, Words* units) {
    int error = 0;
    while (!(isOne && !units->empty()) &&
           waitReadable(link.fd, millisecondsUntil(std::min(end, link.deadline))) == 0) {
        Bytes datagram(kHeaderSize);
        sockaddr_in sender = {};
        socklen_t size = sizeof sender;
        const ssize_t length = recvfrom(link.fd, datagram.data(), datagram.size(), MSG_DONTWAIT,
                                        reinterpret_cast<sockaddr*>(&sender), &size);
        if (length < 0)
            error = errno;
        else if (openReply(datagram.data(), static_cast<size_t>(length), link.key).status ==
                     DecodeStatus::ShortForm &&
                 std::find(units->begin(), units->end(), textOf(sender)) == units->end())
            units->push_back(textOf(sender));
    }
    return error;
}

// Asks up to three times who is there, with a datagram of another version: a unit answers it even
// if it is bound to another station, and does not bind itself. Returns the last errno, or 0.
int askWho(const Link& link, const std::vector<sockaddr_in>& where, bool isOne, Words* units) {
    constexpr uint8_t kOtherVersion = 1;
    int error = 0;
    for (int i = 0; i < kAsks && interruptSignal() == 0 && !(isOne && !units->empty()); i++) {
        for (const sockaddr_in& address : where)
            if (sendto(link.fd, &kOtherVersion, 1, 0, reinterpret_cast<const sockaddr*>(&address),
                       sizeof address) < 0)
                error = errno;
        // After a second question, a late answer would be taken for one to the next command.
        const int received = collect(link, secondsFromNow(kAskSeconds), isOne && i == 0, units);
        error = received != 0 ? received : error;
    }
    return error;
}

int show(Session* session, const std::string& name, const Outcome& outcome) {
    Result row;
    row.command = name;
    row.unit = session->link.unit;
    row.outcome = interruptSignal() != 0 ? interrupted("") : outcome;
    if (row.outcome.code == kExitDone)
        row.value = {std::exchange(row.outcome.message, "")};
    return print(row, session->output, name == "discover" ? Layout::Single : Layout::Row);
}

// Connects to the unit. Returns the interface and the address that the datagrams leave by.
Outcome findRoute(Link* link) {
    sockaddr_in own = {};
    socklen_t size = sizeof own;
    if (connect(link->fd, reinterpret_cast<const sockaddr*>(&link->address), sizeof own) != 0 ||
        getsockname(link->fd, reinterpret_cast<sockaddr*>(&own), &size) != 0)
        return {kExitLocalFault, std::string(strerror(errno)) +
                                     ". Connect the cable and give this machine an address in the "
                                     "unit's network: `ip address add ADDRESS/24 dev DEV`"};
    std::string interface;
    forEachAddress([&](const ifaddrs& local) {
        if (textOf(ipv4(local.ifa_addr)) == textOf(own))
            interface = local.ifa_name + std::string(", ");
    });
    return {kExitDone, interface + "from " + textOf(own)};
}

Outcome findDaemon(const Link& link) {
    Words units;
    const int error = askWho(link, {link.address}, true, &units);
    if (!units.empty())
        return {kExitDone, "answers"};
    if (error == ECONNREFUSED)
        return {kExitNoAnswer,
                "the unit is there, but mfgpd does not run. Start it: it ends after "
                "10 minutes without a request, or 30 in produce mode"};
    return {kExitNoAnswer,
            (error != 0 ? std::string(strerror(error)) : "no reply in 1.8 s") +
                ". Check the unit's power, the cable and the address (`discover` lists units)"};
}

Outcome findAccount(Session* session) {
    Outcome outcome = proveAccount(session);
    if (outcome.code == kExitDone)
        outcome.message = "right; the unit is bound to this station until `release`";
    if (outcome.code == kExitAccount)
        outcome.message += ". Give the unit's web account with --user or --account-file";
    return outcome;
}

Outcome findMode(Session* session) {
    const Mode mode = readMode(session);
    if (mode == Mode::Unknown)
        return {kExitNoAnswer, "no reply. Try again"};
    return {kExitDone, mode == Mode::Produce ? "yes"
                                             : "no. The unit refuses factory commands until it is "
                                               "in produce mode (see mfgpd(8))"};
}

}  // namespace

int discover(const Options& options, Output* output) {
    const bool isGiven = options.words.size() > 1;
    const int yes = 1;
    Options own = options;
    own.host = isGiven ? options.words[1] : "255.255.255.255";
    own.localPort = 0;  // so that it runs beside a call that holds the usual port
    Session session = {own, output};
    int code = openSession(&session);
    if (code != kExitDone)
        return code;
    setsockopt(session.link.fd, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
    const auto where = isGiven ? std::vector{session.link.address} : broadcastAddresses(options);
    Words units;
    const int error = askWho(session.link, where, false, &units);
    for (const std::string& unit : units) {
        session.link.unit = unit + ":" + std::to_string(own.port);
        code = show(&session, "discover", {kExitDone, unit});
    }
    const std::string why = where.empty() ? "no interface has a broadcast address"
                            : error != 0  ? strerror(error)
                                          : "no unit answers";
    return !units.empty() ? code
                          : show(&session, "discover",
                                 {kExitNoAnswer, why + ". Check power and cable, and that this "
                                                       "machine has an address in the unit's "
                                                       "network"});
}

int check(const Options& options, Output* output) {
    Session session = {options, output};
    int code = openSession(&session);
    if (code != kExitDone)
        return code;
    output->nameWidth = 12;
    show(&session, "client", {kExitDone, MFGP_STATION_VERSION});
    const struct {
        const char* name;
        std::function<Outcome()> find;
    } steps[] = {{"interface", [&] { return findRoute(&session.link); }},
                 {"daemon", [&] { return findDaemon(session.link); }},
                 {"account", [&] { return findAccount(&session); }},
                 {"produce mode", [&] { return findMode(&session); }}};
    for (size_t i = 0; i < std::size(steps) && code == kExitDone; i++) {
        const Outcome outcome = steps[i].find();
        code =
            show(&session, outcome.code == kExitOtherStation ? "binding" : steps[i].name, outcome);
    }
    endSession(&session);
    return code;
}

}  // namespace station
