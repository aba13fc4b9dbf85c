#include "tests/fuzz/scripted_unit.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <utility>

#include "core/report.h"
#include "protocol/cipher.h"
#include "protocol/codec.h"
#include "protocol/parser.h"

namespace fs = std::filesystem;

namespace {

// The folder that the unit's paths lead into. In memory, if possible: files are made by the
// thousand.
struct Scratch {
    std::string name = fs::exists("/dev/shm") ? "/dev/shm/mfgp-XXXXXX" : "/tmp/mfgp-XXXXXX";
    Scratch() {
        require(mkdtemp(name.data()) != nullptr, "a folder for the unit");
        for (const char* folder : {"/tmp/.uci", "/etc/config", "/proc/bus/usb", "/var/state"})
            fs::create_directories(name + folder);
    }
    ~Scratch() { fs::remove_all(name); }
};

std::string placeOf(std::string_view path) {
    static const Scratch scratch;
    return scratch.name + std::string(path);
}

bool entered;
bool allFilesExist;
std::string_view toolAnswers;
std::string said;
std::string lastTrace;
std::list<std::string> outputs;

struct Outcome {
    bool started;
    bool succeeded;
    std::string* output;
};

Outcome run(std::string_view line) {
    require(line.size() < 1024, "a shell line is within its bounds");
    said += "$ " + std::string(line) + '\n';
    std::string_view answer = takePiece(&toolAnswers);
    const uint8_t how = takeByte(&answer);
    outputs.emplace_back(answer);
    if (how == '!')
        return {false, false, nullptr};
    // Tools name the file that they write last: "flashkv -r FILE -p PARTITION", "check_group INPUT
    // OUTPUT", "generate_group COUNT FILE". The lines of the last two remove it before.
    if (line.starts_with("rm /tmp/"))
        unlink(std::string(line.substr(3, line.find_first_of("; ", 3) - 3)).c_str());
    const size_t file = line.rfind("/tmp/");
    const bool writes = line.find("flashkv -r") != std::string_view::npos ||
                        line.find("_group ") != std::string_view::npos;
    const size_t echoed = line.find("  > /tmp/");
    if (line.starts_with("echo ") && echoed != std::string_view::npos && how != '0')
        layFile(line.substr(file), std::string(line.substr(5, echoed - 5)) + "\n");
    if (writes && how != '0')
        layFile(line.substr(file, line.find(' ', file) - file), answer);
    return {true, how != '-', &outputs.back()};
}

}  // namespace

InUnit::InUnit(std::string_view answers, bool filesExist) {
    entered = true;
    allFilesExist = filesExist;
    toolAnswers = answers;
    said.clear();
    outputs.clear();
}

InUnit::~InUnit() { entered = false; }

void layFile(std::string_view path, std::string_view content) {
    std::ofstream(placeOf(path), std::ios::binary) << content;
}

