#include "commands/factory_fields.h"

#include <unistd.h>

#include <cstring>

#include "core/report.h"
#include "core/shell.h"

namespace {

constexpr size_t kFieldSize = 512;

}  // namespace

void mfgp_dropFirmCache() {
    mfgp_system("rm /tmp/fwinfo-* > /dev/null 2>&1");
}

int mfgp_readFirmField(const char* key, size_t maxBytes, char* text) {
    char line[kFieldSize];
    text[0] = '\0';
    // The shell folds blanks and newlines inside the answer to one blank; stations know it so.
    if (mfgp_formatLine(line, sizeof line, "echo $(fwinfo %s) | tr -d \"\\n\"", key) != 0)
        return -1;
    return mfgp_readCommand(line, text, maxBytes) == kPipeNotOpened ? -1 : 0;
}

int get_firm_info(const char* key, size_t max_length, char* out) {
    char text[kFieldSize] = {};
    if (max_length >= sizeof text || mfgp_readFirmField(key, max_length, text) != 0)
        return -1;
    const size_t length = strlen(text);
    MFGP_TRACE("get %s is: %s, len is %d\n", key, text, static_cast<int>(length));
    if (text[0] != '\n')
        memcpy(out, text, length);
    return 0;
}

int mfgp_echoToFile(const char* text, const char* file) {
    char line[kCommandLineSize];
    unlink(file);
    bool complete = false;
    if (mfgp_formatLine(line, sizeof line, "echo %s  > %s", text, file) != 0 ||
        mfgp_execLine(line, &complete) != 0 || !complete)
        return -1;
    return 0;
}

int mfgp_hexDigit(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return 0;
}
