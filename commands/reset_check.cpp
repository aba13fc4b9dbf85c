#include "commands/reset_check.h"

#include <unistd.h>

#include "commands/config_lookup.h"
#include "commands/factory_fields.h"
#include "commands/reply.h"
#include "core/file.h"
#include "core/shell.h"

namespace {

constexpr const char* kPartitions[] = {"user-config", "device-config", "group-info"};
constexpr size_t kLineSize = 128;

int checknull(const char* path) {
    const File file = mfgp_openToRead(path);
    return file && fgetc(file.get()) == EOF && feof(file.get()) != 0 ? 1 : 0;
}

void dump(const char* partition) {
    char line[kLineSize];
    mfgp_formatLine(line, sizeof line, "/tmp/checknull-%s", partition);
    unlink(line);  // what an earlier dump left must not pass for this one
    mfgp_formatLine(line, sizeof line, "flashkv -r /tmp/checknull-%s -p %s", partition, partition);
    mfgp_system(line);
}

bool isEmpty(const char* partition) {
    char path[kLineSize];
    mfgp_formatLine(path, sizeof path, "/tmp/checknull-%s", partition);
    return checknull(path) == 1;
}

int partitions_empty() {
    for (const char* partition : kPartitions)
        dump(partition);
    bool empty = true;
    for (const char* partition : kPartitions)
        empty = empty && isEmpty(partition);
    for (const char* partition : kPartitions)
        mfgp_execCmd("rm /tmp/checknull-%s", partition);
    return empty ? 1 : 0;
}

}  // namespace

int mfgp_cmd_reset(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBeginBlock(ctx);
    MFGP_TRACE("packet length is: %d\n",
               static_cast<int>(mfgp_payloadLengthHostOrder(ctx->cmdBlock.requestHeader)));
    mfgp_replyLogArgument(reply);
    // Whatever becomes of one erase, the others are tried: the reading back decides.
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
    memcpy(reply.payload, &config, sizeof config);
    mfgp_storeLittleEndian(reply.payload + offsetof(DutConfig, enableFlags), config.enableFlags);
    return mfgp_replyOk(reply, sizeof config);
}
