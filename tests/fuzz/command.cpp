// Requests whose handlers run tools and read files. The input is: a byte of which bit 0 is produce
// mode, bit 1 that files exist, bit 2 that permissions are used up, bits 3 and 4 the packet type;
// sub-type; argument; configuration, which is the list of USB devices as well; answers of the
// tools.
#include "commands/handlers.h"
#include "protocol/cipher.h"
#include "tests/fuzz/scripted_unit.h"

namespace {

std::string answerToRequest(std::string_view input) {
    constexpr uint8_t kTypes[] = {kTypeSpecial, kTypeEncrypted, kTypeUsbTest, kTypeSetConfig};
    const uint8_t mode = takeByte(&input);
    ServiceContext* const ctx = freshContext();
    uint8_t* const request = ctx->recvBuf;
    if ((mode & 4) != 0)
        ctx->flags = kFlagSendReply;
    mfgp_setVersion(request, kProtocolVersion);
    mfgp_setType(request, kTypes[mode / 8 % 4]);
    mfgp_setSubType(request, takeByte(&input));
    const std::string_view argument = takePiece(&input).substr(0, kMaxPayload);
    argument.copy(reinterpret_cast<char*>(mfgp_payload(request)), argument.size());
    mfgp_setPayloadLength(request, static_cast<uint32_t>((argument.size() + 7) / 8 * 8));
    mfgp_desEcb(mfgp_payload(request), mfgp_payloadLength(request), mfgp_payload(request),
                kPayloadCapacity, ctx->payloadKey, CipherDirection::Encrypt);
    seal(request, ctx->payloadKey);
    const std::string_view configuration = takePiece(&input);
    for (const char* file : {"/etc/config/wifi", "/etc/config/protocol", "/etc/config/bluetooth",
                             "/proc/bus/usb/devices"})
        layFile(file, configuration);
    layFile("/etc/config/wanDetect",
            (mode & 1) != 0 ? "config s settings\noption mode test\n" : "");
    const InUnit unit(input, (mode & 2) != 0);
    return answerToDatagram(ctx);
}

}  // namespace

std::string answerOf(std::string_view input) {
    constexpr uint8_t kSetAntennaTest = 112;
    {
        // The level of an antenna test outlives the command on purpose. A module of a name that is
        // not known takes it back to what it was at the start.
        const InUnit unit("+no such module");
        mfgp2_cmd_setantennaTest(freshContext());
    }
    std::string answer = answerToRequest(input);
    if (input.size() > 1 && input[1] == kSetAntennaTest)
        answer += answerToRequest("\1\x71");  // asks for the level
    return answer;
}
