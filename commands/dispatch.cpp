#include "commands/dispatch.h"

#include <algorithm>
#include <span>

#include "commands/handlers.h"
#include "core/produce_mode.h"
#include "core/report.h"

namespace {

enum Gate { kAlways, kProduceMode };

struct CommandRow {
    uint8_t subType;
    Gate gate;
    int (*run)(ServiceContext* ctx);  // fills the reply and returns 0 or the command's code
};

constexpr CommandRow kSpecialCommands[] = {
    {10, kProduceMode, mfgp_cmd_getProdId},
    {17, kProduceMode, mfgp_hook_erase_radio},
    {18, kProduceMode, mfgp_cmd_StartCal},
    {50, kProduceMode, mfgp_cmd_getGpioStatus},
    {53, kAlways, mfgp_cmd_getDevID},
    {54, kProduceMode, mfgp_cmd_setDevID},
    {55, kAlways, mfgp_cmd_getMAC},
    {56, kProduceMode, mfgp_cmd_getFwID},
    {57, kProduceMode, mfgp_cmd_getHwID},
    {58, kProduceMode, mfgp_cmd_getHwDesc},
    {59, kProduceMode, mfgp_cmd_getOemID},
    {60, kProduceMode, mfgp_cmd_setOemID},
    {64, kAlways, mfgp_cmd_getSpecialID},
    {65, kProduceMode, mfgp_cmd_setSpecialID},
    {66, kAlways, mfgp_cmd_getCountryCode},
    {67, kProduceMode, mfgp_cmd_setCountryCode},
    {68, kAlways, mfgp_cmd_getSSID},
    {69, kAlways, mfgp_cmd_getEnableFlags},
    {70, kAlways, mfgp_cmd_getHwVer},
    {71, kAlways, mfgp_cmd_getFwVer},
    {75, kProduceMode, mfgp2_cmd_setMac},
    {76, kAlways, mfgp2_cmd_setPin},
    {77, kProduceMode, mfgp2_cmd_setGroupInfo},
    {78, kProduceMode, mfgp2_cmd_getGroupInfo},
    {79, kProduceMode, mfgp2_cmd_generateGroupInfo},
    {80, kProduceMode, mfgp_hook_enable_testmode},
    {82, kAlways, mfgp_cmd_setModelName},
    {86, kProduceMode, mfgp_cmd_getCalStatus},
    {87, kProduceMode, mfgp_cmd_getBleStatus},
    {88, kProduceMode, mfgp_cmd_getAllFanStatus},
    {89, kProduceMode, mfgp_cmd_setAllFanGear},
    {90, kAlways, mfgp2_cmd_setImei},
    {91, kAlways, mfgp2_cmd_getImei},
    {92, kAlways, mfgp2_cmd_startQLog},
    {93, kAlways, mfgp2_cmd_stopQLog},
    {94, kAlways, mfgp2_cmd_changeExtAntenna},
    {104, kProduceMode, mfgp_cmd_setFanSpeed},
    {105, kProduceMode, mfgp_cmd_getMultiFanSpeed},
    {106, kAlways, mfgp2_cmd_getcardstate},
    {107, kAlways, mfgp2_cmd_getcardconn},
    {108, kAlways, mfgp2_cmd_getcardsiglvl},
    {109, kAlways, mfgp2_cmd_getcardregstat},
    {110, kAlways, mfgp2_cmd_getsimImei},
    {112, kAlways, mfgp2_cmd_setantennaTest},
    {113, kAlways, mfgp2_cmd_getantennaTest},
    {114, kAlways, mfgp2_cmd_setFtmState},
    {115, kAlways, mfgp2_cmd_getFtmState},
    {116, kAlways, mfgp2_cmd_getlteSwVer},
    {128, kProduceMode, mfgp2_cmd_setSmartAntenna},
    {131, kAlways, mfgp_cmd_getMaxDifferPerChain},
    {135, kProduceMode, mfgp_cmd_getConfigCheck},
};

// The model name is only read here (72), and the reset is only available here (73).
constexpr CommandRow kEncryptedCommands[] = {
    {70, kAlways, mfgp_cmd_getHwVer},
    {71, kAlways, mfgp_cmd_getFwVer},
    {72, kAlways, mfgp_cmd_getModelName},
    {73, kProduceMode, mfgp_cmd_reset},
};

constexpr bool subTypesRise(std::span<const CommandRow> rows) {
    for (size_t i = 1; i < rows.size(); i++)
        if (rows[i].subType <= rows[i - 1].subType)
            return false;
    return true;
}
static_assert(subTypesRise(kSpecialCommands) && subTypesRise(kEncryptedCommands));

constexpr int kRefused = -10300;

// Returns the row of a sub-type, or null.
const CommandRow* findCommand(std::span<const CommandRow> rows, uint8_t subType) {
    for (const CommandRow& row : rows)
        if (row.subType == subType)
            return &row;
    return nullptr;
}

// Returns true, after a report, when the command is gated and the unit is not in produce mode.
// Reads the mode for every command, so a mode that cannot be read is reported for every command.
bool isRefused(const CommandRow* row) {
    if (mfgp_isProduceMode() || row == nullptr || row->gate == kAlways)
        return false;
    report(kRefused, "Lumo is not in produce mode!");
    return true;
}

// Points the command block at a header and its payload, at the given offsets in both buffers.
void fillCommandBlock(ServiceContext* ctx, size_t header, size_t payload) {
    ctx->cmdBlock = {
        .requestHeader = ctx->recvBuf + header,
        .replyHeader = ctx->replyBuf + header,
        .requestPayload = ctx->recvBuf + payload,
        .replyPayload = ctx->replyBuf + payload,
        .payloadCapacity = static_cast<uint32_t>(kBufferSize - payload),
    };
}

void mfgp_spCmd_replyRefused(ServiceContext* ctx) {
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoFailed);
}

