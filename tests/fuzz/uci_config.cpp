// Configuration files and uncommitted changes. The input is a path to look up, the file, the
// changes.
#include <uci.h>

#include "tests/fuzz/scripted_unit.h"

namespace {

std::string walk(uci_package* package) {
    std::string all;
    uci_element* section = nullptr;
    uci_element* option = nullptr;
    uci_element* item = nullptr;
    uci_foreach_element(&package->sections, section) {
        all += std::string(uci_to_section(section)->type) + ' ' + section->name + '\n';
        uci_foreach_element(&uci_to_section(section)->options, option) {
            all += std::string(option->name) + '=';
            if (uci_to_option(option)->type == UCI_TYPE_STRING)
                all += uci_to_option(option)->v.string;
            else
                uci_foreach_element(&uci_to_option(option)->v.list, item) all += item->name;
        }
    }
    return all;
}

}  // namespace

std::string answerOf(std::string_view input) {
    std::string path = "pkg." + std::string(takePiece(&input));
    layFile("/etc/config/pkg", takePiece(&input));
    layFile("/tmp/.uci/pkg", takePiece(&input));
    const InUnit unit;
    uci_context* const context = uci_alloc_context();
    uci_ptr found = {};
    std::string answer = std::to_string(uci_lookup_ptr(context, &found, path.data(), true));
    if (context->err == UCI_OK)
        answer += std::to_string(found.flags) + found.last->name + walk(found.p);
    char* error = nullptr;
    uci_get_errorstr(context, &error, "pkg");
    answer += error;
    free(error);
    uci_free_context(context);
    return answer;
}
