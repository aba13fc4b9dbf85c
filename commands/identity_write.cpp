#include "commands/handlers.h"

#include <cstdio>

#include "commands/factory_fields.h"
#include "commands/record_editor.h"
#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/file.h"
#include "core/produce_mode.h"
#include "core/shell.h"
#include "protocol/region_table.h"

namespace {

constexpr size_t kValueSize = 65;  // bytes of the longest value, with the terminator
constexpr size_t kPinLength = 8;
constexpr size_t kMacTextSize = 18;

struct ProductInfoWrite {
    uint8_t subType;
    Flag permission;
    const char* fileStem;  // of the working file
    const char* key;
    const char* logName;
    bool logsStep;  // log the step that failed
    int code;
    const char* message;
};

// clang-format off
//                                            no. permission         stem     key              log name        step   code    message
constexpr ProductInfoWrite kWriteOemId       {60, kFlagSetOemId,     "oemid", "oem_id:",       "OEM ID",       false, -10325, "set OEM ID failed"};
constexpr ProductInfoWrite kWriteSpecialId   {65, kFlagSetSpecialId, "sid",   "special_id:",   "special ID",   true,  -10327, "set Special ID failed"};
constexpr ProductInfoWrite kWriteCountryCode {67, kFlagSetCountry,   "cc",    "country:",      "Country Code", false, -10329, "set Country Code failed"};
// The protocol defines the special ID's code for this field too.
constexpr ProductInfoWrite kWriteModelName   {82, kFlagSetModelName, "model", "product_name:", "model name",   false, -10327, "set model name failed"};
// clang-format on

bool isPermitted(const Reply& reply, Flag permission) {
    return (reply.ctx->flags & permission) != 0;
}

int succeedOnce(const Reply& reply, Flag permission) {
    reply.ctx->flags &= ~permission;
    return mfgp_replyOk(reply, 0);
}

void copyArgument(const Reply& reply, char (&value)[kValueSize]) {
    snprintf(value, sizeof value, "%s", mfgp_argumentText(reply));
}

const char* stepLog(EditStep failed) {
    switch (failed) {
        case EditStep::Dump:
            return "debug3";
        case EditStep::Edit:
            return "debug4";
        case EditStep::WriteBack:
            return "debug5";
        case EditStep::CleanUp:
            return "debug6";
        case EditStep::Done:
            break;
    }
    return "";
}

int writeProductInfo(const Reply& reply, const ProductInfoWrite& row, const char* value) {
    MFGP_TRACE_AS(reply.function, "%s is:%s\r\n", row.logName, value);
    const Record record = {row.key, value, nullptr};
    const EditStep reached = mfgp_editProductInfo(row.fileStem, {&record, 1}).reached;
    if (reached == EditStep::Done)
        return succeedOnce(reply, row.permission);
    if (row.logsStep)
        MFGP_TRACE_AS(reply.function, "%s", stepLog(reached));
    return mfgp_replyFail(reply, row.code, row.message);
}

int writeTextField(ServiceContext* ctx, const ProductInfoWrite& row,
                   const char* function = __builtin_FUNCTION()) {
    const Reply reply = mfgp_replyBegin(ctx, row.subType, function);
    if (!isPermitted(reply, row.permission) || !mfgp_hasArgument(reply))
        return mfgp_replyFail(reply, row.code, row.message);
    char value[kValueSize];
    copyArgument(reply, value);
    return writeProductInfo(reply, row, value);
}

void formatMac(const uint8_t* mac, char separator, char (&text)[kMacTextSize]) {
    snprintf(text, sizeof text, "%02X%c%02X%c%02X%c%02X%c%02X%c%02X", mac[0], separator, mac[1],
             separator, mac[2], separator, mac[3], separator, mac[4], separator, mac[5]);
}

int flashMac(const char* dashed) {
    if (mfgp_echoToFile(dashed, "/tmp/mac-tmp") != 0)
        return -1;
    return mfgp_execCmd("flashkv -w /tmp/mac-tmp -p default-mac");
}

// Starts the script that names the default Wi-Fi network after the model and the end of the MAC
// address. The script runs in the background and its result is ignored.
void setDefaultSsid(const uint8_t* mac) {
    char model[kModelWordSize];
    get_hostname(model);
    // A station can set the model name, and it appears unquoted in the line.
    const bool isUsable = model[0] != '\0' && mfgp_isPlainText(model);
    mfgp_execCmd("sh  /lib/essid/essid.sh %s %02X%02X%02X &", isUsable ? model : "NORVANE", mac[3],
                 mac[4], mac[5]);
}

}  // namespace

int mfgp_cmd_setOemID(ServiceContext* ctx) { return writeTextField(ctx, kWriteOemId); }

int mfgp_cmd_setCountryCode(ServiceContext* ctx) { return writeTextField(ctx, kWriteCountryCode); }

int mfgp_cmd_setModelName(ServiceContext* ctx) { return writeTextField(ctx, kWriteModelName); }

int mfgp_cmd_setSpecialID(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, kWriteSpecialId.subType);
    MFGP_TRACE("debug1");
    if (!isPermitted(reply, kWriteSpecialId.permission))
        return mfgp_replyFail(reply, kWriteSpecialId.code, kWriteSpecialId.message);
    const char* const specialId = mfgp_specialIdOfRegion(mfgp_argumentText(reply));
    if (specialId == nullptr) {
        report(-1, "debug2");
        return mfgp_replyFail(reply, kWriteSpecialId.code, kWriteSpecialId.message);
    }
    return writeProductInfo(reply, kWriteSpecialId, specialId);
}

int mfgp_cmd_setDevID(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 54);
    char id[kValueSize];
    copyArgument(reply, id);
    if (isPermitted(reply, kFlagSetDeviceId) && mfgp_hasArgument(reply)) {
        MFGP_TRACE("device ID is:%s\r\n", id);
        char text[sizeof "dev_id:" + sizeof id];
        const int length = snprintf(text, sizeof text, "dev_id:%s", id);
        if (mfgp_writeFile("/tmp/device-tmp", text, static_cast<size_t>(length)) == 0 &&
            mfgp_execCmd("flashkv -w /tmp/device-tmp -p device-id") == 0)
            return succeedOnce(reply, kFlagSetDeviceId);
    }
    return mfgp_replyFail(reply, -10315, "set device ID failed");
}

int mfgp2_cmd_setPin(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 76);
    if (!isPermitted(reply, kFlagSetPin)) {
        mfgp_setInfo(reply.header, kInfoFailed);
        return -10304;  // The protocol defines no report for a second PIN.
    }
    // The protocol defines the product ID's message for a failed PIN.
    if (!mfgp_hasArgument(reply))
        return mfgp_replyFail(reply, -1, "get product id failed");
    const char* const pin = mfgp_argumentText(reply);
    MFGP_TRACE("new pin is %c%c%c%c%c%c%c%c\n", pin[0], pin[1], pin[2], pin[3], pin[4], pin[5],
               pin[6], pin[7]);
    char line[kPinLength + 1];
    memcpy(line, pin, kPinLength);
    line[kPinLength] = '\n';
    if (mfgp_writeFile("/tmp/pin-tmp", line, sizeof line) != 0 ||
        mfgp_execCmd("flashkv -w /tmp/pin-tmp -p pin") != 0)
        return mfgp_replyFail(reply, -1, "get product id failed");
    return succeedOnce(reply, kFlagSetPin);
}

int mfgp2_cmd_setMac(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 75);
    if (!isPermitted(reply, kFlagSetMac) || !mfgp_hasArgument(reply))
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
    return succeedOnce(reply, kFlagSetMac);
}
