#include "commands/handlers.h"

#include "commands/reply.h"
#include "core/shell.h"

int mfgp2_cmd_startQLog(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 92);
    return mfgp_system("QLog -s 9000 &") != 0
               ? mfgp_replyOk(reply, 0)
               : mfgp_replyFail(reply, -10341, "QLog failed to start!");
}

int mfgp2_cmd_stopQLog(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 93);
    return mfgp_system("killall -9 QLog") != 0
               ? mfgp_replyOk(reply, 0)
               : mfgp_replyFail(reply, -10342, "QLog failed to stop!");
}

int mfgp2_cmd_changeExtAntenna(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 94);
    const char* const argument = mfgp_argumentText(reply);
    MFGP_TRACE("ext_antenna switch status is:%s\n", argument);
    char line[kCommandLineSize];
    // One character is passed on unchecked, because it cannot form a command of its own. Without a
    // character, uci would stage the deletion of the option. The exit status is that of
    // reload_config.
    if (argument[0] == '\0' ||
        mfgp_formatLine(line,
                        "uci set ext_antenna.ext_antenna.enable=%c;uci commit "
                        "ext_antenna;reload_config;",
                        argument[0]) != 0 ||
        mfgp_system(line) == 0)
        return mfgp_replyFail(reply, -10343, "ExtAntenna failed to change!");
    return mfgp_replyOk(reply, 0);
}
