#include "commands/modem_detection.h"

#include <cstdio>
#include <cstring>

#include "core/report.h"
#include "core/shell.h"

namespace {

constexpr size_t kAnswerSize = 30;

struct FamilyQuestion {
    const char* command;
    const char* name;
};

int askFamily(const FamilyQuestion& question, CallSite site = mfgp_callSite()) {
    char answer[kAnswerSize];
    const int length = mfgp_readCommand(question.command, answer, kAnswerSize - 1);
    if (length == kPipeNotOpened) {
        mfgp_traceAt(site, "can't execute to get %s.\n", question.name);
        return -1;
    }
    if (length == 0) {
        mfgp_traceAt(site, "can't read %s from profile\n", question.name);
        return -1;
    }
    mfgp_traceAt(site, "result=%s,len=%d\n", answer, static_cast<int>(strlen(answer)));
    return strncmp(answer, "yes", 3) == 0 ? 0 : -1;
}

}  // namespace

int mfgp_readModelWord(char* model) {
    char answer[256];
    memset(model, 0, kModelWordSize);
    if (mfgp_readCommand("fwinfo MODEL", answer, sizeof answer - 1) == kPipeNotOpened)
        return -1;
    sscanf(answer, "%31s", model);
    return 0;
}

int get_hostname(char* model) {
    if (mfgp_readModelWord(model) == 0)
        return 0;
    MFGP_TRACE("get hostname failed.\n");
    return -1;
}

int is_support_quectel_module() {
    return askFamily(
        {"uci get mobile.modem.is_quectel_module -c /etc/profile.d", "is_support_quectel_module"});
}

int is_support_fibocom_module() {
    return askFamily(
        {"uci get mobile.modem.is_fibocom_module -c /etc/profile.d", "is_support_fibocom_module"});
}

int get_module_name(char* name) {
    char answer[kAnswerSize];
    const int length = mfgp_readCommand("uci get mobile.modem.module_name -c /etc/profile.d",
                                        answer, kAnswerSize - 1);
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
