// The station's side: datagrams of a unit, and the values that are made of them. Bit 0 of the first
// byte gives the datagram the right digest.
#include "commands/json_handle.h"
#include "station/commands.h"
#include "station/json_values.h"
#include "tests/fuzz/fuzz.h"

std::string answerOf(std::string_view input) {
    using namespace station;
    const bool sealed = (takeByte(&input) & 1) != 0;
    const Key key = keyOf("", "");
    Bytes datagram(kBufferSize);
    const size_t length = input.copy(reinterpret_cast<char*>(datagram.data()), kMaxDatagram);
    if (sealed)
        seal(datagram.data(), key.bytes);
    datagram.resize(length);
    datagram.shrink_to_fit();
    const Reply reply = openReply(datagram.data(), length, key);
    std::string answer = std::to_string(static_cast<int>(reply.status)) + ' ' +
                         std::to_string(reply.packetId) + '\n';
    for (const Command& command : commands()) {
        if (command.format == nullptr || reply.payload.size() < command.leastReply)
            continue;
        const Value value = command.format(reply);
        const Json json(jsonOf(value));
        answer +=
            textOf(value) + '\n' + jsonLine(json.get()) + (isNothing(command, value) ? "-" : "");
    }
    return answer;
}
