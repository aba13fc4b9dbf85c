#include "commands/handlers.h"

#include <unistd.h>

#include <cstring>

#include "commands/config_lookup.h"
#include "commands/factory_fields.h"
#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/file.h"
#include "core/shell.h"
#include "protocol/region_table.h"

namespace {

constexpr const char* kPartitions[] = {"user-config", "device-config", "group-info"};

// The record of the configuration check, in the order of the wire.
struct DutConfig {
    char fwVer[64];
    char hwVer[16];
    char hostname[kModelWordSize];
    char country[64];
    char specialID[64];    // two letters, or two bytes of a special ID without a region
    uint32_t enableFlags;  // little-endian on the wire
};
static_assert(offsetof(DutConfig, hwVer) == 64 && offsetof(DutConfig, hostname) == 80 &&
              offsetof(DutConfig, country) == 112 && offsetof(DutConfig, specialID) == 176 &&
              offsetof(DutConfig, enableFlags) == 240 && sizeof(DutConfig) == 244);

using PartitionLine = char[128];

int checknull(const char* path) {
    const File file = mfgp_openToRead(path);
    return file && fgetc(file.get()) == EOF && feof(file.get()) != 0 ? 1 : 0;
}

bool dumpIsEmpty(const char* partition) {
    PartitionLine path;
    return mfgp_formatLine(path, "/tmp/checknull-%s", partition) == 0 && checknull(path) == 1;
}

int partitions_empty() {
    PartitionLine line;
    for (const char* partition : kPartitions) {
        // An old dump must not count as the new one.
        if (mfgp_formatLine(line, "/tmp/checknull-%s", partition) == 0)
            unlink(line);
        if (mfgp_formatLine(line, "flashkv -r /tmp/checknull-%s -p %s", partition, partition) == 0)
            mfgp_system(line);
    }
    bool empty = true;
    for (const char* partition : kPartitions)
        empty = empty && dumpIsEmpty(partition);
    for (const char* partition : kPartitions)
        if (mfgp_formatLine(line, "rm /tmp/checknull-%s", partition) == 0)
            mfgp_system(line);
    return empty ? 1 : 0;
}

// Reads a field of the record, cut so that its last byte is zero. Returns 0 or -1.
int readDutField(const char* key, std::span<char> field, const char* name, const char* function) {
    if (get_firm_info(key, field.size(), field) != 0) {
        MFGP_TRACE_AS(function, "get firm info failed.\n");
        return -1;
    }
    field.back() = '\0';
    MFGP_TRACE_AS(function, "pCfg->%s is: %s, len is %d\n", name, field.data(),
                  static_cast<int>(strlen(field.data())));
    return 0;
}

int readDutRegion(std::span<char> region, const char* function) {
    char specialId[128] = {};
    if (get_firm_info("SPECIAL_ID", 64, specialId) != 0) {
        MFGP_TRACE_AS(function, "get firm info failed.\n");
        return -1;
    }
    const RegionLetters letters =
        specialId[0] == '\0' ? RegionLetters{'U', 'N'} : mfgp_regionOfSpecialId(specialId);
    memcpy(region.data(), letters.data(), letters.size());
    MFGP_TRACE_AS(function, "pCfg->specialID is: %s, len is %d\n", region.data(),
                  static_cast<int>(strlen(region.data())));
    return 0;
}

int readDutFlags(uint32_t* flags, const char* function) {
    if (get_enable_flags(flags) != 0) {
        MFGP_TRACE_AS(function, "get enable flags failed.\n");
        return -1;
    }
    MFGP_TRACE_AS(function, "pCfg->enableFlags = %d, len is %d.\n", static_cast<int>(*flags),
                  static_cast<int>(sizeof *flags));
    return 0;
}

// Fills the record. Returns 0, or -1 without a record or when a field cannot be read. The fields
// read before the failure stay filled, and the others are zero.
int get_dut_config(DutConfig* pCfg) {
    if (pCfg == nullptr) {
        MFGP_TRACE("pCfg is NULL.\n");
        return -1;
    }
    *pCfg = {};
    const bool filled = readDutField("SOFTVERSION", pCfg->fwVer, "fwVer", __func__) == 0 &&
                        readDutField("HARDVERSION", pCfg->hwVer, "hwVer", __func__) == 0 &&
                        readDutRegion(pCfg->specialID, __func__) == 0 &&
                        readDutField("COUNTRY", pCfg->country, "country", __func__) == 0 &&
                        readDutFlags(&pCfg->enableFlags, __func__) == 0 &&
                        get_hostname(pCfg->hostname, __func__) == 0;
    return filled ? 0 : -1;
}

}  // namespace

int mfgp_cmd_reset(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBeginInner(ctx);
    MFGP_TRACE("packet length is: %d\n",
               static_cast<int>(mfgp_payloadLengthHostOrder(ctx->cmdBlock.requestHeader)));
    mfgp_replyLogArgument(reply);
    // A failed erase does not stop the others, because the read-back decides.
    for (const char* partition : kPartitions)
        mfgp_execCmd("flashkv -e -p %s", partition);
    if (partitions_empty() == 0)
        return mfgp_replyFail(reply, -10300, "soft reset fail");
    return mfgp_replyOk(reply, 0);
}

int mfgp_cmd_getConfigCheck(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 135);
    mfgp_dropFirmCache();
    DutConfig config = {};
    if (get_dut_config(&config) != 0) {
        MFGP_TRACE("get config table failed.\n");
        return mfgp_replyFail(reply, -10335, "get config for check failed");
    }
    MFGP_TRACE(
        "cfgTable: len = %d\n fwVer = %s;\n hwVer = %s;\n specialID = %s;\n country = %s;\n"
        "hostname = %s;\nenflags = %d;\n",
        static_cast<int>(sizeof config), config.fwVer, config.hwVer, config.specialID,
        config.country, config.hostname, static_cast<int>(config.enableFlags));
    memcpy(reply.payload.data(), &config, sizeof config);
    mfgp_storeLittleEndian(reply.payload.data() + offsetof(DutConfig, enableFlags),
                           config.enableFlags);
    return mfgp_replyOk(reply, sizeof config);
}
