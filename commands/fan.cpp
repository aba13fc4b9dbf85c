#include "commands/fan.h"

#include <cstdio>

#include "commands/modem_detection.h"
#include "commands/reply.h"
#include "core/shell.h"

// Numbers are scanned with "%9d": a number that an int cannot hold is undefined to sscanf, and nine
// characters always fit.

namespace {

constexpr int kAllGears = 255;
constexpr size_t kCountDigits = 2;
constexpr size_t kMostFans = 99;
constexpr size_t kSpeedBytes = 8;
constexpr size_t kSpeedsSize = kCountDigits + kMostFans * (1 + kSpeedBytes) + 1;

int runFans(const char* model, int gear, int time) {
    if (strcmp(model, "M31-5G") == 0)
        return mfgp_execCmd("main_fanctrl %d %d &", gear, time);
    return mfgp_execCmd("ubus send \"fan_control\" '{\"gear\":%d, \"time\":%d}'", gear, time);
}

// Returns the number of fans, or -1 when the fan service has left none that can be read.
int readFanCount(CallSite site) {
    char text[kCountDigits + 1];
    const int length = mfgp_readCommand("cat /tmp/fan_speed/fan_number", text, kCountDigits);
    if (length == kPipeNotOpened) {
        mfgp_traceAt(site, "open fan_number file error\n");
        return -1;
    }
    mfgp_traceAt(site, "fan num is: %s\n", text);
    int count = 0;
    for (int i = 0; i < length; i++) {
        if (text[i] < '0' || text[i] > '9') {
            mfgp_traceAt(site, "fan number is not digit.\n");
            return -1;
        }
        count = count * 10 + (text[i] - '0');
    }
    if (length == 0) {
        mfgp_traceAt(site, "fan number is NULL.\n");
        return -1;
    }
    return count;
}

// Reads one fan's speed into speed[kSpeedBytes + 1].
int readSpeed(int fan, int gear, char* speed, CallSite site) {
    char line[kCommandLineSize];
    mfgp_formatLine(line, sizeof line, "cat /tmp/fan_speed/fan%d_speed_gear%d", fan, gear);
    if (mfgp_readCommand(line, speed, kSpeedBytes) == kPipeNotOpened) {
        mfgp_traceAt(site, "open fan%d speed file error\n", fan);
        return -1;
    }
    mfgp_traceAt(site, "get fan%d SpeedValue : %s\n", fan, speed);
    return 0;
}

// Writes the number of fans and their speeds into text[kSpeedsSize].
int readSpeeds(int gear, char* text, CallSite site) {
    const int count = readFanCount(site);
    if (count < 0)
        return -1;
    size_t used = static_cast<size_t>(snprintf(text, kSpeedsSize, "%d", count));
    for (int fan = 1; fan <= count; fan++) {
        char speed[kSpeedBytes + 1];
        if (readSpeed(fan, gear, speed, site) != 0)
            return -1;
        used += static_cast<size_t>(snprintf(text + used, kSpeedsSize - used, " %s", speed));
    }
    return 0;
}

}  // namespace

int mfgp_cmd_setFanSpeed(ServiceContext* ctx) {
    constexpr int kCode = -10300;
    constexpr char kMessage[] = "Set Fan Control Error";
    const Reply reply = mfgp_replyBegin(ctx, 104);
    mfgp_setSubType(ctx->recvBuf, 104);
    char model[kModelWordSize];
    if (get_hostname(model) != 0) {
        MFGP_TRACE("we get device name fail,we don't know send which cmd for FTM\n");
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    char message[513];
    mfgp_argumentMessage(reply, message, sizeof message - 1);
    int gear = 0;
    int time = 0;
    sscanf(message, "{\"gear\":\"%9d\",\"time\":%9d}", &gear, &time);
    return runFans(model, gear, time) == 0 ? mfgp_replyOk(reply, 0)
                                           : mfgp_replyFail(reply, kCode, kMessage);
}

int mfgp_cmd_setAllFanGear(ServiceContext* ctx) {
    constexpr int kCode = -10300;
    constexpr char kMessage[] = "recheck all gears fanspeed failed!";
    const Reply reply = mfgp_replyBegin(ctx, 89);
    mfgp_setSubType(ctx->recvBuf, 89);
    char message[257];
    mfgp_argumentMessage(reply, message, sizeof message - 1);
    int gear = 0;
    sscanf(message, "{\"gear\":%9d}", &gear);
    if (gear != kAllGears) {
        MFGP_TRACE("gear is %d, 255 is expected to recheck all gears speed\r\n", gear);
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    return mfgp_execCmd("/etc/init.d/fan_control reload") == 0
               ? mfgp_replyOk(reply, 0)
               : mfgp_replyFail(reply, kCode, kMessage);
}

int mfgp_cmd_getAllFanStatus(ServiceContext* ctx) {
    constexpr int kCode = -10346;
    constexpr char kMessage[] = "get card siglvl failed";  // borrowed; log filters match it
    const Reply reply = mfgp_replyBegin(ctx, 88);
    mfgp_setSubType(ctx->recvBuf, 89);  // 89 and not 88: kept as it always was
    char status[3];
    const int length = mfgp_readCommand("cat /tmp/fan_speed/test_status", status, 2);
    if (length == kPipeNotOpened) {
        MFGP_TRACE("open fanstatusOk file error\n");
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    if (length == 0) {
        MFGP_TRACE("get test_status error, maybe file is not exist\n");
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    status[1] = '\0';  // one character is all that stations know
    MFGP_TRACE("fan speed status is: %s\n", status);
    return mfgp_replyText(reply, status);
}

int mfgp_cmd_getMultiFanSpeed(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 105);
    int gear = 0;
    sscanf(mfgp_argumentText(reply), "%9d", &gear);
    MFGP_TRACE("read all fans gear%d speed \n", gear);
    char speeds[kSpeedsSize];
    if (readSpeeds(gear, speeds, reply.site) != 0)
        return mfgp_replyFail(reply, -10337, "get fanspeed failed");
    return mfgp_replyText(reply, speeds);
}
