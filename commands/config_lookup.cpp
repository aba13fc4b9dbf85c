#include "commands/config_lookup.h"

#include <cstdio>
#include <cstring>

#include "core/report.h"
#include "core/uci_handle.h"

namespace {

struct EnableFlag {
    uint32_t bit;
    const char* config;
    const char* section;
    const char* on;  // the only value that counts as on
    const char* name;
};

constexpr EnableFlag kEnableFlags[] = {
    {1U << 0, "wifi", "ap", "1", "ap"},
    {1U << 1, "wifi", "guest", "1", "guest"},
    {1U << 2, "protocol", "wanv6", "on", "ipv6"},
    {1U << 3, "bluetooth", "settings", "on", "bluetooth"},
};

// Returns the section's value of the option, or null after logging that it is absent or a list.
const char* optionText(uci_context* context, uci_element* section, const char* option,
                       const char* function) {
    uci_element* found = nullptr;
    const int result = uci_lookup_next(context, &found, &uci_to_section(section)->options, option);
    if (result == UCI_OK && uci_to_option(found)->type == UCI_TYPE_STRING)
        return uci_to_option(found)->v.string;
    MFGP_TRACE_AS(function, "uci: get %s option failed.\n", option);
    return nullptr;
}

const char* textInSection(uci_context* context, uci_package* package, const char* section,
                          const char* option, const char* function) {
    uci_element* found = nullptr;
    if (uci_lookup_next(context, &found, &package->sections, section) == UCI_OK)
        return optionText(context, found, option, function);
    MFGP_TRACE_AS(function, "uci: get %s section failed.\n", section);
    return nullptr;
}

// Returns the last section's value of the option, or null when any section lacks it.
const char* textInEverySection(uci_context* context, uci_package* package, const char* option,
                               const char* function) {
    const char* text = nullptr;
    uci_element* section = nullptr;
    uci_foreach_element(&package->sections, section) {
        text = optionText(context, section, option, function);
        if (text == nullptr)
            return nullptr;
    }
    return text;
}

}  // namespace

int uci_get_option(const char* config, const char* section, const char* option,
                   std::span<char> out) {
    const UciContext context(uci_alloc_context());
    if (!context)
        return -1;
    uci_set_confdir(context.get(), "/etc/config");
    uci_set_savedir(context.get(), "/var/state");
    uci_package* package = nullptr;
    if (uci_load(context.get(), config, &package) != UCI_OK) {
        mfgp_uciPrintError(context.get(), config);
        return -1;
    }
    const char* const text = section != nullptr
                                 ? textInSection(context.get(), package, section, option, __func__)
                                 : textInEverySection(context.get(), package, option, __func__);
    if (text == nullptr)
        return -1;
    MFGP_TRACE("%s of %s in %s is %s.\n", option, section != nullptr ? section : "(null)", config,
               text);
    snprintf(out.data(), out.size(), "%s", text);
    return 0;
}

int get_enable_flags(uint32_t* enableFlags) {
    uint32_t flags = 0;
    for (const EnableFlag& flag : kEnableFlags) {
        char value[8] = {};
        if (uci_get_option(flag.config, flag.section, "enable", value) != 0) {
            MFGP_TRACE("get %s enable status failed.\n", flag.name);
            return -1;
        }
        if (strcmp(value, flag.on) == 0)
            flags |= flag.bit;
    }
    MFGP_TRACE("enableFlags = %d.\n", static_cast<int>(flags));
    *enableFlags = flags;
    return 0;
}
