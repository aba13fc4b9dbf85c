#include "commands/antenna_test.h"

#include <unistd.h>

#include "commands/field_text.h"
#include "commands/modem_detection.h"
#include "commands/modem_lines.h"
#include "commands/reply.h"
#include "core/shell.h"

namespace {

constexpr size_t kAnswerSize = 8;     // bytes of a console's answer that are looked at
constexpr uint32_t kReplyLength = 8;  // whatever the text's length
constexpr int32_t kNoLevel = 999;

// The level of the last antenna test. It outlives the command, for the one that asks for it.
int32_t agc_val = kNoLevel;

struct AntennaTest {
    Reply reply;
    const Module* module;
    char* fields[kMaxTestFields];
    char line[kModemLineSize];
    char answer[kAnswerSize + 1];
    int attempts;  // left to the whole command: a slow configuration uses up those of the level
};

// Finds the row of the module in the unit, null for a module without one. Returns 0, or -1 when
// its name is not known.
int findModule(const Reply& reply, const Module** module) {
    char name[kModuleNameSize] = {};
    if (get_module_name(name) != 0) {
        mfgp_traceAt(reply.site, "we get device name fail,we don't know send which cmd for FTM\n");
        return -1;
    }
    *module = mfgp_findModule(name);
    return 0;
}

int setFtm(const Reply& reply) {
    const char* const fields[] = {mfgp_argumentText(reply)};
    mfgp_traceAt(reply.site, "mfgp2_cmd_setFtmState recv arg is:%s\n", fields[0]);
    const Module* module = nullptr;
    if (findModule(reply, &module) != 0)
        return -1;
    char line[kModemLineSize];
    if (module == nullptr || mfgp_buildModemLine(module->setFtm, fields, line) != 0) {
        mfgp_traceAt(reply.site, "Wrong device, no need to set FTM state\n");
        return -1;
    }
    mfgp_traceAt(reply.site, "mfgp2_cmd_setFtmState at cmd:%s\n", line);
    return mfgp_execCmd("%s", line);
}

int readFtm(const Reply& reply, char* answer) {
    const Module* module = nullptr;
    if (findModule(reply, &module) != 0)
        return -1;
    char line[kModemLineSize];
    if (module == nullptr || mfgp_buildModemLine(module->getFtm, nullptr, line) != 0) {
        mfgp_traceAt(reply.site, "Wrong device, no need to get FTM state\n");
        return -1;
    }
    // The other command's name: log filters look for both lines by it.
    mfgp_traceAt(reply.site, "mfgp2_cmd_setFtmState at cmd:%s\n", line);
    return mfgp_readCommand(line, answer, kAnswerSize) > 0 ? 0 : -1;
}

// Answers a text in the fixed length. The log names one command, whichever of the two it was.
int answerText(const Reply& reply, const char* text) {
    mfgp_replyPut(reply, text);
    const char* const payload = mfgp_payloadText(reply);
    mfgp_traceAt(reply.site, "mfgp2_cmd_getantennaTest pRplyBuf is: %s, len is %d\n", payload,
                 static_cast<int>(strlen(payload)));
    return mfgp_replyOk(reply, kReplyLength);
}

// Splits the argument and builds the line that reads the level. Nothing has been run when this
// fails.
int prepare(AntennaTest* test) {
    const Reply& reply = test->reply;
    const Module* const module = test->module;
    constexpr const char* kUnknown =
        "we get device name fail,we don't know the parameters for setting Antenna\n";
    // In the receive buffer itself: nobody reads the request again.
    char* const argument = const_cast<char*>(mfgp_argumentText(reply));
    mfgp_traceAt(reply.site, "mfgp2_cmd_setantennaTest recv arg is:%s\n", argument);
    if (module == nullptr) {
        mfgp_traceAt(reply.site, "%s", kUnknown);
        return -1;
    }
    if (split_by_char('-', argument, test->fields, module->testFields) != module->testFields) {
        mfgp_traceAt(reply.site, "%s", module->wrongFieldCount);
        return -1;
    }
    if (module->fieldLog != nullptr &&
        mfgp_fillModemLine(module->fieldLog, test->fields, test->line) == 0)
        mfgp_traceAt(reply.site, "mfgp2_cmd_setantennaTest %s\n", test->line);
    if (mfgp_buildModemLine(module->level, test->fields, test->line) != 0) {
        mfgp_traceAt(reply.site, "%s", kUnknown);  // a technology that the module has not
        return -1;
    }
    mfgp_traceAt(reply.site, "mfgp2_cmd_setantennaTest at cmd:%s\n", test->line);
    return 0;
}

// Runs a line and reads its answer. An attempt that brings nothing costs a second.
int readAnswer(AntennaTest* test, const char* line) {
    ReadPipe pipe(line);
    if (!pipe.isOpen()) {
        mfgp_traceAt(test->reply.site, "the cmd execute fail\n");
        return -1;
    }
    size_t length = 0;
    do {
        length = pipe.read(test->answer, kAnswerSize);
        if (length == 0) {
            test->attempts--;
            sleep(1);
        }
    } while (length == 0 && test->attempts > 0);
    test->answer[length] = '\0';
    if (length > 0)
        return 0;
    mfgp_traceAt(test->reply.site, "we do not get result\n");
    return -1;
}

int configure(AntennaTest* test) {
    if (test->module->configuration == nullptr)
        return 0;
    char line[kModemLineSize];
    if (mfgp_fillModemLine(test->module->configuration, test->fields, line) != 0)
        return -1;
    mfgp_traceAt(test->reply.site, "mfgp2_cmd_setantennaTest arg1 at cmd:%s\n", line);
    if (readAnswer(test, line) != 0)
        return -1;
    if (strncmp(test->answer, "OK", 2) == 0)
        return 0;
    mfgp_traceAt(test->reply.site, "param is wrong\n");
    return -1;
}

int measure(AntennaTest* test) {
    if (readAnswer(test, test->line) != 0)
        return -1;
    if (mfgp_anyHolds(test->module->dropLevel, test->fields)) {
        mfgp_traceAt(test->reply.site, "this one do not process\n");
        return 0;
    }
    agc_val = mfgp_textToInt(test->answer);
    mfgp_traceAt(test->reply.site, "mfgp2_cmd_setantennaTest agc_val is: %d\n", agc_val);
    return 0;
}

int testAntenna(const Reply& reply) {
    AntennaTest test = {
        .reply = reply, .module = {}, .fields = {}, .line = {}, .answer = {}, .attempts = 3};
    if (findModule(reply, &test.module) != 0)
        return -1;
    agc_val = kNoLevel;
    if (prepare(&test) != 0 || configure(&test) != 0)
        return -1;
    return mfgp_anyHolds(test.module->configureOnly, test.fields) ? 0 : measure(&test);
}

}  // namespace

int mfgp2_cmd_setantennaTest(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 112);
    return testAntenna(reply) == 0 ? mfgp_replyOk(reply, 0)
                                   : mfgp_replyFail(reply, -10352, "set antenna failed");
}

int mfgp2_cmd_getantennaTest(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 113);
    char text[12];
    return answerText(reply, int_to_text(agc_val, text, 10));
}

int mfgp2_cmd_setFtmState(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 114);
    return setFtm(reply) == 0 ? mfgp_replyOk(reply, 0)
                              : mfgp_replyFail(reply, -10354, "set antenna FTM failed");
}

int mfgp2_cmd_getFtmState(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 115);
    char answer[kAnswerSize + 1];
    return readFtm(reply, answer) == 0 ? answerText(reply, answer)
                                       : mfgp_replyFail(reply, -10355, "get antenna FTM failed");
}
