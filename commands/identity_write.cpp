#include "commands/identity_write.h"

#include <cstdio>

#include "commands/factory_fields.h"
#include "commands/modem_detection.h"
#include "commands/product_info.h"
#include "commands/region_table.h"
#include "commands/reply.h"
#include "core/file.h"
#include "core/produce_mode.h"
#include "core/shell.h"

namespace {

constexpr size_t kLongestText = 64;
constexpr size_t kPinLength = 8;
constexpr size_t kMacTextSize = 18;

struct ProductInfoWrite {
    uint8_t subType;
    Flag permission;
    const char* field;  // names the working file
    const char* key;
    const char* logName;
    bool logsStep;  // whether a step that failed is logged
    int code;
    const char* message;
};

// clang-format off
//                                         no.  permission         field    key              log name        step   code    message
constexpr ProductInfoWrite kOemId         {60, kFlagSetOemId,     "oemid", "oem_id:",       "OEM ID",       false, -10325, "set OEM ID failed"};
constexpr ProductInfoWrite kSpecialId     {65, kFlagSetSpecialId, "sid",   "special_id:",   "special ID",   true,  -10327, "set Special ID failed"};
constexpr ProductInfoWrite kCountryCode   {67, kFlagSetCountry,   "cc",    "country:",      "Country Code", false, -10329, "set Country Code failed"};
// Reports under the special ID's code, which is kept: only the message tells the two apart.
constexpr ProductInfoWrite kModelName     {82, kFlagSetModelName, "model", "product_name:", "model name",   false, -10327, "set model name failed"};
// clang-format on

bool isPermitted(const Reply& reply, Flag permission) {
    return (reply.ctx->flags & permission) != 0;
}

int written(const Reply& reply, Flag permission) {
    reply.ctx->flags &= ~permission;
    return mfgp_replyOk(reply, 0);
}

// Copies the argument, cut, into text[kLongestText + 1].
void takeText(const Reply& reply, char* text) {
    snprintf(text, kLongestText + 1, "%s", mfgp_argumentText(reply));
}

int writeRecord(const Reply& reply, const ProductInfoWrite& row, const char* value) {
    mfgp_traceAt(reply.site, "%s is:%s\r\n", row.logName, value);
    const Record records[] = {{row.key, value}};
    const EditStep reached = mfgp_editProductInfo(row.field, records).reached;
    if (reached == EditStep::Done)
        return written(reply, row.permission);
    if (row.logsStep)  // debug3 for the dump to debug6 for the clean-up
        mfgp_traceAt(reply.site, "debug%d", 3 + static_cast<int>(reached));
    return mfgp_replyFail(reply, row.code, row.message);
}

int setText(ServiceContext* ctx, const ProductInfoWrite& row, CallSite site = mfgp_callSite()) {
    const Reply reply = mfgp_replyBegin(ctx, row.subType, site);
    if (!isPermitted(reply, row.permission))
        return mfgp_replyFail(reply, row.code, row.message);
    char value[kLongestText + 1];
    takeText(reply, value);
    return writeRecord(reply, row, value);
}

void formatMac(const uint8_t* mac, char separator, char* text) {
    snprintf(text, kMacTextSize, "%02X%c%02X%c%02X%c%02X%c%02X%c%02X", mac[0], separator, mac[1],
             separator, mac[2], separator, mac[3], separator, mac[4], separator, mac[5]);
}

int flashMac(const char* dashed) {
    if (mfgp_echoToFile(dashed, "/tmp/mac-tmp") != 0)
        return -1;
    return mfgp_execCmd("flashkv -w /tmp/mac-tmp -p default-mac");
}

// Names the default Wi-Fi network after the model and the address's end, in the background.
void setDefaultSsid(const uint8_t* mac) {
    char model[kModelWordSize];
    get_hostname(model);
    // A station can set the model name, and it stands unquoted in the line.
    const bool usable = model[0] != '\0' && mfgp_isPlainText(model, "._-");
    mfgp_execCmd("sh  /lib/essid/essid.sh %s %02X%02X%02X &", usable ? model : "NORVANE", mac[3],
                 mac[4], mac[5]);
}

}  // namespace

int mfgp_cmd_setOemID(ServiceContext* ctx) {
    return setText(ctx, kOemId);
}

int mfgp_cmd_setCountryCode(ServiceContext* ctx) {
    return setText(ctx, kCountryCode);
}

int mfgp_cmd_setModelName(ServiceContext* ctx) {
    return setText(ctx, kModelName);
}

int mfgp_cmd_setSpecialID(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, kSpecialId.subType);
    MFGP_TRACE("debug1");
    if (!isPermitted(reply, kSpecialId.permission))
        return mfgp_replyFail(reply, kSpecialId.code, kSpecialId.message);
    const char* const specialId = mfgp_specialIdOfRegion(mfgp_argumentText(reply));
    if (specialId == nullptr) {
        report(-1, "debug2");
        return mfgp_replyFail(reply, kSpecialId.code, kSpecialId.message);
    }
    return writeRecord(reply, kSpecialId, specialId);
}

int mfgp_cmd_setDevID(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 54);
    char id[kLongestText + 1];
    takeText(reply, id);
    if (isPermitted(reply, kFlagSetDeviceId)) {
        MFGP_TRACE("device ID is:%s\r\n", id);
        char record[sizeof "dev_id:" + kLongestText];
        const int length = snprintf(record, sizeof record, "dev_id:%s", id);
        if (mfgp_isRecordValue(id) &&
            mfgp_writeFile("/tmp/device-tmp", record, static_cast<size_t>(length)) == 0 &&
            mfgp_execCmd("flashkv -w /tmp/device-tmp -p device-id") == 0)
            return written(reply, kFlagSetDeviceId);
    }
    return mfgp_replyFail(reply, -10315, "set device ID failed");
}

int mfgp2_cmd_setPin(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 76);
    if (!isPermitted(reply, kFlagSetPin)) {
        mfgp_setInfo(reply.header, kInfoFailed);
        return -10304;  // without a report, on purpose: error logs show no line for a second PIN
    }
    const char* const pin = mfgp_argumentText(reply);
    MFGP_TRACE("new pin is %c%c%c%c%c%c%c%c\n", pin[0], pin[1], pin[2], pin[3], pin[4], pin[5],
               pin[6], pin[7]);
    char line[kPinLength + 1];
    memcpy(line, pin, kPinLength);
    line[kPinLength] = '\n';
    // The product ID's message is kept: log filters know a failed PIN by it.
    if (mfgp_writeFile("/tmp/pin-tmp", line, sizeof line) != 0 ||
        mfgp_execCmd("flashkv -w /tmp/pin-tmp -p pin") != 0)
        return mfgp_replyFail(reply, -1, "get product id failed");
    return written(reply, kFlagSetPin);
}

int mfgp2_cmd_setMac(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 75);
    if (!isPermitted(reply, kFlagSetMac))
        return mfgp_replyFail(reply, -10303, "set mac failed");
    const uint8_t* const mac = reply.argument;
    char text[kMacTextSize];
    formatMac(mac, '-', text);
    MFGP_TRACE("new mac is:%s\r\n", text);
    if (flashMac(text) != 0)
        return mfgp_replyFail(reply, -10303, "set mac failed");
    if (mfgp_isProduceMode())
        setDefaultSsid(mac);
    formatMac(mac, ':', text);
    mfgp_execCmd("mfgp_hook_setmac %s", text);
    return written(reply, kFlagSetMac);
}
