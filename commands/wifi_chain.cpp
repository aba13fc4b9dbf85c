#include "commands/handlers.h"

#include <cstdio>
#include <iterator>

#include "commands/argument_text.h"
#include "commands/json_handle.h"
#include "commands/reply.h"
#include "core/shell.h"

namespace {

constexpr const char* kChainBands[] = {"2g", "5g"};
constexpr int kChains = 2;

constexpr int kNoBand = 7;
constexpr size_t kRadioNameSize = 6;  // bytes, with the terminator

struct Radio {
    int band;
    const char* name;
};
constexpr Radio kRadios[] = {{0, "2g"}, {1, "5g"}, {4, "6g"}, {6, "6g_2"}};

struct Rssi {
    int max;
    int min;
};

int switchChains(int band, int value) {
    if (band < 0 || band >= static_cast<int>(std::size(kChainBands)))
        return -1;
    for (int chain = 0; chain < kChains; chain++)
        if (mfgp_execCmd("echo %d > /sys/devices/platform/soc/soc\\:wifi_chains/chain%d_%s", value,
                         chain, kChainBands[band]) != 0)
            return -1;
    return 0;
}

void readInteger(const Json& object, const char* name, int* number) {
    json_object* const value = json_object_object_get(object.get(), name);
    if (json_object_get_type(value) == json_type_int)
        *number = json_object_get_int(value);
}

int readSpreadRequest(const Reply& reply, int* band, int* nss) {
    const char* const text = mfgp_argumentText(reply);
    MFGP_TRACE_AS(reply.function, "value:%s len:%d\n", text, static_cast<int>(strlen(text)));
    const Json object(json_tokener_parse(text));
    if (!object) {
        // The protocol defines the group command's message here.
        MFGP_TRACE_AS(reply.function, "Set GroupInfo error, json_tokener_parse result is NULL\n");
        return -1;
    }
    readInteger(object, "band", band);
    readInteger(object, "nss", nss);
    return 0;
}

// Reads the interface name of the band's radio. Returns 0 or -1.
int readRadioName(int band, char (&name)[kRadioNameSize], const char* function) {
    for (const Radio& radio : kRadios) {
        if (radio.band != band)
            continue;
        char line[kCommandLineSize];
        // The name appears unquoted in the line that reads the radio.
        if (mfgp_formatLine(line,
                            "echo $(uci get interfaces.radio_%s.name -c /etc/profile.d/ "
                            "2>/dev/null) | tr -d \"\\n\"",
                            radio.name) == 0 &&
            mfgp_readCommand(line, name) != kPipeNotOpened && mfgp_isPlainText(name))
            return 0;
        MFGP_TRACE_AS(function, "get dev name filed\n");
        return -1;
    }
    MFGP_TRACE_AS(function, "error operate band\n");
    return -1;
}

// Reads up to nss samples of the radio, but at least one. Returns 0 or -1.
int readRssi(const char* radio, int nss, Rssi* rssi, const char* function) {
    char line[kCommandLineSize];
    if (mfgp_formatLine(line, "wifistats %s 10 | grep rx_per_chain_rssi_in_dbm", radio) != 0)
        return -1;
    ReadPipe pipe(line);
    if (!pipe.isOpen()) {
        MFGP_TRACE_AS(function, "get rssi filed\n");
        return -1;
    }
    char text[128];
    for (int count = 0; pipe.readLine(text);) {
        const char* const chain = strstr(text, "0:");
        if (chain == nullptr)
            continue;
        const int sample = mfgp_textToInt(chain + 2);  // The number ends at the next comma.
        // The protocol defines that a sample which raises the maximum does not also lower the
        // minimum. The minimum starts at 0, so a single sample of -40 gives a spread of -40.
        if (sample > rssi->max)
            rssi->max = sample;
        else if (sample < rssi->min)
            rssi->min = sample;
        if (++count >= nss)
            break;
    }
    return 0;
}

}  // namespace

int mfgp2_cmd_setSmartAntenna(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 128);
    char message[513];
    mfgp_argumentMessage(reply, message);
    int band = 0;
    int mode = 0;
    const char* const rest = mfgp_scanNumber(message, "{\"band\":\"", &band);
    mfgp_scanNumber(rest, "\",\"antmode\":", &mode);
    return switchChains(band, mode != 0 ? 1 : 0) == 0
               ? mfgp_replyOk(reply, 0)
               : mfgp_replyFail(reply, -10300, "Set Smart Antenna Error");
}

int mfgp_cmd_getMaxDifferPerChain(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 131);
    int band = kNoBand;
    int nss = 0;
    char radio[kRadioNameSize];
    Rssi rssi = {-128, 0};
    if (readSpreadRequest(reply, &band, &nss) != 0 || readRadioName(band, radio, __func__) != 0 ||
        readRssi(radio, nss, &rssi, __func__) != 0)
        return mfgp_replyFail(reply, -10357, "get wifi rssi error");
    // Unsigned, because the difference of two extreme numbers overflows an int.
    const auto spread =
        static_cast<int>(static_cast<uint32_t>(rssi.max) - static_cast<uint32_t>(rssi.min));
    MFGP_TRACE("max rssi:%d,min rssi:%d,max_differ_between_per_chain:%d\n", rssi.max, rssi.min,
               spread);
    const int length = snprintf(mfgp_payloadText(reply), reply.payload.size(), "%d", spread);
    return mfgp_replyOk(reply, static_cast<uint32_t>(length) + 1);
}
