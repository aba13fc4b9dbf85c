#include "commands/imei.h"

#include "commands/factory_fields.h"
#include "commands/modem_detection.h"
#include "commands/reply.h"
#include "core/shell.h"

namespace {

constexpr size_t kImeiLength = 15;
constexpr size_t kImeiSize = kImeiLength + 1;

// How a modem is told its IMEI (between the two halves of a line), made to keep it, and asked.
struct ImeiLines {
    const char* write;
    const char* writeEnd;
    const char* keep;
    const char* read;
};

constexpr ImeiLines kFg621Lines = {R"(cellcli -c 'AT+GTCSNUM=1,7,")", R"("')",
                                   "cellcli -c 'AT+GTBACKUPDUT'",
                                   "cellcli -c AT+CGSN | awk 'NR==1{print $1}'"};
// For every other module, a name that is not known included.
constexpr ImeiLines kOtherLines = {R"(atcon -c "AT+EGMR=1,7,\")", R"(\"")",
                                   R"(atcon -c "AT+QPRTPARA=1")",
                                   "atcon -c AT+CGSN | awk 'NR==2{print $1}'"};

// Returns the lines of the unit's module, or null when its name is not known.
const ImeiLines* findLines(const Reply& reply, const char* purpose) {
    char name[kModuleNameSize] = {};
    if (get_module_name(name) != 0) {
        mfgp_traceAt(reply.site, "we get device name fail,we don't know send which cmd for %s\n",
                     purpose);
        return nullptr;
    }
    return strcmp(name, "FG621") == 0 ? &kFg621Lines : &kOtherLines;
}

// The IMEI stands in shell lines, once without quotes behind an echo that would take a dash as the
// start of an option. Its length and digits are the station's business.
bool isSafe(const char* imei) {
    return imei[0] != '-' && mfgp_isPlainText(imei, "%+,-./:=@^_");
}

int writeImei(const Reply& reply) {
    if ((reply.ctx->flags & kFlagSetImei) == 0)
        return -1;
    char imei[kImeiSize] = {};
    memcpy(imei, reply.argument, kImeiLength);
    mfgp_traceAt(reply.site, "new imei is:%s\r\n", imei);
    if (!isSafe(imei) || mfgp_echoToFile(imei, "/tmp/imei-tmp") != 0 ||
        mfgp_execCmd("flashkv -w /tmp/imei-tmp -p default-imei") != 0)
        return -1;
    const ImeiLines* const lines = findLines(reply, "FTM");
    if (lines == nullptr || mfgp_execCmd("%s%s%s", lines->write, imei, lines->writeEnd) != 0 ||
        mfgp_execCmd("%s", lines->keep) != 0)
        return -1;
    reply.ctx->flags &= ~kFlagSetImei;
    return 0;
}

// Reads both IMEIs into zeroed buffers of kImeiSize.
int readImeis(const Reply& reply, char* factory, char* modem) {
    mfgp_dropFirmCache();
    if (mfgp_readFirmField("IMEI", kImeiLength, factory) != 0)
        return -1;
    const ImeiLines* const lines = findLines(reply, "sim IMEI");
    if (lines == nullptr || mfgp_readCommand(lines->read, modem, kImeiLength) == kPipeNotOpened)
        return -1;
    return 0;
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
    // As bytes: a modem whose answer is shorter than an IMEI keeps its newline and so differs.
    if (memcmp(factory, modem, kImeiLength) != 0)
        memset(factory, '9', kImeiLength);
    mfgp_traceAt(reply.site, "get imei is: %s, len is %d\n", factory,
                 static_cast<int>(strlen(factory)));
    mfgp_replyPut(reply, factory);
    mfgp_replyLogPayload(reply);
    return mfgp_replyOk(reply, kImeiLength);
}
