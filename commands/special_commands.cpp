#include "commands/special_commands.h"

#include <algorithm>

#include "commands/antenna_test.h"
#include "commands/calibration.h"
#include "commands/card_status.h"
#include "commands/fan.h"
#include "commands/group_info.h"
#include "commands/identity_read.h"
#include "commands/identity_write.h"
#include "commands/imei.h"
#include "commands/modem_tools.h"
#include "commands/radio_hooks.h"
#include "commands/reply.h"
#include "commands/reset_check.h"
#include "commands/status_read.h"
#include "commands/wifi_chain.h"
#include "core/produce_mode.h"

namespace {

constexpr uint8_t kFirstSubType = 10;
constexpr uint8_t kLastSubType = 135;

struct SpecialCommand {
    uint8_t subType;
    bool produceModeOnly;
    Handler run;  // null: no such command
};

constexpr bool kAlways = false;
constexpr bool kGated = true;

constexpr SpecialCommand kSpecialCommands[] = {
    {10, kGated, mfgp_cmd_getProdId},
    {17, kGated, mfgp_hook_erase_radio},
    {18, kGated, mfgp_cmd_StartCal},
    {50, kGated, mfgp_cmd_getGpioStatus},
    {53, kAlways, mfgp_cmd_getDevID},
    {54, kGated, mfgp_cmd_setDevID},
    {55, kAlways, mfgp_cmd_getMAC},
    {56, kGated, mfgp_cmd_getFwID},
    {57, kGated, mfgp_cmd_getHwID},
    {58, kGated, mfgp_cmd_getHwDesc},
    {59, kGated, mfgp_cmd_getOemID},
    {60, kGated, mfgp_cmd_setOemID},
    {64, kAlways, mfgp_cmd_getSpecialID},
    {65, kGated, mfgp_cmd_setSpecialID},
    {66, kAlways, mfgp_cmd_getCountryCode},
    {67, kGated, mfgp_cmd_setCountryCode},
    {68, kAlways, mfgp_cmd_getSSID},
    {69, kAlways, mfgp_cmd_getEnableFlags},
    {70, kAlways, mfgp_cmd_getHwVer},
    {71, kAlways, mfgp_cmd_getFwVer},
    {75, kGated, mfgp2_cmd_setMac},
    {76, kAlways, mfgp2_cmd_setPin},
    {77, kGated, mfgp2_cmd_setGroupInfo},
    {78, kGated, mfgp2_cmd_getGroupInfo},
    {79, kGated, mfgp2_cmd_generateGroupInfo},
    {80, kGated, mfgp_hook_enable_testmode},
    {82, kAlways, mfgp_cmd_setModelName},
    {86, kGated, mfgp_cmd_getCalStatus},
    {87, kGated, mfgp_cmd_getBleStatus},
    {88, kGated, mfgp_cmd_getAllFanStatus},
    {89, kGated, mfgp_cmd_setAllFanGear},
    {90, kAlways, mfgp2_cmd_setImei},
    {91, kAlways, mfgp2_cmd_getImei},
    {92, kAlways, mfgp2_cmd_startQLog},
    {93, kAlways, mfgp2_cmd_stopQLog},
    {94, kAlways, mfgp2_cmd_changeExtAntenna},
    {104, kGated, mfgp_cmd_setFanSpeed},
    {105, kGated, mfgp_cmd_getMultiFanSpeed},
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
    {128, kGated, mfgp2_cmd_setSmartAntenna},
    {131, kAlways, mfgp_cmd_getMaxDifferPerChain},
    {135, kGated, mfgp_cmd_getConfigCheck},
};

constexpr bool subTypesRise() {
    int last = kFirstSubType - 1;
    for (const SpecialCommand& command : kSpecialCommands) {
        if (command.subType <= last)
            return false;
        last = command.subType;
    }
    return last <= kLastSubType;
}
static_assert(subTypesRise(), "sub-types must rise, not repeat, and lie within the table");

// The rows above, by sub-type; what has no row stays empty.
struct CommandIndex {
    SpecialCommand commands[kLastSubType - kFirstSubType + 1];
};
constexpr CommandIndex kIndex = [] {
    CommandIndex index = {};
    for (const SpecialCommand& command : kSpecialCommands)
        index.commands[command.subType - kFirstSubType] = command;
    return index;
}();

constexpr SpecialCommand find(uint8_t subType) {
    if (subType < kFirstSubType || subType > kLastSubType)
        return {};
    return kIndex.commands[subType - kFirstSubType];
}

void logRequest(const ServiceContext* ctx) {
    char text[256] = {};
    const uint32_t length = mfgp_payloadLengthHostOrder(ctx->recvBuf);
    memcpy(text, mfgp_payload(ctx->recvBuf), std::min<uint32_t>(length, sizeof text - 1));
    mfgp_traceAt({"mfgp_cmd_spCmd", __LINE__}, "#spCmd: %s\n", text);
    mfgp_traceAt({"mfgp_cmd_spCmd", __LINE__}, "#spCmd:0x%x\n",
                 unsigned{mfgp_subType(ctx->recvBuf)});
}

void beginReply(ServiceContext* ctx, ReplyInfo info) {
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, info);
    mfgp_setType(ctx->replyBuf, kTypeSpecial);
    mfgp_setSubType(ctx->replyBuf, mfgp_subType(ctx->recvBuf));
}

// The version reads work on the command block, whichever dispatcher they are reached through. Here
// the packet itself is what an encrypted command has inside.
void fillCommandBlock(ServiceContext* ctx) {
    ctx->cmdBlock = {
        .requestHeader = ctx->recvBuf,
        .replyHeader = ctx->replyBuf,
        .requestPayload = mfgp_payload(ctx->recvBuf),
        .replyPayload = mfgp_payload(ctx->replyBuf),
        .payloadCapacity = static_cast<uint32_t>(kBufferSize - kHeaderSize),
    };
}

}  // namespace

int mfgp_cmd_spCmd(ServiceContext* ctx) {
    logRequest(ctx);
    const SpecialCommand command = find(mfgp_subType(ctx->recvBuf));
    const bool produceMode = mfgp_isProduceMode();
    if (!produceMode && command.produceModeOnly) {
        mfgp_spCmd_replyRefused(ctx);
        return report(-10300, "Lumo is not in produce mode!");
    }
    MFGP_TRACE("#flags:0x%x\n", ctx->flags);
    if (command.run != nullptr) {
        beginReply(ctx, kInfoSuccess);
        fillCommandBlock(ctx);
        return command.run(ctx);
    }
    mfgp_setInfo(ctx->replyBuf, kInfoUnknownSubType);
    return 0;
}

void mfgp_spCmd_replyRefused(ServiceContext* ctx) {
    beginReply(ctx, kInfoFailed);
}
