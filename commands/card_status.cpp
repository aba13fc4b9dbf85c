#include "commands/handlers.h"

#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/shell.h"

namespace {

constexpr size_t kReadingSize = 10;        // bytes of the longest reading, with the terminator
constexpr uint32_t kModemImeiLength = 16;  // one byte longer than an IMEI, as the protocol defines
constexpr size_t kModemVersionSize = 65;

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

// Returns the length without the newline that uci prints, in 32 bits. For an empty reading this is
// 0xFFFFFFFF, which is logged as -1 and sent as an empty reply.
uint32_t lengthLessOne(const char* text) { return static_cast<uint32_t>(strlen(text)) - 1U; }

int readCard(ServiceContext* ctx, const CardReading& reading,
             const char* function = __builtin_FUNCTION()) {
    const Reply reply = mfgp_replyBegin(ctx, reading.subType, function);
    char text[kReadingSize];
    if (mfgp_readCommand(reading.line, std::span(text).first(reading.readBytes + 1)) ==
        kPipeNotOpened)
        return mfgp_replyFail(reply, reading.code, reading.message);
    MFGP_TRACE_AS(function, "get %s is: %s, len is %d\n", reading.logName, text,
                  static_cast<int>(lengthLessOne(text)));
    mfgp_replyPut(reply, text);
    const char* const payload = mfgp_payloadText(reply);
    MFGP_TRACE_AS(function, "pRplyBuf is: %s, len is %d\n", payload,
                  static_cast<int>(lengthLessOne(payload)));
    return mfgp_replyOk(reply, lengthLessOne(payload));
}

// Reads the modem's version, the first line of at most 64 bytes. Returns 0 or -1.
int readVersion(const Reply& reply, char (&text)[kModemVersionSize]) {
    const char* line = nullptr;
    if (is_support_quectel_module() == 0) {
        line = "atcon -c ATI | awk 'NR==4{print $2}'";
    } else if (is_support_fibocom_module() == 0) {
        line = "cellcli -c ATI | awk 'NR==3{print $2}'";
    } else {
        MFGP_TRACE_AS(reply.function, "other module,we are not sure cmd,do not process\n");
        return -1;
    }
    const int length = mfgp_readCommand(line, text);
    if (length == 0)
        MFGP_TRACE_AS(reply.function, "get lte_swver fail\n");
    text[strcspn(text, "\n")] = '\0';
    return length > 0 ? 0 : -1;
}

}  // namespace

int mfgp2_cmd_getcardstate(ServiceContext* ctx) { return readCard(ctx, kState); }

int mfgp2_cmd_getcardconn(ServiceContext* ctx) { return readCard(ctx, kConnection); }

int mfgp2_cmd_getcardsiglvl(ServiceContext* ctx) { return readCard(ctx, kSignal); }

int mfgp2_cmd_getcardregstat(ServiceContext* ctx) { return readCard(ctx, kRegistered); }

int mfgp2_cmd_getsimImei(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 110);
    char imei[kModemImeiLength];
    // Uses the atcon console for every module. A module without it gives an empty answer.
    if (mfgp_readCommand("atcon -c AT+CGSN | awk 'NR==2{print $1}'", imei) == kPipeNotOpened)
        return mfgp_replyFail(reply, -10348, "get sim imei failed");
    MFGP_TRACE("get imei on sim is: %s, len is %d\n", imei, static_cast<int>(strlen(imei)));
    return mfgp_replyText(reply, imei, kModemImeiLength);
}

int mfgp2_cmd_getlteSwVer(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 116);
    char version[kModemVersionSize];
    if (readVersion(reply, version) != 0)
        return mfgp_replyFail(reply, -10356, "get lte soft version failed");
    MFGP_TRACE("get lte-swver is: %s, len is %d\n", version, static_cast<int>(strlen(version)));
    return mfgp_replyText(reply, version, sizeof version);
}
