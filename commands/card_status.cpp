#include "commands/card_status.h"

#include "commands/modem_detection.h"
#include "commands/reply.h"
#include "core/shell.h"

namespace {

constexpr size_t kLongestReading = 9;
constexpr size_t kImeiLength = 15;
constexpr size_t kLongestVersion = 64;

struct CardReading {
    uint8_t subType;
    const char* line;
    size_t readBytes;
    const char* logName;
    int code;
    const char* message;
};

// clang-format off
//                                no.  line                                          read  log name         code    message
constexpr CardReading kState      {106, "uci get sim.common_state.card_state",        4,   "card state",     -10344, "get card state failed"};
constexpr CardReading kConnection {107, "uci get mobile_status.net_status.conn_stat", 4,   "card conn",      -10345, "get card conn failed"};
constexpr CardReading kSignal     {108, "uci get mobile_status.net_status.sig_lvl",   9,   "card siglvl",    -10346, "get card siglvl failed"};
constexpr CardReading kRegistered {109, "uci get mobile_status.net_status.reg_stat",  9,   "card reg state", -10347, "get card reg state failed"};
// clang-format on

// The length without the newline that uci ends its answer with, in 32 bits as on the unit: a
// reading without any text has 0xFFFFFFFF, logged as -1 and sent as an empty reply.
uint32_t lengthLessOne(const char* text) {
    return static_cast<uint32_t>(strlen(text)) - 1U;
}

int readCard(ServiceContext* ctx, const CardReading& reading, CallSite site = mfgp_callSite()) {
    const Reply reply = mfgp_replyBegin(ctx, reading.subType, site);
    char text[kLongestReading + 1];
    if (mfgp_readCommand(reading.line, text, reading.readBytes) == kPipeNotOpened)
        return mfgp_replyFail(reply, reading.code, reading.message);
    mfgp_traceAt(site, "get %s is: %s, len is %d\n", reading.logName, text,
                 static_cast<int>(lengthLessOne(text)));
    mfgp_replyPut(reply, text);
    const char* const payload = mfgp_payloadText(reply);
    mfgp_traceAt(site, "pRplyBuf is: %s, len is %d\n", payload,
                 static_cast<int>(lengthLessOne(payload)));
    return mfgp_replyOk(reply, lengthLessOne(payload));
}

// Reads the modem's version, the first line of at most 64 bytes, into text[kLongestVersion + 1].
int readVersion(const Reply& reply, char* text) {
    const char* line = nullptr;
    if (is_support_quectel_module() == 0) {
        line = "atcon -c ATI | awk 'NR==4{print $2}'";
    } else if (is_support_fibocom_module() == 0) {
        line = "cellcli -c ATI | awk 'NR==3{print $2}'";
    } else {
        mfgp_traceAt(reply.site, "other module,we are not sure cmd,do not process\n");
        return -1;
    }
    const int length = mfgp_readCommand(line, text, kLongestVersion);
    if (length == 0)
        mfgp_traceAt(reply.site, "get lte_swver fail\n");
    text[strcspn(text, "\n")] = '\0';
    return length > 0 ? 0 : -1;
}

int answer(const Reply& reply, const char* logName, const char* text, uint32_t length) {
    mfgp_traceAt(reply.site, "get %s is: %s, len is %d\n", logName, text,
                 static_cast<int>(strlen(text)));
    mfgp_replyPut(reply, text);
    mfgp_replyLogPayload(reply);
    return mfgp_replyOk(reply, length);
}

}  // namespace

int mfgp2_cmd_getcardstate(ServiceContext* ctx) {
    return readCard(ctx, kState);
}

int mfgp2_cmd_getcardconn(ServiceContext* ctx) {
    return readCard(ctx, kConnection);
}

int mfgp2_cmd_getcardsiglvl(ServiceContext* ctx) {
    return readCard(ctx, kSignal);
}

int mfgp2_cmd_getcardregstat(ServiceContext* ctx) {
    return readCard(ctx, kRegistered);
}

int mfgp2_cmd_getsimImei(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 110);
    char imei[kImeiLength + 1];
    // Through this console whatever the module is: without it the answer is empty.
    if (mfgp_readCommand("atcon -c AT+CGSN | awk 'NR==2{print $1}'", imei, kImeiLength) ==
        kPipeNotOpened)
        return mfgp_replyFail(reply, -10348, "get sim imei failed");
    // One more byte than an IMEI has: what stations have always received.
    return answer(reply, "imei on sim", imei, kImeiLength + 1);
}

int mfgp2_cmd_getlteSwVer(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 116);
    char version[kLongestVersion + 1];
    if (readVersion(reply, version) != 0)
        return mfgp_replyFail(reply, -10356, "get lte soft version failed");
    return answer(reply, "lte-swver", version, kLongestVersion + 1);
}
