#include "commands/handlers.h"

#include "commands/factory_fields.h"
#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/shell.h"

namespace {

constexpr size_t kImeiLength = 15;
constexpr size_t kImeiSize = kImeiLength + 1;

bool isFg621(const char* moduleName) { return strcmp(moduleName, "FG621") == 0; }

// The IMEI appears unquoted in a shell line, and echo could take a leading dash as an option.
// Length and digits are not checked.
bool isSafeImei(const char* imei) { return imei[0] != '-' && mfgp_isPlainText(imei); }

// Writes the IMEI into the modem and makes it permanent. Every module except the FG621, even an
// unknown one, is written through atcon. Returns 0 or -1.
int writeModemImei(const Reply& reply, const char* imei) {
    char name[kModuleNameSize];
    if (mfgp_readModuleName(name, "FTM", reply.function) != 0)
        return -1;
    if (isFg621(name)) {
        if (mfgp_execCmd("cellcli -c 'AT+GTCSNUM=1,7,\"%s\"'", imei) != 0)
            return -1;
        return mfgp_execCmd("cellcli -c 'AT+GTBACKUPDUT'");
    }
    if (mfgp_execCmd("atcon -c \"AT+EGMR=1,7,\\\"%s\\\"\"", imei) != 0)
        return -1;
    return mfgp_execCmd("atcon -c \"AT+QPRTPARA=1\"");
}

int writeImei(const Reply& reply) {
    if ((reply.ctx->flags & kFlagSetImei) == 0 || !mfgp_hasArgument(reply))
        return -1;
    char imei[kImeiSize] = {};
    memcpy(imei, reply.argument, kImeiLength);
    MFGP_TRACE_AS(reply.function, "new imei is:%s\r\n", imei);
    if (!isSafeImei(imei) || mfgp_echoToFile(imei, "/tmp/imei-tmp") != 0 ||
        mfgp_execCmd("flashkv -w /tmp/imei-tmp -p default-imei") != 0 ||
        writeModemImei(reply, imei) != 0)
        return -1;
    reply.ctx->flags &= ~kFlagSetImei;
    return 0;
}

// Reads both IMEIs into zeroed buffers. Returns 0 or -1.
int readImeis(const Reply& reply, char (&factory)[kImeiSize], char (&modem)[kImeiSize]) {
    mfgp_dropFirmCache();
    char name[kModuleNameSize];
    if (mfgp_readFirmField("IMEI", factory) != 0 ||
        mfgp_readModuleName(name, "sim IMEI", reply.function) != 0)
        return -1;
    const char* const line = isFg621(name) ? "cellcli -c AT+CGSN | awk 'NR==1{print $1}'"
                                           : "atcon -c AT+CGSN | awk 'NR==2{print $1}'";
    return mfgp_readCommand(line, modem) == kPipeNotOpened ? -1 : 0;
}

}  // namespace

int mfgp2_cmd_setImei(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 90);
    return writeImei(reply) == 0 ? mfgp_replyOk(reply, 0)
                                 : mfgp_replyFail(reply, -10350, "set imei failed");
}

int mfgp2_cmd_getImei(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 91);
    char factory[kImeiSize] = {};
    char modem[kImeiSize] = {};
    if (readImeis(reply, factory, modem) != 0)
        return mfgp_replyFail(reply, -10351, "get imei failed");
    // Compared as bytes. A shorter answer of the modem keeps its newline and therefore differs.
    if (memcmp(factory, modem, kImeiLength) != 0)
        memset(factory, '9', kImeiLength);
    MFGP_TRACE("get imei is: %s, len is %d\n", factory, static_cast<int>(strlen(factory)));
    return mfgp_replyText(reply, factory, kImeiLength);
}
