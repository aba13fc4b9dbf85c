#include "commands/handlers.h"

#include <cstdio>

#include "commands/argument_text.h"
#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/shell.h"

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

// Returns the number of fans, or -1 when it cannot be read.
int readFanCount(const char* function) {
    char text[kCountDigits + 1];
    const int length = mfgp_readCommand("cat /tmp/fan_speed/fan_number", text);
    if (length == kPipeNotOpened) {
        MFGP_TRACE_AS(function, "open fan_number file error\n");
        return -1;
    }
    MFGP_TRACE_AS(function, "fan num is: %s\n", text);
    int count = 0;
    for (int i = 0; i < length; i++) {
        if (text[i] < '0' || text[i] > '9') {
            MFGP_TRACE_AS(function, "fan number is not digit.\n");
            return -1;
        }
        count = count * 10 + (text[i] - '0');
    }
    if (length == 0) {
        MFGP_TRACE_AS(function, "fan number is NULL.\n");
        return -1;
    }
    return count;
}

// Reads one fan's speed. Returns 0 or -1.
int readSpeed(int fan, int gear, char (&speed)[kSpeedBytes + 1], const char* function) {
    char line[kCommandLineSize];
    if (mfgp_formatLine(line, "cat /tmp/fan_speed/fan%d_speed_gear%d", fan, gear) != 0 ||
        mfgp_readCommand(line, speed) == kPipeNotOpened) {
        MFGP_TRACE_AS(function, "open fan%d speed file error\n", fan);
        return -1;
    }
    MFGP_TRACE_AS(function, "get fan%d SpeedValue : %s\n", fan, speed);
    return 0;
}

// Writes the number of fans and the speed of each. Returns 0 or -1.
int readSpeeds(int gear, char (&text)[kSpeedsSize], const char* function) {
    const int count = readFanCount(function);
    if (count < 0)
        return -1;
    size_t used = static_cast<size_t>(snprintf(text, kSpeedsSize, "%d", count));
    for (int fan = 1; fan <= count; fan++) {
        char speed[kSpeedBytes + 1];
        if (readSpeed(fan, gear, speed, function) != 0)
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
    char model[kModelWordSize];
    if (get_hostname(model) != 0) {
        MFGP_TRACE("we get device name fail,we don't know send which cmd for FTM\n");
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    char message[513];
    mfgp_argumentMessage(reply, message);
    int gear = 0;
    int time = 0;
    const char* const rest = mfgp_scanNumber(message, "{\"gear\":\"", &gear);
    mfgp_scanNumber(rest, "\",\"time\":", &time);
    return runFans(model, gear, time) == 0 ? mfgp_replyOk(reply, 0)
                                           : mfgp_replyFail(reply, kCode, kMessage);
}

int mfgp_cmd_setAllFanGear(ServiceContext* ctx) {
    constexpr int kCode = -10300;
    constexpr char kMessage[] = "recheck all gears fanspeed failed!";
    const Reply reply = mfgp_replyBegin(ctx, 89);
    char message[257];
    mfgp_argumentMessage(reply, message);
    int gear = 0;
    mfgp_scanNumber(message, "{\"gear\":", &gear);
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
    // The protocol defines the signal level's code and message.
    constexpr char kMessage[] = "get card siglvl failed";
    const Reply reply = mfgp_replyBegin(ctx, 88);
    char status[3];
    const int length = mfgp_readCommand("cat /tmp/fan_speed/test_status", status);
    if (length == kPipeNotOpened) {
        MFGP_TRACE("open fanstatusOk file error\n");
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    if (length == 0) {
        MFGP_TRACE("get test_status error, maybe file is not exist\n");
        return mfgp_replyFail(reply, kCode, kMessage);
    }
    status[1] = '\0';  // The answer is one character.
    MFGP_TRACE("fan speed status is: %s\n", status);
    return mfgp_replyText(reply, status);
}

int mfgp_cmd_getMultiFanSpeed(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 105);
    const int gear = mfgp_textToInt(mfgp_argumentText(reply));
    MFGP_TRACE("read all fans gear%d speed \n", gear);
    char speeds[kSpeedsSize];
    if (readSpeeds(gear, speeds, __func__) != 0)
        return mfgp_replyFail(reply, -10337, "get fanspeed failed");
    return mfgp_replyText(reply, speeds);
}
