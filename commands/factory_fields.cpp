#include "commands/factory_fields.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "core/report.h"
#include "core/shell.h"

static constexpr size_t kFieldSize = 512;

void mfgp_dropFirmCache() { mfgp_system("rm /tmp/fwinfo-* > /dev/null 2>&1"); }

int mfgp_readFirmField(const char* key, std::span<char> text) {
    char line[kFieldSize];
    // The shell replaces each run of blanks and newlines inside the answer by one blank.
    if (mfgp_formatLine(line, "echo $(fwinfo %s) | tr -d \"\\n\"", key) != 0)
        return -1;
    return mfgp_readCommand(line, text) == kPipeNotOpened ? -1 : 0;
}

int get_firm_info(const char* key, size_t max_length, std::span<char> out) {
    char text[kFieldSize];
    if (max_length >= sizeof text || max_length > out.size() ||
        mfgp_readFirmField(key, std::span(text).first(max_length + 1)) != 0)
        return -1;
    const size_t length = strlen(text);
    MFGP_TRACE("get %s is: %s, len is %d\n", key, text, static_cast<int>(length));
    if (text[0] != '\n')
        memcpy(out.data(), text, length);
    return 0;
}

int mfgp_echoToFile(const char* text, const char* file) {
    unlink(file);
    struct stat written = {};
    if (mfgp_execCmd("echo %s  > %s", text, file) != 0 || stat(file, &written) != 0)
        return -1;
    return written.st_size == static_cast<off_t>(strlen(text) + 1) ? 0 : -1;
}
