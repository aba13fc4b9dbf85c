#include "commands/handlers.h"

#include <cstdio>

#include "commands/factory_fields.h"
#include "commands/reply.h"
#include "protocol/region_table.h"

namespace {

constexpr size_t kIdentitySize = 65;  // bytes of the longest field, with the terminator

struct IdentityField {
    uint8_t subType;
    bool dropCache;  // remove the cached answers of the tool first
    const char* key;
    size_t readBytes;
    uint32_t replyLength;
    const char* emptyAnswer;
    int code;
    const char* message;
    const char* logName;
    const char* logComma;
};

// clang-format off
//                                   no.  cache  key            read  reply  if empty    code    message                    log name      comma
constexpr IdentityField kProductId   {10, false, "PRODUCT_ID",  16,   16,    "00000000", -10330, "get Product ID failed",   "proID",       ","};
constexpr IdentityField kDeviceId    {53, true,  "DEV_ID",      64,   64,    "",         -10316, "get device ID failed",    "device id",   ","};
constexpr IdentityField kMac         {55, true,  "MAC",         17,   17,    "",         -10320, "get mac failed",          "mac",         ", "};
constexpr IdentityField kFirmwareId  {56, false, "FW_ID",       64,   64,    "",         -10321, "get fw ID failed",        "fw id",       ", "};
// The protocol defines the firmware ID's message for this field too.
constexpr IdentityField kHardwareId  {57, false, "HW_ID",       64,   64,    "",         -10322, "get fw ID failed",        "hw id",       ", "};
constexpr IdentityField kOemId       {59, true,  "OEM_ID",      64,   64,    "",         -10324, "get OEM ID failed",       "oem id",      ","};
constexpr IdentityField kSpecialId   {64, true,  "SPECIAL_ID",  64,   64,    "UN",       -10326, "get special ID failed",   "special id",  ","};
constexpr IdentityField kCountryCode {66, true,  "COUNTRY",     64,   64,    "UN",       -10328, "get Country Code failed", "countryCode", ","};
// clang-format on

bool isEmptyField(const char* text) { return text[0] == '\0' || text[0] == '\n'; }

// Reads and logs the field. Returns 0, or the code of the failed reply.
int readIdentity(const Reply& reply, const IdentityField& field, char (&text)[kIdentitySize]) {
    if (field.dropCache)
        mfgp_dropFirmCache();
    if (mfgp_readFirmField(field.key, std::span(text).first(field.readBytes + 1)) != 0)
        return mfgp_replyFail(reply, field.code, field.message);
    MFGP_TRACE_AS(reply.function, "get %s is: %s%slen is %d\n", field.logName, text, field.logComma,
                  static_cast<int>(strlen(text)));
    return 0;
}

int getField(ServiceContext* ctx, const IdentityField& field,
             const char* function = __builtin_FUNCTION()) {
    const Reply reply = mfgp_replyBegin(ctx, field.subType, function);
    char text[kIdentitySize];
    const int result = readIdentity(reply, field, text);
    if (result != 0)
        return result;
    return mfgp_replyText(reply, isEmptyField(text) ? field.emptyAnswer : text, field.replyLength);
}

}  // namespace

int mfgp_cmd_getProdId(ServiceContext* ctx) { return getField(ctx, kProductId); }

int mfgp_cmd_getDevID(ServiceContext* ctx) { return getField(ctx, kDeviceId); }

int mfgp_cmd_getMAC(ServiceContext* ctx) { return getField(ctx, kMac); }

int mfgp_cmd_getFwID(ServiceContext* ctx) { return getField(ctx, kFirmwareId); }

int mfgp_cmd_getHwID(ServiceContext* ctx) { return getField(ctx, kHardwareId); }

int mfgp_cmd_getOemID(ServiceContext* ctx) { return getField(ctx, kOemId); }

int mfgp_cmd_getCountryCode(ServiceContext* ctx) { return getField(ctx, kCountryCode); }

int mfgp_cmd_getSpecialID(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, kSpecialId.subType);
    char text[kIdentitySize];
    const int result = readIdentity(reply, kSpecialId, text);
    if (result != 0)
        return result;
    if (isEmptyField(text))
        return mfgp_replyText(reply, kSpecialId.emptyAnswer, kSpecialId.replyLength);
    // Copied as bytes, because a letter can be a zero byte.
    const RegionLetters region = mfgp_regionOfSpecialId(text);
    memcpy(reply.payload.data(), region.data(), region.size());
    mfgp_replyLogPayload(reply);
    return mfgp_replyOk(reply, kSpecialId.replyLength);
}

int mfgp_cmd_getHwDesc(ServiceContext* ctx) {
    constexpr uint32_t kReplyLength = 128;
    const Reply reply = mfgp_replyBegin(ctx, 58);
    char model[32];
    char version[32];
    if (mfgp_readFirmField("MODEL", model) != 0 || mfgp_readFirmField("HARDVERSION", version) != 0)
        return mfgp_replyFail(reply, -10323, "get hw desc failed");
    char text[kReplyLength + 1] = {};
    if (model[0] != '\0' || version[0] != '\0')
        snprintf(text, sizeof text, "%s %s", model, version);
    MFGP_TRACE("get device id is: %s, len is %d\n", text, static_cast<int>(strlen(text)));
    return mfgp_replyText(reply, text, kReplyLength);
}
