// Datagrams to the daemon. The input is a mode byte, then pieces. Bit 0 of the mode is produce
// mode, 1: files exist, 2: permissions are used up, 3 and 4: the packet type, 5: the pieces are the
// controller and a whole datagram, 6: from another station, 7: the digest is not made right.
// Otherwise the pieces are sub-type and argument, configuration, controller, answers of the tools.
#include "protocol/account_check.h"
#include "tests/fuzz/fuzz.h"

namespace {

void fillRequest(uint8_t* request, uint8_t mode, std::string_view* input) {
    constexpr uint8_t kTypes[] = {kTypeSpecial, kTypeEncrypted, kTypeUsbTest, kTypeSetConfig};
    mfgp_setVersion(request, kProtocolVersion);
    mfgp_setType(request, kTypes[mode / 8 % 4]);
    mfgp_setSubType(request, takeByte(input));
    const std::string_view argument = takePiece(input).substr(0, kMaxPayload);
    argument.copy(reinterpret_cast<char*>(mfgp_payload(request)), argument.size());
    mfgp_setPayloadLength(request, static_cast<uint32_t>((argument.size() + 7) / 8 * 8));
    const std::string_view configuration = takePiece(input);
    for (const char* file : {"/etc/config/wifi", "/etc/config/protocol", "/tmp/.uci/bluetooth",
                             "/proc/bus/usb/devices"})
        layFile(file, configuration);
    layFile("/etc/config/bluetooth", "config s settings\noption on 1\nlist other 1\n");
}

std::string answerToRequest(std::string_view input) {
    static uint8_t request[kBufferSize];
    memset(request, 0, sizeof request);
    const uint8_t mode = takeByte(&input);
    const bool isWhole = (mode & 32) != 0;
    if (!isWhole)
        fillRequest(request, mode, &input);
    layFile("/etc/config/wanDetect",
            (mode & 1) != 0 ? "config s settings\noption mode test\n" : "");
    layController(takePiece(&input));
    size_t length = kHeaderSize + mfgp_payloadLength(request);
    if (isWhole)
        length = input.copy(reinterpret_cast<char*>(request), kMaxDatagram);
    ServiceContext* const ctx = freshContext();
    mfgp_checkAccount(ctx);
    if ((mode & 128) == 0)
        seal(request, ctx->payloadKey);
    if ((mode & 4) != 0)
        ctx->flags = 0;
    ctx->peerAddr.sin_port = (mode & 64) != 0 ? 1 : 0;
    const InUnit unit(isWhole ? "" : input, (mode & 2) != 0);
    return answerToDatagram(ctx, {reinterpret_cast<const char*>(request), length});
}

}  // namespace

// Two things outlive a command on purpose: the level of an antenna test, which an unknown module
// resets, and the generated groups if no shell can be started.
std::string answerOf(std::string_view input) {
    constexpr uint8_t kSetAntennaTest = 112;
    layFile("/tmp/mfgp_generate_group", "");
    answerToRequest("\1\x70\xFF\xFF\xFF+no such module");
    std::string answer = answerToRequest(input);
    if (input.size() > 1 && input[1] == kSetAntennaTest)
        answer += answerToRequest("\1\x71");  // asks for the level
    return answer;
}
