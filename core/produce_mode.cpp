#include "core/produce_mode.h"

#include <cstring>

#include "core/report.h"
#include "core/uci_handle.h"

bool mfgp_isProduceMode() {
    const UciContext context(uci_alloc_context());
    if (!context) {
        report(-1, "uci_alloc_context failed...\n");
        return false;
    }
    char path[128] = "wanDetect.settings.mode";  // uci_lookup_ptr splits it in place
    uci_ptr found = {};
    const int result = uci_lookup_ptr(context.get(), &found, path, true);
    // For an absent section or option the library returns success and an incomplete look-up.
    const bool isText = result == UCI_OK && (found.flags & uci_ptr::UCI_LOOKUP_COMPLETE) != 0 &&
                        found.o != nullptr && found.o->type == UCI_TYPE_STRING;
    if (!isText) {
        if (result == UCI_OK)
            context->err = UCI_ERR_NOTFOUND;
        mfgp_uciPrintError(context.get(), "lookup ptr");
        report(-1, "Get mode fail!");
        return false;
    }
    return strncmp(found.o->v.string, "test", 4) == 0;
}