void mfgp_encCmd_replyRefused(ServiceContext* ctx) {
    mfgp_startReply(ctx->cmdBlock.replyHeader, ctx->cmdBlock.requestHeader, kInfoFailed);
}

int runEncrypted(ServiceContext* ctx) {
    const CommandBlock& block = ctx->cmdBlock;
    const CommandRow* const row =
        findCommand(kEncryptedCommands, mfgp_subType(block.requestHeader));
    if (isRefused(row)) {
        mfgp_encCmd_replyRefused(ctx);
        return kRefused;
    }
    if (row != nullptr)
        return row->run(ctx);
    mfgp_startReply(block.replyHeader, block.requestHeader, kInfoUnknownSubType);
    return 0;
}

}  // namespace

int mfgp_cmd_spCmd(ServiceContext* ctx) {
    const uint8_t subType = mfgp_subType(ctx->recvBuf);
    char text[256] = {};
    memcpy(text, mfgp_payload(ctx->recvBuf),
           std::min<uint32_t>(mfgp_payloadLengthHostOrder(ctx->recvBuf), sizeof text - 1));
    MFGP_TRACE("#spCmd: %s\n", text);
    MFGP_TRACE("#spCmd:0x%x\n", unsigned{subType});
    const CommandRow* const row = findCommand(kSpecialCommands, subType);
    if (isRefused(row)) {
        mfgp_spCmd_replyRefused(ctx);
        return kRefused;
    }
    MFGP_TRACE("#flags:0x%x\n", ctx->flags);
    if (row == nullptr) {
        mfgp_setInfo(ctx->replyBuf, kInfoUnknownSubType);
        return 0;
    }
    fillCommandBlock(ctx, 0, kHeaderSize);  // for the version reads, 70 and 71
    return row->run(ctx);
}

int mfgp_cmd_encCmd(ServiceContext* ctx) {
    fillCommandBlock(ctx, kHeaderSize, kHeaderSize + kInnerHeaderSize);
    const int result = runEncrypted(ctx);
    const uint8_t* const inner = ctx->cmdBlock.replyHeader;
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, static_cast<ReplyInfo>(mfgp_info(inner)));
    mfgp_setPayloadLength(ctx->replyBuf,
                          mfgp_payloadLength(inner) + static_cast<uint32_t>(kInnerHeaderSize));
    return result;
}
