// The station: a line of a recipe, and a datagram that arrives as the reply. Bit 0 of the input's
// first byte makes the digest of the datagram right. Then come the line and the datagram.
#include "protocol/codec.h"
#include "station/json_values.h"
#include "station/line/recipe.h"
#include "station/outcome.h"
#include "tests/fuzz/fuzz.h"

using namespace station;

namespace {

constexpr uint16_t kId = 0x3132;

void expectSendable(const Request& request, const Key& key) {
    const Bytes datagram = buildRequest(request, kId, key);
    ServiceContext* const ctx = freshContext();
    require(datagram.size() <= kMaxDatagram, "a request fits in a datagram");
    memcpy(ctx->recvBuf, datagram.data(), datagram.size());
    require(mfgp_decode(ctx) == 0, "a unit understands the request");
    const Reply echo = openReply(datagram.data(), datagram.size(), key);
    require(answers(echo, request.type, {kId}) == (request.type == kTypeHeartbeat),
            "only the echo of a heartbeat is a reply");
}

std::string shown(const Command& command, const Request& request, const Reply& reply) {
    std::string text =
        outcomeOf(command, request, {ExchangeStatus::Answered, reply}, Link()).message;
    if (!text.empty() || command.format == nullptr)
        return text;
    const Value value = command.format(reply);
    json_object* const json = jsonOf(value);
    text = textOf(value) + '\n' + jsonLine(json) + (isNothing(command, value) ? "-" : "");
    json_object_put(json);
    for (const char byte : text)
        require((byte >= ' ' && byte <= '~') || byte == '\n', "output is printable");
    return text;
}

}  // namespace

std::string answerOf(std::string_view input) {
    const bool isSealed = (takeByte(&input) & 1) != 0;
    const std::string line(takePiece(&input));
    const InUnit unit;  // a line can name a file
    layFile("/group", line);
    const Key key = keyOf("", "");
    Step step;
    std::string text = prepareStep(Options(), line, 1, &step).message;
    const PreparedCommand& prepared = step.prepared;
    // An empty line and `sleep` send nothing.
    const bool isSent =
        text.empty() && prepared.command != nullptr && prepared.request.type != kTypeFromWords;
    if (isSent)
        expectSendable(prepared.request, key);
    Bytes datagram(kBufferSize);
    const size_t length = input.copy(reinterpret_cast<char*>(datagram.data()), kMaxDatagram);
    if (isSealed)
        seal(datagram.data(), key.bytes);
    datagram.resize(length);
    datagram.shrink_to_fit();
    const Reply reply = openReply(datagram.data(), length, key);
    text += std::to_string(static_cast<int>(reply.status)) + ' ' + std::to_string(reply.packetId) +
            (answers(reply, prepared.request.type, {kId}) ? " answers\n" : "\n");
    if (isSent)
        return text + shown(*prepared.command, prepared.request, reply);
    for (const Command& command : commands())
        text += shown(command, {command.type, command.subType, {}}, reply) + '\n';
    return text;
}
