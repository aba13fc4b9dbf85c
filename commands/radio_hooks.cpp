#include "commands/handlers.h"

#include "commands/reply.h"
#include "core/shell.h"

int mfgp_hook_erase_radio(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 17);
    if ((ctx->flags & kFlagEraseRadio) == 0)
        return mfgp_replyFail(reply, -10308, "erase calibration data failed");
    // The protocol ignores the result of this hook, but not of the one below.
    mfgp_execCmd("mfgp_hook_erase_radio");
    ctx->flags &= ~kFlagEraseRadio;
    return mfgp_replyOk(reply, 0);
}

int mfgp_hook_enable_testmode(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 80);
    // The permission stays, so that a station can repeat this command.
    if ((ctx->flags & kFlagTestMode) != 0 && mfgp_execCmd("mfgp_hook_enable_testmode") == 0)
        return mfgp_replyOk(reply, 0);
    return mfgp_replyFail(reply, -10349, "enable test mode failed");
}
