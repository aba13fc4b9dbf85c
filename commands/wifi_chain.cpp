#include "commands/wifi_chain.h"

#include <cstdio>
#include <iterator>

#include "commands/field_text.h"
#include "commands/reply.h"
#include "core/json_handle.h"
#include "core/shell.h"

namespace {

constexpr const char* kChainBands[] = {"2g", "5g"};
constexpr int kChains = 2;

constexpr int kNoBand = 7;
constexpr size_t kLongestRadioName = 5;

struct Radio {
    int band;
    const char* name;
};
constexpr Radio kRadios[] = {{0, "2g"}, {1, "5g"}, {4, "6g"}, {6, "6g_2"}};

struct SpreadRequest {
    int band;
    int nss;
};

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

void takeNumber(const Json& object, const char* name, int* number) {
    json_object* const value = json_object_object_get(object.get(), name);
    if (json_object_get_type(value) == json_type_int)
        *number = json_object_get_int(value);
}

int readRequest(const Reply& reply, SpreadRequest* request) {
    const char* const text = mfgp_argumentText(reply);
    mfgp_traceAt(reply.site, "value:%s len:%d\n", text, static_cast<int>(strlen(text)));
    const Json object(json_tokener_parse(text));
    if (!object) {
        // Borrowed from the group commands; log filters match it.
        mfgp_traceAt(reply.site, "Set GroupInfo error, json_tokener_parse result is NULL\n");
        return -1;
    }
    takeNumber(object, "band", &request->band);
    takeNumber(object, "nss", &request->nss);
    return 0;
}

// Reads the interface name of the band's radio into name[kLongestRadioName + 1].
int readRadioName(int band, char* name, CallSite site) {
    for (const Radio& radio : kRadios) {
        if (radio.band != band)
            continue;
        char line[kCommandLineSize];
        mfgp_formatLine(line, sizeof line,
                        "echo $(uci get interfaces.radio_%s.name -c /etc/profile.d/ 2>/dev/null) | "
                        "tr -d \"\\n\"",
                        radio.name);
        if (mfgp_readCommand(line, name, kLongestRadioName) != kPipeNotOpened &&
            mfgp_isPlainText(name, "._-"))
            return 0;
        mfgp_traceAt(site, "get dev name filed\n");
        return -1;
    }
    mfgp_traceAt(site, "error operate band\n");
    return -1;
}

// Takes up to nss samples of the radio, at least one if it gives any.
int readRssi(const char* radio, int nss, Rssi* rssi, CallSite site) {
    char line[kCommandLineSize];
    mfgp_formatLine(line, sizeof line, "wifistats %s 10 | grep rx_per_chain_rssi_in_dbm", radio);
    ReadPipe pipe(line);
    if (!pipe.isOpen()) {
        mfgp_traceAt(site, "get rssi filed\n");
        return -1;
    }
    char text[128];
    for (int count = 0; pipe.readLine(text, sizeof text);) {
        const char* const chain = strstr(text, "0:");
        if (chain == nullptr)
            continue;
        const int sample = mfgp_textToInt(chain + 2);  // stops by itself at the comma behind it
        // A sample that raises the maximum does not lower the minimum too. The minimum starts at 0,
        // so one sample of -40 has a spread of -40: limits on the line are set for these numbers.
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
    mfgp_setSubType(ctx->recvBuf, 128);
    char message[513];
    mfgp_argumentMessage(reply, message, sizeof message - 1);
    int band = 0;
    int mode = 0;
    int* const numbers[] = {&band, &mode};
    mfgp_scanNumbers(message, "{\"band\":\"#\",\"antmode\":#}", numbers);
    return switchChains(band, mode != 0 ? 1 : 0) == 0
               ? mfgp_replyOk(reply, 0)
               : mfgp_replyFail(reply, -10300, "Set Smart Antenna Error");
}

int mfgp_cmd_getMaxDifferPerChain(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 131);
    SpreadRequest request = {kNoBand, 0};
    char radio[kLongestRadioName + 1];
    Rssi rssi = {-128, 0};
    if (readRequest(reply, &request) != 0 || readRadioName(request.band, radio, reply.site) != 0 ||
        readRssi(radio, request.nss, &rssi, reply.site) != 0)
        return mfgp_replyFail(reply, -10357, "get wifi rssi error");
    const auto spread =  // of readings that no radio gives it wraps
        static_cast<int>(static_cast<uint32_t>(rssi.max) - static_cast<uint32_t>(rssi.min));
    MFGP_TRACE("max rssi:%d,min rssi:%d,max_differ_between_per_chain:%d\n", rssi.max, rssi.min,
               spread);
    const int length = snprintf(mfgp_payloadText(reply), reply.capacity, "%d", spread);
    return mfgp_replyOk(reply, static_cast<uint32_t>(length) + 1);
}
