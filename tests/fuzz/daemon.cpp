// Datagrams to the daemon. The input is a byte of which bit 0 is produce mode, bit 1 that files
// exist, bit 2 that permissions are used up, bit 3 that the digest stays as it is; then a piece for
// the configuration and one for the controller; the length and the bytes of the datagram in plain
// text; answers of the tools.
#include "protocol/account_check.h"
#include "tests/fuzz/fuzz.h"

namespace {

// The configuration is also the list of USB devices and the uncommitted changes of one file.
std::string answerToDatagram(std::string_view input) {
    const uint8_t mode = takeByte(&input);
    const std::string_view configuration = takePiece(&input);
    for (const char* file : {"/etc/config/wifi", "/etc/config/protocol", "/tmp/.uci/bluetooth",
                             "/proc/bus/usb/devices"})
        layFile(file, configuration);
    layFile("/etc/config/bluetooth", "config s settings\noption on 1\nlist other 1\n");
    layFile("/etc/config/wanDetect",
            (mode & 1) != 0 ? "config s settings\noption mode test\n" : "");
    layController(takePiece(&input));
    ServiceContext* const ctx = freshContext();
    mfgp_checkAccount(ctx);
    const size_t length = takeByte(&input) * 256U + takeByte(&input);
    input.substr(0, length).copy(reinterpret_cast<char*>(ctx->recvBuf), kMaxDatagram);
    if ((mode & 8) == 0)
        seal(ctx->recvBuf, ctx->payloadKey);
    if ((mode & 4) != 0)
        ctx->flags = kFlagSendReply;
    const InUnit unit(input.substr(std::min(length, input.size())), (mode & 2) != 0);
    return handleRequest(ctx);
}

}  // namespace

// Two things outlive a request on purpose: the level of an antenna test, which an unknown module
// resets, and the generated groups if no shell can be started.
std::string answerOf(std::string_view input) {
    using namespace std::literals;
    layFile("/tmp/mfgp_generate_group", "");
    answerToDatagram("\1\xFF\xFF\0\14\2\3\0\0\0\0\0\0\0\0\160\0+no such module"sv);
    return answerToDatagram(input) +
           answerToDatagram("\1\xFF\xFF\0\14\2\3\0\0\0\0\0\0\0\0\161\0"sv);  // the level
}
