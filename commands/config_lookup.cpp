#include "commands/config_lookup.h"

#include <cstdio>
#include <cstring>
#include <span>

#include "commands/factory_fields.h"
#include "commands/modem_detection.h"
#include "commands/region_table.h"
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

// The section's value of the option; null, which is logged, when it has none or a list.
const char* optionText(uci_context* context, uci_element* section, const char* option,
                       CallSite site) {
    uci_element* found = nullptr;
    const int result = uci_lookup_next(context, &found, &uci_to_section(section)->options, option);
    if (result == UCI_OK && uci_to_option(found)->type == UCI_TYPE_STRING)
        return uci_to_option(found)->v.string;
    mfgp_traceAt(site, "uci: get %s option failed.\n", option);
    return nullptr;
}

const char* textInSection(uci_context* context, uci_package* package, const char* section,
                          const char* option, CallSite site) {
    uci_element* found = nullptr;
    if (uci_lookup_next(context, &found, &package->sections, section) == UCI_OK)
        return optionText(context, found, option, site);
    mfgp_traceAt(site, "uci: get %s section failed.\n", section);
    return nullptr;
}

// A package in which one section lacks the option is not set up whole: that counts as absent.
const char* textInEverySection(uci_context* context, uci_package* package, const char* option,
                               CallSite site) {
    const char* text = nullptr;
    uci_element* section = nullptr;
    uci_foreach_element(&package->sections, section) {
        text = optionText(context, section, option, site);
        if (text == nullptr)
            return nullptr;
    }
    return text;
}

// Fills a field of the record, cut so that its last byte is zero.
int readField(const char* key, std::span<char> field, const char* name, CallSite site) {
    if (get_firm_info(key, field.size(), field.data()) != 0) {
        mfgp_traceAt(site, "get firm info failed.\n");
        return -1;
    }
    field.back() = '\0';
    mfgp_traceAt(site, "pCfg->%s is: %s, len is %d\n", name, field.data(),
                 static_cast<int>(strlen(field.data())));
    return 0;
}

int readRegion(char* region, CallSite site) {
    char specialId[128] = {};
    if (get_firm_info("SPECIAL_ID", 64, specialId) != 0) {
        mfgp_traceAt(site, "get firm info failed.\n");
        return -1;
    }
    if (specialId[0] == '\0')
        memcpy(region, "UN", kRegionSize);
    else
        mfgp_regionOfSpecialId(specialId, region);
    mfgp_traceAt(site, "pCfg->specialID is: %s, len is %d\n", region,
                 static_cast<int>(strlen(region)));
    return 0;
}

int readFlags(uint32_t* flags, CallSite site) {
    if (get_enable_flags(flags) != 0) {
        mfgp_traceAt(site, "get enable flags failed.\n");
        return -1;
    }
    mfgp_traceAt(site, "pCfg->enableFlags = %d, len is %d.\n", static_cast<int>(*flags),
                 static_cast<int>(sizeof *flags));
    return 0;
}

int readModel(char* model, CallSite site) {
    static_assert(sizeof(DutConfig::hostname) == kModelWordSize);
    if (mfgp_readModelWord(model) == 0)
        return 0;
    mfgp_traceAt(site, "get hostname failed.\n");
    return -1;
}

}  // namespace

int uci_get_option(const char* config, const char* section, const char* option, char* out,
                   size_t size) {
    const CallSite site = mfgp_callSite();
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
                                 ? textInSection(context.get(), package, section, option, site)
                                 : textInEverySection(context.get(), package, option, site);
    if (text == nullptr)
        return -1;
    mfgp_traceAt(site, "%s of %s in %s is %s.\n", option, section != nullptr ? section : "(null)",
                 config, text);
    snprintf(out, size, "%s", text);
    return 0;
}

int get_enable_flags(uint32_t* enableFlags) {
    uint32_t flags = 0;
    for (const EnableFlag& flag : kEnableFlags) {
        char value[8] = {};
        if (uci_get_option(flag.config, flag.section, "enable", value, sizeof value) != 0) {
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

int get_dut_config(DutConfig* pCfg) {
    const CallSite site = mfgp_callSite();
    if (pCfg == nullptr) {
        MFGP_TRACE("pCfg is NULL.\n");
        return -1;
    }
    *pCfg = {};
    const bool filled = readField("SOFTVERSION", pCfg->fwVer, "fwVer", site) == 0 &&
                        readField("HARDVERSION", pCfg->hwVer, "hwVer", site) == 0 &&
                        readRegion(pCfg->specialID, site) == 0 &&
                        readField("COUNTRY", pCfg->country, "country", site) == 0 &&
                        readFlags(&pCfg->enableFlags, site) == 0 &&
                        readModel(pCfg->hostname, site) == 0;
    return filled ? 0 : -1;
}
