#include "commands/handlers.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "commands/factory_fields.h"
#include "commands/json_handle.h"
#include "commands/record_editor.h"
#include "commands/reply.h"
#include "core/file.h"
#include "core/shell.h"

namespace {

constexpr size_t kGroupTextSize = 1025;  // bytes, with the terminator
constexpr size_t kVerdictBytes = 100;
constexpr size_t kLongestGenerated = 1023;
constexpr size_t kGroupKeyLength = 308;
constexpr size_t kShortKeyLength = 304;
constexpr size_t kGidLength = 36;
constexpr size_t kPackLength = 2;  // digits of a pack number that are read back
constexpr size_t kPackSize = 8;

// Lets the firmware's checker judge a group text. Returns 0 when it accepts the text, else -1.
int __check_group_input(const char* text, size_t length) {
    constexpr char kInput[] = "/tmp/mfgp_group.input";
    constexpr char kOutput[] = "/tmp/mfgp_group.output";
    if (length < 1)
        return -1;
    File input = mfgp_createFile(kInput);
    if (!input) {
        MFGP_TRACE("open file %s error\n", kInput);
        return -1;
    }
    fwrite(text, 1, length, input.get());
    // Without /bin/sh the rm of the line does not run, and an old verdict would be read.
    unlink(kOutput);
    if (mfgp_closeWritten(std::move(input)) != 0 ||
        mfgp_execCmd("rm %s > /dev/null 2>&1; /bin/check_group %s %s", kOutput, kInput, kOutput) !=
            0)
        return -1;
    const File output = mfgp_openToRead(kOutput);
    if (!output) {
        MFGP_TRACE("open file %s error\n", kOutput);
        return -1;
    }
    char verdict[kVerdictBytes + 1];
    verdict[fread(verdict, 1, kVerdictBytes, output.get())] = '\0';
    if (ferror(output.get()) != 0) {
        MFGP_TRACE("fread file %s error\n", kOutput);
        return -1;
    }
    return strcmp(verdict, "success") == 0 ? 0 : -1;
}

// A group object. The texts belong to the JSON object.
struct Group {
    const char* gid;
    const char* key;
    char pack[kPackSize];
};

// Returns the text of a string member, or null when there is no such string.
const char* stringOf(const json_object* object, const char* name) {
    json_object* const value = json_object_object_get(object, name);
    return json_object_get_type(value) == json_type_string ? json_object_get_string(value)
                                                           : nullptr;
}

// Fills the group from the object. Returns null, or the log line that names the error.
const char* readGroup(const json_object* object, Group* group) {
    group->gid = stringOf(object, "gid");
    if (group->gid == nullptr)
        return "Set GroupInfo error, not find gid object \n";
    if (strlen(group->gid) != kGidLength)
        return "Set GroupInfo error, gid not valid \n";
    group->key = stringOf(object, "key");
    if (group->key == nullptr)
        return "Set GroupInfo error, not find key object \n";
    const size_t keyLength = strlen(group->key);
    if (keyLength != kGroupKeyLength && keyLength != kShortKeyLength)
        return "Set GroupInfo error, key not valid \n";
    json_object* const pack = json_object_object_get(object, "pack");
    if (json_object_get_type(pack) != json_type_int)
        return "Set GroupInfo error, not find pack object \n";
    snprintf(group->pack, kPackSize, "%d", json_object_get_int(pack));
    return nullptr;
}

// Stores the group in product-info. Returns null, or the log line of the step that failed.
const char* storeGroup(const Group& group) {
    const Record records[] = {
        {"preconf_k:", group.key, "Set GroupInfo error, modify /tmp/group-tmp key error \n"},
        {"preconf_g:", group.gid, "Set GroupInfo error, modify /tmp/group-tmp gid error \n"},
        {"preconf_p:", group.pack, "Set GroupInfo error, modify /tmp/group-tmp pack error \n"},
    };
    const EditResult result = mfgp_editProductInfo("group", records);
    switch (result.reached) {
        case EditStep::Dump:
            return "Set GroupInfo error, read /tmp/group-tmp error \n";
        case EditStep::Edit:
            return result.record->editError;
        case EditStep::WriteBack:
            return "Set GroupInfo error, write /tmp/group-tmp \n";
        case EditStep::CleanUp:
            return "Set GroupInfo error, remove /tmp/group-tmp \n";
        case EditStep::Done:
            break;
    }
    return nullptr;
}

// Checks and stores the group of the argument. Returns null, or the log line that names the error.
const char* setGroup(const Reply& reply) {
    if ((reply.ctx->flags & kFlagSetGroup) == 0)
        return "Set GroupInfo error, repeated execution \n";
    char text[kGroupTextSize];
    snprintf(text, sizeof text, "%s", mfgp_argumentText(reply));
    if (__check_group_input(text, strlen(text)) != 0)
        return "check group input error\n";
    const Json object(json_tokener_parse(text));
    if (!object)
        return "Set GroupInfo error, json_tokener_parse result is NULL\n";
    Group group = {};
    const char* const wrong = readGroup(object.get(), &group);
    return wrong != nullptr ? wrong : storeGroup(group);
}

// Reads and logs a field into `text`, which is zeroed and one byte longer than the field. Returns 0
// or -1.
int readGroupField(const Reply& reply, const char* key, const char* name, const char* valueName,
                   std::span<char> text) {
    if (get_firm_info(key, text.size() - 1, text) != 0) {
        MFGP_TRACE_AS(reply.function, "get firm info %s failed.\n", name);
        return -1;
    }
    MFGP_TRACE_AS(reply.function, "groupinfo %s is: %s, len is %d\n", valueName, text.data(),
                  static_cast<int>(strlen(text.data())));
    return 0;
}

// Returns the stored group as a JSON object, or null after logging why it cannot be read.
Json loadGroup(const Reply& reply) {
    char key[kGroupKeyLength + 1] = {};
    char gid[kGidLength + 1] = {};
    char pack[kPackLength + 1] = {};
    if (readGroupField(reply, "PRECONF_KEY", "key", "key", key) != 0 ||
        readGroupField(reply, "PRECONF_GID", "gid", "gid", gid) != 0 ||
        readGroupField(reply, "PRECONF_PACK", "pack", "pack_str", pack) != 0)
        return nullptr;
    if (pack[strspn(pack, "0123456789")] != '\0') {
        MFGP_TRACE_AS(reply.function, "pack_str is not digit.\n");
        return nullptr;
    }
    Json object(json_object_new_object());
    if (!object) {
        MFGP_TRACE_AS(reply.function, "Unexpect new object fail\n");
        return nullptr;
    }
    json_object_object_add(object.get(), "key", json_object_new_string(key));
    json_object_object_add(object.get(), "gid", json_object_new_string(gid));
    json_object_object_add(object.get(), "pack", json_object_new_int(atoi(pack)));
    return object;
}

// Returns the leading digits as a number, or 0 when there are none or the number is too large.
int leadingNumber(const char* text) {
    int number = 0;
    for (; *text >= '0' && *text <= '9'; text++) {
        const int digit = *text - '0';
        if (number > (INT_MAX - digit) / 10)
            return 0;
        number = number * 10 + digit;
    }
    return number;
}

// Runs the generator for `count` units and reads its data into the payload. Returns the number of
// bytes, or 0 when there is no data.
uint32_t generate(const Reply& reply, int count) {
    constexpr char kFile[] = "/tmp/mfgp_generate_group";
    char line[128];
    if (mfgp_formatLine(line, "rm %s; /bin/generate_group %d %s", kFile, count, kFile) != 0)
        return 0;
    mfgp_system(line);
    const File file = mfgp_openToRead(kFile);
    if (!file) {
        MFGP_TRACE_AS(reply.function, "open %s file error \n", kFile);
        return 0;
    }
    const size_t length = fread(reply.payload.data(), 1, kLongestGenerated, file.get());
    return ferror(file.get()) == 0 ? static_cast<uint32_t>(length) : 0;
}

}  // namespace

int mfgp2_cmd_setGroupInfo(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 77);
    const char* const wrong = setGroup(reply);
    if (wrong != nullptr) {
        MFGP_TRACE("%s", wrong);
        return mfgp_replyFail(reply, -10336, "set group failed");
    }
    ctx->flags &= ~kFlagSetGroup;
    return mfgp_replyOk(reply, 0);
}

int mfgp2_cmd_getGroupInfo(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 78);
    mfgp_dropFirmCache();
    const Json object = loadGroup(reply);
    const char* const text = object ? json_object_to_json_string(object.get()) : nullptr;
    if (text != nullptr)
        return mfgp_replyText(reply, text);
    if (object)
        MFGP_TRACE("object to json error\n");
    return mfgp_replyFail(reply, -10337, "get Groupinfo failed");
}

int mfgp2_cmd_generateGroupInfo(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 79);
    const int count = leadingNumber(mfgp_argumentText(reply));
    const uint32_t length = count > 0 ? generate(reply, count) : 0;
    if (length == 0)
        return mfgp_replyFail(reply, -10338, "generate Groupinfo failed");
    mfgp_replyLogPayload(reply);
    return mfgp_replyOk(reply, length);
}
