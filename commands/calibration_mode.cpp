#include "commands/calibration_mode.h"

#include <unistd.h>

#include <cstring>

#include "core/shell.h"

int is_cal() {
    constexpr char kTool[] = "/sbin/is_cal";
    constexpr size_t kMaxAnswer = 1024;
    if (access(kTool, F_OK) != 0)
        return 0;
    char answer[kMaxAnswer + 1];
    if (mfgp_readCommand(kTool, answer, kMaxAnswer) == kPipeNotOpened)
        return 0;
    return strstr(answer, "true") != nullptr ? 1 : 0;
}