std::string readFile(std::string_view path) {
    std::ifstream file(placeOf(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ServiceContext* freshContext() {
    static ServiceContext contexts[2];  // in turn, so that an address in an answer shows
    static int turn = 0;
    ServiceContext* const ctx = &contexts[turn ^= 1];
    memset(ctx->recvBuf, 0, sizeof ctx->recvBuf);
    memset(ctx->replyBuf, 0, sizeof ctx->replyBuf);
    mfgp_deriveKey(ctx->payloadKey, "kiosk", "kiosk");
    ctx->flags = kFlagsAtStart | kFlagSendReply;
    ctx->peerBound = 1;
    return ctx;
}

std::string answerToDatagram(ServiceContext* ctx) {
    size_t length = 0;
    const int result = mfgp_parserVerTwoOpt(ctx, &length);
    const std::string reply(reinterpret_cast<const char*>(ctx->replyBuf), length);
    std::string all = std::to_string(result) + ' ' + std::to_string(ctx->flags) + ' ' +
                      std::to_string(ctx->peerBound) + '\n' + said + reply;
    memcpy(ctx->recvBuf, reply.data(), length);
    require(length == 0 || mfgp_decode(ctx) == 0, "a reply has the right digest");
    return all;
}

// --- in place of core/report.cpp ---

int report(int code, const char* message) {
    said += "error " + std::to_string(code) + (message != nullptr ? message : "") + '\n';
    return code;
}

void mfgp_trace(const char* function, int /*line*/, const char* format, ...) {
    char text[1 << 17];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    lastTrace = text;
    said += function + (' ' + lastTrace);
}

// --- in place of calls of the C library, by the linker ---

extern "C" FILE* __real_fdopen(int fd, const char* mode);

#define IN_UNIT(result, name, parameters, arguments, inUnit) \
    result __real_##name parameters;                         \
    result __wrap_##name parameters { return entered ? (inUnit) : __real_##name arguments; }

namespace {

int makeTemporary(char* name, int (*make)(char*)) {
    std::string place = placeOf(name);
    const int fd = make(place.data());
    place.copy(name, strlen(name), place.size() - strlen(name));
    return fd;
}

// A read pipe starts its line and then opens the stream of its output.
std::string* pipedOutput;

int startPiped(char* const* arguments) {
    const auto [started, succeeded, output] = run(arguments[3]);
    pipedOutput = output;
    return started ? 0 : EAGAIN;
}

FILE* openStream(int fd, const char* mode) {
    if (pipedOutput == nullptr)
        return __real_fdopen(fd, mode);
    close(fd);
    std::string* const output = std::exchange(pipedOutput, nullptr);
    return fmemopen(output->data(), output->size(), mode);
}

int statusOf(std::string_view line) {
    const Outcome outcome = run(line);
    errno = ECHILD;
    return !outcome.started ? -1 : outcome.succeeded ? 0 : 1 << 8;
}

// The command runner logs the line before it starts a shell: "cmd: LINE \r\n".
constexpr pid_t kRunner = 1, kPiped = 2;

pid_t waitForShell(pid_t child) {
    if (child == kPiped)
        return child;
    const std::string_view line = std::string_view(lastTrace).substr(5, lastTrace.size() - 8);
    return statusOf(line) == -1 ? -1 : child;
}

}  // namespace

extern "C" {
IN_UNIT(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode),
        __real_open(placeOf(path).c_str(), flags, mode))
IN_UNIT(FILE*, fopen, (const char* path, const char* mode), (path, mode),
        __real_fopen(placeOf(path).c_str(), mode))
IN_UNIT(int, stat, (const char* path, struct stat* out), (path, out),
        __real_stat(placeOf(path).c_str(), out))
IN_UNIT(int, unlink, (const char* path), (path), __real_unlink(placeOf(path).c_str()))
IN_UNIT(int, rename, (const char* from, const char* to), (from, to),
        __real_rename(placeOf(from).c_str(), placeOf(to).c_str()))
IN_UNIT(int, mkstemp, (char* name), (name), makeTemporary(name, __real_mkstemp))
IN_UNIT(int, access, (const char* path, int mode), (path, mode), allFilesExist ? 0 : -1)
IN_UNIT(unsigned, sleep, (unsigned seconds), (seconds), 0)
IN_UNIT(int, posix_spawn,
        (pid_t * child, const char* path, const posix_spawn_file_actions_t* actions,
         const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
        (child, path, actions, attributes, arguments, environment),
        (*child = kPiped, startPiped(arguments)))
IN_UNIT(FILE*, fdopen, (int fd, const char* mode), (fd, mode), openStream(fd, mode))
IN_UNIT(int, system, (const char* line), (line), statusOf(line))
IN_UNIT(pid_t, fork, (), (), kRunner)
IN_UNIT(pid_t, waitpid, (pid_t child, int* status, int options), (child, status, options),
        waitForShell(child))
}
