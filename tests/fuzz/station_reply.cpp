// The station's side: datagrams of a unit, and the values that are made of them. Bit 0 of the first
// byte gives the datagram the right digest.
#include "commands/json_handle.h"
#include "station/json_values.h"
#include "tests/fuzz/fuzz.h"

std::string answerOf(std::string_view input) {
    using namespace station;
    constexpr const Form* kForms[] = {&kText, &kLine,   &kNumber,  &kYes,    &kFlags,
                                      &kFans, &kConfig, &kDevices, &kParsed, &kRaw};
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
    for (const Form* const form : kForms) {
        if (reply.payload.size() < form->leastBytes)
            continue;
        const std::string text = form->text(reply);
        const Json value(form->json(text));
        answer += text + '\n' + json_object_to_json_string(value.get()) + '\n';
    }
    return answer;
}
