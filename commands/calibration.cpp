#include "commands/handlers.h"

#include <unistd.h>

#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/shell.h"

namespace {

struct Step {
    const char* line;
    const char* notRun = nullptr;  // logged when it could not be run; null: nothing
};

// Judges the first character of the coexistence log. It is zero when the log is empty.
using Verdict = bool (*)(char first);

struct Branch {
    const char* argument;
    Step steps[3];  // ends before the first step without a line
    Verdict verdict = nullptr;
};

bool hasEnded(char first) { return first != '1'; }

bool hasPassed(char first) { return first == '2'; }

constexpr Branch kBranches[] = {
    {"Btdiag",
     {{"/etc/init.d/bluetopia stop"},
      {"uci set bluetooth.settings.mode=rftest;uci commit"},
      {"/etc/init.d/bluetopia start"}}},
    {"zigbeeMfg", {{"/etc/init.d/zigbeeMfg stop"}, {"/etc/init.d/zigbeeMfg start"}}},
    {"zigbeeHost",
     {{"killall Z3GatewayHost_591", "killall zigbee host fail\n"},
      {"Z3GatewayHost_591 &", "start zigbee host fail\n"}}},
    {"coext", {{"killall coext", "killall coext fail\n"}, {"coext &", "start coext fail\n"}}},
    {"coextFinished", {}, hasEnded},
    {"coextResult", {}, hasPassed},
};

// Any other argument, even a misspelled one, starts the Wi-Fi calibration.
constexpr Branch kWlan = {nullptr, {{"wifi down"}, {"/etc/init.d/qcmbr restart"}}};

const Branch& branchOf(const char* argument) {
    for (const Branch& branch : kBranches)
        if (strcmp(argument, branch.argument) == 0)
            return branch;
    return kWlan;
}

bool judgeLog(Verdict verdict) {
    char first[2];
    return access("/tmp/coext.log", F_OK) == 0 &&
           mfgp_readCommand("echo $(cat /tmp/coext.log) | tr -d \"\\n\"", first) !=
               kPipeNotOpened &&
           verdict(first[0]);
}

// Runs the steps of the branch, or judges the log. Returns true on success.
bool runBranch(const Branch& branch, const char* function) {
    if (branch.verdict != nullptr)
        return judgeLog(branch.verdict);
    for (const Step& step : branch.steps) {
        if (step.line == nullptr)
            break;
        if (mfgp_execCmd("%s", step.line) != 0) {
            if (step.notRun != nullptr)
                MFGP_TRACE_AS(function, "%s", step.notRun);
            return false;
        }
    }
    return true;
}

}  // namespace

int mfgp_cmd_StartCal(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 18);
    MFGP_TRACE("session flag:%d\n", static_cast<int>(ctx->flags));
    // This permission is never cleared, unlike those of the factory writes.
    if ((ctx->flags & kFlagCalibrate) == 0 ||
        !runBranch(branchOf(mfgp_argumentText(reply)), __func__))
        return mfgp_replyFail(reply, -10309, "start calibration data failed");
    MFGP_TRACE("start cal success\n");
    return mfgp_replyOk(reply, 0);
}

int mfgp_cmd_getCalStatus(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 86);
    if (is_cal() == 0) {
        MFGP_TRACE("WLAN TEST Fail!!!\n");
        // The protocol defines the SSID's code and message.
        return mfgp_replyFail(reply, -10331, "get SSID failed");
    }
    MFGP_TRACE("WLAN TEST Success!!!\n");
    return mfgp_replyOk(reply, sizeof "WLAN OK");  // The payload stays zero.
}
