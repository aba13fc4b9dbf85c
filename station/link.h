// The UDP socket to one unit: sends a request and waits for its reply.
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

using Clock = std::chrono::steady_clock;

// Owns the socket.
struct Link {
    int fd = -1;
    int lock = -1;  // keeps other calls away from the same local port and unit
    sockaddr_in address = {};
    bool connected = false;
    std::string unit;  // host and port, for messages
    Key key = {};
    uint16_t nextId = 0;
    unsigned verbosity = 0;
    bool showSecrets = false;
    std::string user;                                       // empty: the default
    Clock::time_point deadline = Clock::time_point::max();  // no wait lasts longer
    double deadlineSeconds = 0;                             // the same as --deadline gives it

    Link() = default;
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
};

struct RetryPolicy {
    unsigned tries;
    double seconds;                   // for each try
    bool whateverTheNetwork = false;  // also when there is no way to the unit yet
    bool whateverTheSignal = false;   // also after one that ends the program
};

enum class ExchangeStatus { Answered, NoAnswer, Fault, Interrupted };

struct Answer {
    ExchangeStatus status = ExchangeStatus::NoAnswer;
    Reply reply = {};  // when answered
    unsigned tries = 0;
    bool deadlineReached = false;  // the deadline of the call ended the wait
    double seconds = 0;            // from the first try until now
    int error = 0;  // errno of a fault; without an answer what the network said, or 0
};

// Prepares the link, but does not open its socket.
void prepareLink(const Options& options, Link* link);

// Finds the unit's address and opens the socket. Returns what went wrong, or an empty text.
std::string openLink(const Options& options, Link* link);

// Sends the request until a reply to one of the attempts arrives, the deadline is reached or a
// signal arrives. Each attempt has its own packet id. Other datagrams are ignored. If a signal has
// arrived, nothing more is sent.
Answer ask(Link* link, const Request& request, const RetryPolicy& retry);

// Returns the seconds from `then` until now.
double secondsSince(Clock::time_point then);

// Returns the milliseconds until `end`, rounded up, so that a wait does not spin in its last
// millisecond.
int millisecondsUntil(Clock::time_point end);

// Returns the time that many seconds from now.
Clock::time_point secondsFromNow(double seconds);

}  // namespace station
