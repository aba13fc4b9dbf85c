// Whole datagrams: decoder, dispatch by packet type, encoder. Bit 0 of the first byte gives the
// rest the right digest.
#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    const bool sealed = (takeByte(&input) & 1) != 0;
    ServiceContext* const ctx = freshContext();
    input.copy(reinterpret_cast<char*>(ctx->recvBuf), kMaxDatagram);
    if (sealed)
        seal(ctx->recvBuf, ctx->payloadKey);
    layFile("/etc/config/wanDetect", "config s settings\noption mode test\n");
    const InUnit unit;
    return answerToDatagram(ctx);
}
