// Configuration files and uncommitted changes. The input is a path to look up, the file, the
// changes.
#include <uci.h>

#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    std::string path = "pkg." + std::string(takePiece(&input));
    layFile("/etc/config/pkg", takePiece(&input));
    layFile("/tmp/.uci/pkg", takePiece(&input));
    const InUnit unit;
    uci_context* const context = uci_alloc_context();
    uci_ptr found = {};
    std::string answer = std::to_string(uci_lookup_ptr(context, &found, path.data(), true));
    if (context->err == UCI_OK)
        answer += std::to_string(found.flags) + found.last->name;
    if (context->err == UCI_OK && found.o != nullptr && found.o->type == UCI_TYPE_STRING)
        answer += found.o->v.string;
    char* error = nullptr;
    uci_get_errorstr(context, &error, "pkg");
    answer += error;
    free(error);
    uci_free_context(context);
    return answer;
}
