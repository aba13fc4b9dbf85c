#include "commands/encrypted_commands.h"

#include "commands/reply.h"
#include "commands/reset_check.h"
#include "commands/status_read.h"
#include "core/produce_mode.h"

namespace {

struct EncryptedCommand {
    uint8_t subType;
    bool produceModeOnly;
    Handler run;  // null: no such command
};

// The model name (72) is only read here, the reset (73) is only reached here.
constexpr EncryptedCommand kEncryptedCommands[] = {
    {70, false, mfgp_cmd_getHwVer},
    {71, false, mfgp_cmd_getFwVer},
    {72, false, mfgp_cmd_getModelName},
    {73, true, mfgp_cmd_reset},
};

EncryptedCommand find(uint8_t subType) {
    for (const EncryptedCommand& command : kEncryptedCommands)
        if (command.subType == subType)
            return command;
    return {};
}

void fillCommandBlock(ServiceContext* ctx) {
    ctx->cmdBlock = {
        .requestHeader = ctx->recvBuf + kHeaderSize,
        .replyHeader = ctx->replyBuf + kHeaderSize,
        .requestPayload = ctx->recvBuf + kHeaderSize + kInnerHeaderSize,
        .replyPayload = ctx->replyBuf + kHeaderSize + kInnerHeaderSize,
        .payloadCapacity = static_cast<uint32_t>(kBufferSize - kHeaderSize - kInnerHeaderSize),
    };
}

// Version, type, packet id, sub-type and the byte behind it are the request's.
void beginInnerReply(const CommandBlock& block) {
    memcpy(block.replyHeader, block.requestHeader, kInnerHeaderSize);
    mfgp_setCode(block.replyHeader, kReplyCode);
    mfgp_setInfo(block.replyHeader, kInfoSuccess);
    mfgp_setPayloadLength(block.replyHeader, 0);
    memset(block.replyPayload, 0, block.payloadCapacity);
}

int run(ServiceContext* ctx) {
    const EncryptedCommand command = find(mfgp_subType(ctx->cmdBlock.requestHeader));
    if (!mfgp_isProduceMode() && command.produceModeOnly) {
        mfgp_encCmd_replyRefused(ctx);
        return report(-10300, "Lumo is not in produce mode!");
    }
    if (command.run != nullptr)
        return command.run(ctx);
    mfgp_setInfo(ctx->cmdBlock.replyHeader, kInfoUnknownSubType);
    return 0;
}

}  // namespace

int mfgp_cmd_encCmd(ServiceContext* ctx) {
    fillCommandBlock(ctx);
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    beginInnerReply(ctx->cmdBlock);
    const int result = run(ctx);
    const uint8_t* const inner = ctx->cmdBlock.replyHeader;
    mfgp_setInfo(ctx->replyBuf, mfgp_info(inner));
    mfgp_setPayloadLength(ctx->replyBuf,
                          mfgp_payloadLength(inner) + static_cast<uint32_t>(kInnerHeaderSize));
    return result;
}

void mfgp_encCmd_replyRefused(ServiceContext* ctx) {
    mfgp_setInfo(ctx->cmdBlock.replyHeader, kInfoFailed);
    mfgp_setPayloadLength(ctx->cmdBlock.replyHeader, 0);
}
