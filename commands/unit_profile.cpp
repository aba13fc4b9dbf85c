#include "commands/unit_profile.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "core/report.h"
#include "core/shell.h"

namespace {

constexpr size_t kProfileAnswerSize = 30;

// Returns 0 when the answer to the line begins with "yes", else -1. Logs under the caller's name.
int askFamily(const char* line, const char* name, const char* function = __builtin_FUNCTION()) {
    char answer[kProfileAnswerSize];
    const int length = mfgp_readCommand(line, answer);
    if (length == kPipeNotOpened) {
        MFGP_TRACE_AS(function, "can't execute to get %s.\n", name);
        return -1;
    }
    if (length == 0) {
        MFGP_TRACE_AS(function, "can't read %s from profile\n", name);
        return -1;
    }
    MFGP_TRACE_AS(function, "result=%s,len=%d\n", answer, static_cast<int>(strlen(answer)));
    return strncmp(answer, "yes", 3) == 0 ? 0 : -1;
}

}  // namespace

int get_hostname(char (&model)[kModelWordSize], const char* function) {
    char answer[256];
    memset(model, 0, sizeof model);
    if (mfgp_readCommand("fwinfo MODEL", answer) == kPipeNotOpened) {
        MFGP_TRACE_AS(function, "get hostname failed.\n");
        return -1;
    }
    sscanf(answer, "%31s", model);
    return 0;
}

int is_support_quectel_module() {
    return askFamily("uci get mobile.modem.is_quectel_module -c /etc/profile.d",
                     "is_support_quectel_module");
}

int is_support_fibocom_module() {
    return askFamily("uci get mobile.modem.is_fibocom_module -c /etc/profile.d",
                     "is_support_fibocom_module");
}

int get_module_name(char (&name)[kModuleNameSize]) {
    char answer[kProfileAnswerSize];
    const int length =
        mfgp_readCommand("uci get mobile.modem.module_name -c /etc/profile.d", answer);
    if (length == kPipeNotOpened) {
        MFGP_TRACE("can't execute to NR/lte module name.\n");
        return -1;
    }
    if (length == 0) {
        MFGP_TRACE("can't read module name from profile\n");
        return -1;
    }
    answer[strcspn(answer, "\n")] = '\0';
    const size_t nameLength = strlen(answer);
    MFGP_TRACE("result=%s,len=%d\n", answer, static_cast<int>(nameLength));
    memcpy(name, answer, nameLength);
    return 0;
}

int mfgp_readModuleName(char (&name)[kModuleNameSize], const char* purpose, const char* function) {
    memset(name, 0, sizeof name);
    if (get_module_name(name) == 0)
        return 0;
    MFGP_TRACE_AS(function, "we get device name fail,we don't know send which cmd for %s\n",
                  purpose);
    return -1;
}

int is_cal() {
    constexpr char kTool[] = "/sbin/is_cal";
    if (access(kTool, F_OK) != 0)
        return 0;
    char answer[1025];
    if (mfgp_readCommand(kTool, answer) == kPipeNotOpened)
        return 0;
    return strstr(answer, "true") != nullptr ? 1 : 0;
}
