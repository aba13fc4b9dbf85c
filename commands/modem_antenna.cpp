#include "commands/handlers.h"

#include <unistd.h>

#include "commands/argument_text.h"
#include "commands/modem_lines.h"
#include "commands/reply.h"
#include "commands/unit_profile.h"
#include "core/shell.h"

namespace {

constexpr size_t kConsoleBytes = 8;  // bytes of a console's answer that are read
constexpr uint32_t kConsoleReplyLength = 8;
constexpr int32_t kNoLevel = 999;

using ConsoleAnswer = char[kConsoleBytes + 1];

// The level of the last antenna test, kept for the command that reads it.
int32_t agc_val = kNoLevel;

int setFtm(const Reply& reply) {
    const char* const argument = mfgp_argumentText(reply);
    MFGP_TRACE_AS(reply.function, "mfgp2_cmd_setFtmState recv arg is:%s\n", argument);
    char name[kModuleNameSize];
    if (mfgp_readModuleName(name, "FTM", reply.function) != 0)
        return -1;
    const Module* const module = mfgp_findModule(name);
    if (module == nullptr) {
        MFGP_TRACE_AS(reply.function, "Wrong device, no need to set FTM state\n");
        return -1;
    }
    ModemLine line;
    if (module->setFtmLine(mfgp_textToInt(argument), line) != 0)
        return -1;
    MFGP_TRACE_AS(reply.function, "mfgp2_cmd_setFtmState at cmd:%s\n", line);
    return mfgp_execCmd("%s", line);
}

int readFtm(const Reply& reply, ConsoleAnswer& answer) {
    char name[kModuleNameSize];
    if (mfgp_readModuleName(name, "FTM", reply.function) != 0)
        return -1;
    const Module* const module = mfgp_findModule(name);
    if (module == nullptr || module->getFtmLine == nullptr) {
        MFGP_TRACE_AS(reply.function, "Wrong device, no need to get FTM state\n");
        return -1;
    }
    // The protocol defines the set command's name for this line.
    MFGP_TRACE_AS(reply.function, "mfgp2_cmd_setFtmState at cmd:%s\n", module->getFtmLine);
    return mfgp_readCommand(module->getFtmLine, answer) > 0 ? 0 : -1;
}

// Answers a text in the fixed length. The protocol defines one log line for 113 and 115.
int answerConsoleText(const Reply& reply, const char* text) {
    mfgp_replyPut(reply, text);
    const char* const payload = mfgp_payloadText(reply);
    MFGP_TRACE_AS(reply.function, "mfgp2_cmd_getantennaTest pRplyBuf is: %s, len is %d\n", payload,
                  static_cast<int>(strlen(payload)));
    return mfgp_replyOk(reply, kConsoleReplyLength);
}

struct AntennaTest {
    const char* function;  // the handler's name
    const Module* module;
    TestFields fields;
    ModemLine levelLine;
    ConsoleAnswer answer;
    int attempts;  // shared by the configuration and the level
};

// Splits the argument and formats the level line. Runs nothing. Returns 0 or -1.
int prepare(AntennaTest* test, char* argument) {
    MFGP_TRACE_AS(test->function, "mfgp2_cmd_setantennaTest recv arg is:%s\n", argument);
    const Module* const module = test->module;
    if (module == nullptr) {
        MFGP_TRACE_AS(test->function,
                      "we get device name fail,we don't know the parameters for setting Antenna\n");
        return -1;
    }
    const size_t count = module->fieldCount;
    if (split_by_char('-', argument, std::span(test->fields.text).first(count)) !=
        static_cast<int>(count)) {
        MFGP_TRACE_AS(test->function, "%s", module->wrongFieldCount);
        return -1;
    }
    if (module->levelLine(test->fields, test->levelLine, test->function) != 0)
        return -1;
    MFGP_TRACE_AS(test->function, "mfgp2_cmd_setantennaTest at cmd:%s\n", test->levelLine);
    return 0;
}

// Runs a line and reads its answer. Each attempt that reads nothing takes one second. Returns 0 or
// -1.
int readAnswer(AntennaTest* test, const char* line) {
    ReadPipe pipe(line);
    if (!pipe.isOpen()) {
        MFGP_TRACE_AS(test->function, "the cmd execute fail\n");
        return -1;
    }
    size_t length = 0;
    do {
        length = pipe.read(std::span(test->answer).first(kConsoleBytes));
        if (length == 0) {
            test->attempts--;
            sleep(1);
        }
    } while (length == 0 && test->attempts > 0);
    test->answer[length] = '\0';
    if (length > 0)
        return 0;
    MFGP_TRACE_AS(test->function, "we do not get result\n");
    return -1;
}

int configure(AntennaTest* test) {
    if (test->module->configurationLine == nullptr)
        return 0;
    ModemLine line;
    if (test->module->configurationLine(test->fields, line) != 0)
        return -1;
    MFGP_TRACE_AS(test->function, "mfgp2_cmd_setantennaTest arg1 at cmd:%s\n", line);
    if (readAnswer(test, line) != 0)
        return -1;
    if (strncmp(test->answer, "OK", 2) == 0)
        return 0;
    MFGP_TRACE_AS(test->function, "param is wrong\n");
    return -1;
}

int measure(AntennaTest* test) {
    if (test->module->skipsLevel != nullptr && test->module->skipsLevel(test->fields))
        return 0;
    if (readAnswer(test, test->levelLine) != 0)
        return -1;
    if (test->module->dropsLevel != nullptr && test->module->dropsLevel(test->fields)) {
        MFGP_TRACE_AS(test->function, "this one do not process\n");
        return 0;
    }
    agc_val = mfgp_textToInt(test->answer);
    MFGP_TRACE_AS(test->function, "mfgp2_cmd_setantennaTest agc_val is: %d\n", agc_val);
    return 0;
}

int testAntenna(const Reply& reply) {
    char name[kModuleNameSize];
    if (mfgp_readModuleName(name, "FTM", reply.function) != 0)
        return -1;
    agc_val = kNoLevel;
    AntennaTest test = {.function = reply.function,
                        .module = mfgp_findModule(name),
                        .fields = {},
                        .levelLine = {},
                        .answer = {},
                        .attempts = 3};
    if (prepare(&test, mfgp_argumentText(reply)) != 0 || configure(&test) != 0)
        return -1;
    return measure(&test);
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
    return answerConsoleText(reply, int_to_text(agc_val, text, 10));
}

int mfgp2_cmd_setFtmState(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 114);
    return setFtm(reply) == 0 ? mfgp_replyOk(reply, 0)
                              : mfgp_replyFail(reply, -10354, "set antenna FTM failed");
}

int mfgp2_cmd_getFtmState(ServiceContext* ctx) {
    const Reply reply = mfgp_replyBegin(ctx, 115);
    ConsoleAnswer answer;
    return readFtm(reply, answer) == 0 ? answerConsoleText(reply, answer)
                                       : mfgp_replyFail(reply, -10355, "get antenna FTM failed");
}
