#include "commands/handlers.h"

#include <strings.h>
#include <unistd.h>

#include "commands/config_lookup.h"
#include "commands/factory_fields.h"
#include "commands/reply.h"
#include "commands/unit_profile.h"

namespace {

constexpr size_t kLongestStatusText = 64;

struct Button {
    const char* name;
    size_t compared;  // number of characters; upper and lower case are equal
    const char* pressed;
};

constexpr Button kButtons[] = {
    {"WIFI", 4, "/tmp/button_wifi_check"},
    {"RESET", 5, "/tmp/button_reset_check"},
    // Compares past the terminator, so WPS must match exactly, while WIFI and RESET match as
    // prefixes.
    {"WPS", 5, "/tmp/button_wps_check"},
};

bool wasPressed(const char* name) {
    for (const Button& button : kButtons)
        if (strncasecmp(name, button.name, button.compared) == 0)
            return access(button.pressed, F_OK) == 0;
    return false;
}

struct FirmField {
    const char* key;
    const char* logName;  // null: the field is not logged again
    int code;
    const char* message;
};

constexpr FirmField kFirmwareVersion = {"SOFTVERSION", nullptr, -10332, "get fw version failed"};
constexpr FirmField kHardwareVersion = {"HARDVERSION", "hwver", -10333, "get hw version failed"};
constexpr FirmField kModelName = {"MODEL", "modelname", -10339, "get model name failed"};

int answerFirmField(const Reply& reply, const FirmField& field) {
    char text[kLongestStatusText + 1] = {};
    mfgp_dropFirmCache();
    if (get_firm_info(field.key, kLongestStatusText, text) != 0)
        return mfgp_replyFail(reply, field.code, field.message);
    if (field.logName != nullptr)
        MFGP_TRACE_AS(reply.function, "get %s is: %s, len is %d\n", field.logName, text,
                      static_cast<int>(strlen(text)));
    return mfgp_replyText(reply, text);
}

}  // namespace

int mfgp_cmd_getGpioStatus(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 50);
    if (is_cal() == 0) {
        MFGP_TRACE("WLAN TEST Fail!!!\n");
        // The protocol defines the SSID's code and message.
        return mfgp_replyFail(reply, -10331, "get SSID failed");
    }
    const char* const button = mfgp_argumentText(reply);
    MFGP_TRACE("detect button:%s\n", button);
    const char* const result = wasPressed(button) ? "BUTTON OK" : "BUTTON NOT OK";
    MFGP_TRACE("detect result:%s\n", result);
    mfgp_replyPut(reply, result);
    return mfgp_replyOk(reply, static_cast<uint32_t>(strlen(result)) + 1);
}

int mfgp_cmd_getBleStatus(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 87);
    char value[8] = {};
    const bool isRead = uci_get_option("bluetooth", "settings", "enable", value) == 0;
    if (isRead && strcmp(value, "on") == 0) {
        MFGP_TRACE("BLUETOOTH TEST Success!!!\n");
        return mfgp_replyOk(reply, sizeof "BLUETOOTH OK");  // The payload stays zero.
    }
    MFGP_TRACE("%s", isRead ? "BLUETOOTH TEST Fail!!!\n" : "uci get bluetooth enable failed.\n");
    return mfgp_replyFail(reply, -10340, "get bluetooth enable failed");
}

int mfgp_cmd_getSSID(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 68);
    char ssid[kLongestStatusText + 1] = {};
    if (get_firm_info("SSID", kLongestStatusText, ssid) != 0) {
        MFGP_TRACE("get firm info failed.\n");
        return mfgp_replyFail(reply, -10331, "get SSID failed");
    }
    return mfgp_replyText(reply, ssid);
}

int mfgp_cmd_getFwVer(ServiceContext* ctx) {
    return answerFirmField(mfgp_replyBeginInner(ctx), kFirmwareVersion);
}

int mfgp_cmd_getHwVer(ServiceContext* ctx) {
    return answerFirmField(mfgp_replyBeginInner(ctx), kHardwareVersion);
}

int mfgp_cmd_getModelName(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBeginInner(ctx);
    mfgp_replyLogArgument(reply);
    return answerFirmField(reply, kModelName);
}

int mfgp_cmd_getEnableFlags(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 69);
    uint32_t flags = 0;
    if (get_enable_flags(&flags) != 0) {
        MFGP_TRACE("get enable flags failed.\n");
        return mfgp_replyFail(reply, -10334, "get enable flags failed");
    }
    MFGP_TRACE("enableFlags = %d.\n", static_cast<int>(flags));
    mfgp_storeLittleEndian(reply.payload.data(), flags);
    return mfgp_replyOk(reply, sizeof flags);
}
