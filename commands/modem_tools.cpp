#include "commands/modem_tools.h"

#include "commands/reply.h"
#include "core/shell.h"

namespace {

constexpr size_t kLineSize = 256;
constexpr char kLogger[] = "QLog";

// The character stands unquoted in a shell line. None at all is let through: the line then ends
// behind "enable=".
bool isSafe(char character) {
    const char text[] = {character, '\0'};
    return mfgp_isPlainText(text, "");
}

}  // namespace

int mfgp2_cmd_startQLog(ServiceContext* ctx) {
    constexpr int kSetting = 9000;
    const Reply reply = mfgp_replyBegin(ctx, 92);
    char line[kLineSize];
    if (mfgp_formatLine(line, sizeof line, "%s -s %d &", kLogger, kSetting) != 0 ||
        mfgp_system(line) == 0)
        return mfgp_replyFail(reply, -10341, "QLog failed to start!");
    return mfgp_replyOk(reply, 0);
}

int mfgp2_cmd_stopQLog(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 93);
    char line[kLineSize];
    if (mfgp_formatLine(line, sizeof line, "killall -9 %s", kLogger) != 0 || mfgp_system(line) == 0)
        return mfgp_replyFail(reply, -10342, "QLog failed to stop!");
    return mfgp_replyOk(reply, 0);
}

int mfgp2_cmd_changeExtAntenna(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 94);
    const char* const argument = mfgp_argumentText(reply);
    mfgp_traceAt(reply.site, "ext_antenna switch status is:%s\n", argument);
    char line[kLineSize];
    // Success is that of reload_config, the last of the three. With an empty argument the line
    // ends at its "=": nothing is committed or switched, whatever uci says of it.
    if (!isSafe(argument[0]) ||
        mfgp_formatLine(line, sizeof line,
                        "uci set ext_antenna.ext_antenna.enable=%c;uci commit "
                        "ext_antenna;reload_config;",
                        argument[0]) != 0 ||
        mfgp_system(line) == 0 || argument[0] == '\0')
        return mfgp_replyFail(reply, -10343, "ExtAntenna failed to change!");
    return mfgp_replyOk(reply, 0);
}
