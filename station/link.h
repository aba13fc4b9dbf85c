// The UDP socket to one unit: sends a request and waits for its reply.
#pragma once

#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

// Owns the socket.
struct Link {
    int fd = -1;
    std::string unit;  // host and port, for messages
    Key key = {};
    uint16_t nextId = 0;

    Link() = default;
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
};

struct Patience {
    unsigned tries;
    double seconds;  // for each try
};

enum class Delivery { Answered, NoAnswer, Fault };

struct Answer {
    Delivery delivery;
    Reply reply;     // when answered
    Patience spent;  // tries made, seconds given to each
    int error;       // errno of a fault; without an answer what the network said, or 0
};

// Opens the socket and connects it to the unit. Returns what went wrong, or an empty text.
std::string openLink(const Options& options, Link* link);

// Sends the request, each try under a packet id of its own, until a reply to one of the tries is
// there. Other datagrams are ignored.
Answer ask(Link* link, const Request& request, const Patience& patience);

}  // namespace station
