#include "station/outcome.h"

#include <cstdio>
#include <cstring>

namespace station {
namespace {

std::string inNumbers(const Patience& spent) {
    char text[64];
    snprintf(text, sizeof text, "within %g s (%u %s)", spent.seconds, spent.tries,
             spent.tries == 1 ? "try" : "tries");
    return text;
}

// A unit obeys this packet in silence. It answers only to refuse it.
bool isSilent(const Request& request) {
    return request.type == kTypeCancelTest;
}

Outcome withoutAnswer(const Request& request, const Answer& answer, const std::string& unit) {
    if (answer.error == 0 && isSilent(request))
        return {kExitDone, ""};
    std::string text = "no answer from " + unit + " " + inNumbers(answer.spent);
    if (answer.error != 0)
        text += std::string(": ") + strerror(answer.error);
    return {kExitNoAnswer, text};
}

Outcome refusal(const Command& command, const Request& request, uint8_t info) {
    const std::string number = " (info " + std::to_string(info) + ")";
    switch (info) {
        case kInfoFailed:
            return {kExitFailed,
                    (command.gate == Gate::ProduceMode ? "failed or refused outside produce mode"
                                                       : "failed") +
                        number};
        case kInfoUnknownSubType:
            return {kExitNotUnderstood,
                    "the unit does not know sub-type " + std::to_string(request.subType) + number};
        case kInfoWrongVersion:
            return {kExitNotUnderstood, "the unit does not know this protocol version" + number};
        case kInfoOtherPeer:
            return {kExitOtherStation, "the unit is bound to another station" + number +
                                           "; the binding lapses after 60 s of silence or with "
                                           "`cancel` from that station"};
        case kInfoDecodeFailed:
            return {kExitAccount,
                    "the unit refused the digest: wrong user name or password" + number};
        default:
            return {kExitFailed, "the unit answered with an unknown code" + number};
    }
}

// These two refuse the packet whatever its account, so they are believed without a digest.
bool refusesPacket(const Reply& reply) {
    return reply.info == kInfoOtherPeer || reply.info == kInfoDecodeFailed;
}

Outcome ofReply(const Command& command, const Request& request, const Reply& reply) {
    switch (reply.reading) {
        case Reading::Empty:
            return {kExitNotUnderstood, "the unit does not know packet type " +
                                            std::to_string(request.type) + " (empty answer)"};
        case Reading::ShortForm:
            return refusal(command, request, kInfoWrongVersion);
        case Reading::Malformed:
            return {kExitNotUnderstood, "malformed reply"};
        case Reading::WrongDigest:
            if (refusesPacket(reply))
                return refusal(command, request, reply.info);
            // A request without payload is digested over its header alone. So the unit obeys it
            // under any account, and a wrong one shows only in the payload that comes back.
            return {kExitAccount,
                    "the digest of the reply is wrong: wrong user name or password, or a "
                    "damaged datagram"};
        case Reading::Whole:
            break;
    }
    if (reply.info != kInfoSuccess)
        return refusal(command, request, reply.info);
    return {kExitDone, command.decode != nullptr ? command.decode(reply) : ""};
}

}  // namespace

Outcome outcomeOf(const Command& command, const Request& request, const Answer& answer,
                  const std::string& unit) {
    switch (answer.delivery) {
        case Delivery::Answered:
            return ofReply(command, request, answer.reply);
        case Delivery::NoAnswer:
            return withoutAnswer(request, answer, unit);
        case Delivery::Fault:
            break;
    }
    return {kExitLocalFault, "cannot talk to " + unit + ": " + strerror(answer.error)};
}

}  // namespace station
