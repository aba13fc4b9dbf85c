// The station's side: datagrams of a unit, and what the decoders make of them. Bit 0 of the first
// byte gives the datagram the right digest.
#include "station/values.h"
#include "tests/fuzz/fuzz.h"

std::string answerOf(std::string_view input) {
    using namespace station;
    constexpr Decoder kDecoders[] = {decodeText,       decodeLine,        decodeRaw,
                                     decodeYes,        decodeEnableFlags, decodeFanSpeeds,
                                     decodeConfigCheck};
    const bool sealed = (takeByte(&input) & 1) != 0;
    const Key key = keyOf("", "");
    Bytes datagram(kBufferSize);
    const size_t length = input.copy(reinterpret_cast<char*>(datagram.data()), kMaxDatagram);
    if (sealed)
        seal(datagram.data(), key.bytes);
    datagram.resize(length);
    datagram.shrink_to_fit();
    const Reply reply = openReply(datagram.data(), length, key);
    std::string answer = std::to_string(static_cast<int>(reply.reading)) + ' ' +
                         std::to_string(reply.packetId) + '\n';
    for (const Decoder decode : kDecoders)
        answer += decode(reply) + '\n';
    return answer;
}
