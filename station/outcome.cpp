#include "station/outcome.h"

#include <cstdio>
#include <cstring>

#include "station/interrupt.h"

namespace station {
namespace {

constexpr ExitCodeRow kExits[] = {
    {kExitDone, "PASS", "done"},
    {kExitFailed, "FAIL", "the unit failed or refused, or its value does not keep a limit"},
    {kExitUsage, "ERROR", "usage: the command line or a recipe line is wrong, and was not sent"},
    {kExitNoAnswer, "TIMEOUT", "no reply in time"},
    {kExitOtherStation, "ERROR", "the unit is bound to another station"},
    {kExitAccount, "ERROR", "wrong account or digest"},
    {kExitNotUnderstood, "ERROR",
     "the unit did not understand the request, or its reply is not understood"},
    {kExitLocalFault, "ERROR", "a fault of this machine (network or file)"},
    {kExitInterrupted, "ABORTED", "interrupted by signal N"},
};

std::string inSeconds(double seconds) {
    char text[32];
    snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

// Without a trustworthy reply, the unit may still have executed the request.
std::string readBackOffer(const Command& command) {
    if (isRepeatable(command))
        return "";
    std::string text = ". The command was sent once, and the unit may have carried it out anyway";
    if (command.readBack != nullptr)
        text += std::string(": `") + command.readBack + "` shows it";
    return text;
}

Outcome withoutAnswer(const Command& command, const Request& request, const Answer& answer,
                      const Link& link) {
    if (answer.error == 0 && answer.tries > 0 && request.type == kTypeCancelTest)
        return {kExitDone, ""};  // a unit answers it only to refuse it
    const char* const attempts = answer.tries == 1 ? " attempt)" : " attempts)";
    std::string text =
        answer.deadlineReached
            ? deadlineText(link) + " while waiting for the reply to `" + command.name + "`"
            : "no reply in " + inSeconds(answer.seconds);
    text += " (" + std::to_string(answer.tries) + attempts;
    if (answer.error != 0)
        text += std::string(": ") + strerror(answer.error);
    if (answer.tries > 0 && answer.error == 0)
        text += readBackOffer(command);
    if (answer.tries > 0 && answer.error == 0 && request.type == kTypeSystemInit)
        text +=
            ". A unit that was released after a MAC or PIN write does not answer `init` until "
            "mfgpd is restarted";
    return {kExitNoAnswer, text};
}

struct Info {
    uint8_t code;
    int exit;
    const char* meaning;
};

constexpr Info kInfos[] = {
    {kInfoSuccess, kExitDone, "done"},
    {kInfoFailed, kExitFailed, "failed"},
    {kInfoUnknownSubType, kExitNotUnderstood, "the unit does not know the sub-type"},
    {kInfoWrongVersion, kExitNotUnderstood, "the unit does not know this protocol version"},
    {kInfoOtherPeer, kExitOtherStation, "the unit is bound to another station"},
    {kInfoDecodeFailed, kExitAccount, "the unit refused the digest: wrong user name or password"},
};
constexpr Info kUnknownInfo = {0xFF, kExitFailed, "unknown code"};

const Info& infoOf(uint8_t code) {
    for (const Info& row : kInfos)
        if (row.code == code)
            return row;
    return kUnknownInfo;
}

Outcome refusal(const Command& command, uint8_t code) {
    const Info& info = infoOf(code);
    if (code == kInfoFailed)
        return {info.exit, refusalText(command, Mode::Unknown)};
    std::string text = std::string(info.meaning) + " (info " + std::to_string(code) + ")";
    if (code == kInfoOtherPeer)
        text += "; the binding lapses after 60 s of silence or with `release` from that station";
    return {info.exit, text};
}

Outcome ofReply(const Command& command, const Request& request, const Reply& reply,
                const Link& link) {
    switch (reply.status) {
        case DecodeStatus::Empty:
            return {kExitNotUnderstood, "the unit does not know packet type " +
                                            std::to_string(request.type) + " (empty answer)"};
        case DecodeStatus::ShortForm:
            return refusal(command, kInfoWrongVersion);
        case DecodeStatus::Malformed:
            return {kExitNotUnderstood, "malformed reply" + readBackOffer(command)};
        case DecodeStatus::WrongDigest:
            // These two are sent before the account matters, so they are trusted without a digest.
            if (reply.info == kInfoOtherPeer || reply.info == kInfoDecodeFailed)
                return refusal(command, reply.info);
            // The digest of a request without payload does not depend on the account. The unit
            // obeys it, and only the payload of the reply shows that the account is wrong.
            return {kExitAccount,
                    "cannot decrypt the reply: wrong user name or password for this unit "
                    "(user '" +
                        (link.user.empty() ? "kiosk" : link.user) +
                        "' was used). If the account is right, the datagram was "
                        "damaged; try again" +
                        readBackOffer(command)};
        case DecodeStatus::Whole:
            break;
    }
    if (reply.info != kInfoSuccess)
        return refusal(command, reply.info);
    if (reply.code != kReplyCode && command.format != nullptr)
        return {kExitNotUnderstood, "the datagram is an echo of the request, not a reply"};
    if (reply.payload.size() < command.leastReply)
        return {kExitNotUnderstood,
                "the reply is too short: " + std::to_string(reply.payload.size()) + " bytes, not " +
                    std::to_string(command.leastReply)};
    return {kExitDone, ""};
}

}  // namespace

std::span<const ExitCodeRow> exits() { return kExits; }

const char* outcomeWord(int code) {
    const ExitCodeRow* found = kExits;
    for (const ExitCodeRow& row : kExits)
        if (row.code <= code)
            found = &row;
    return found->word;
}

Outcome outcomeOf(const Command& command, const Request& request, const Answer& answer,
                  const Link& link) {
    switch (answer.status) {
        case ExchangeStatus::Answered:
            return ofReply(command, request, answer.reply, link);
        case ExchangeStatus::NoAnswer:
            return withoutAnswer(command, request, answer, link);
        case ExchangeStatus::Interrupted:
            return interrupted(answer.tries > 0 ? readBackOffer(command)
                                                : ". The command was not sent");
        case ExchangeStatus::Fault:
            break;
    }
    return {kExitLocalFault, "cannot talk to " + link.unit + ": " + strerror(answer.error)};
}

std::string refusalText(const Command& command, Mode mode) {
    constexpr const char* kMode = "the unit is not in produce mode";
    constexpr const char* kOnce =
        "this field was already written since mfgpd started (restart mfgpd to write it again)";
    constexpr const char* kTool = "the unit's tool failed (see its log)";
    const std::string text = "refused or failed (info 3). ";
    const bool isKnown = command.type != kTypeFromWords;
    const bool isGated = command.gate == Gate::ProduceMode;
    if (isGated && isKnown && mode == Mode::Other)
        return text + "Cause: " + kMode;
    Words causes;
    if (isGated && mode != Mode::Produce)
        causes.emplace_back(kMode);
    if (command.once || !isKnown)
        causes.emplace_back(kOnce);
    causes.emplace_back(command.refusal[0] != '\0' ? command.refusal : kTool);
    std::string list;
    for (const std::string& cause : causes)
        list += (list.empty() ? "" : "; ") + cause;
    return text + (causes.size() == 1 ? "Cause: " : "Possible causes: ") + list;
}

std::string deadlineText(const Link& link) {
    return "deadline of " + inSeconds(link.deadlineSeconds) + " reached";
}

Outcome interrupted(const std::string& what) {
    const int signal = interruptSignal();
    return {kExitInterrupted + signal, "interrupted by signal " + std::to_string(signal) + what};
}

const char* infoMeaning(uint8_t info) { return infoOf(info).meaning; }

}  // namespace station
