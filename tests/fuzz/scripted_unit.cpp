#include "tests/fuzz/fuzz.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "core/report.h"
#include "protocol/cipher.h"
#include "protocol/codec.h"
#include "protocol/parser.h"

namespace fs = std::filesystem;

namespace {

// The folder that the unit's paths lead into. It is in memory if possible, because each run makes
// many files.
struct Scratch {
    std::string name = fs::exists("/dev/shm") ? "/dev/shm/mfgp-XXXXXX" : "/tmp/mfgp-XXXXXX";
    Scratch() {
        require(mkdtemp(name.data()) != nullptr, "a folder for the unit");
        for (const char* folder : {"/tmp/.uci", "/etc/config", "/proc/bus/usb", "/var/state"})
            fs::create_directories(name + folder);
        setenv("LUA_PATH", (name + "/controller.lua").c_str(), 1);
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
std::string logged;
std::string lastTrace;
int pipeEnds[2];

// Returns the status as system() does, and the output.
std::pair<int, std::string_view> run(std::string_view line) {
    require(line.size() < 1024, "a shell line is within its bounds");
    logged += "$ " + std::string(line) + '\n';
    std::string_view answer = takePiece(&toolAnswers);
    const uint8_t how = takeByte(&answer);
    if (how == '!')
        return {-1, ""};
    // Tools name the file that they write last: "flashkv -r FILE -p PARTITION", "check_group INPUT
    // OUTPUT", "generate_group COUNT FILE". The lines of the last two remove it first.
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
    return {how == '-' ? 1 << 8 : 0, answer};
}

}  // namespace

std::string_view takePiece(std::string_view* input) {
    const std::string_view piece = input->substr(0, input->find('\xFF'));
    input->remove_prefix(std::min(piece.size() + 1, input->size()));
    return piece;
}

uint8_t takeByte(std::string_view* input) {
    const uint8_t byte = input->empty() ? 0 : static_cast<uint8_t>(input->front());
    input->remove_prefix(input->empty() ? 0 : 1);
    return byte;
}

void require(bool holds, const char* what) {
    if (holds)
        return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

void seal(uint8_t* datagram, const uint8_t* key) {
    const uint32_t length = (mfgp_payloadLength(datagram) + 7) & ~7U;
    if (mfgp_payloadLength(datagram) > kMaxPayload)
        return;
    uint8_t digest[kDigestSize];
    memset(mfgp_digest(datagram), 0, sizeof digest);
    mfgp_md5(digest, datagram, kHeaderSize + length);
    memcpy(mfgp_digest(datagram), digest, sizeof digest);
    mfgp_desEcb(mfgp_payload(datagram), length, mfgp_payload(datagram), kPayloadCapacity, key,
                CipherDirection::Encrypt);
}

InUnit::InUnit(std::string_view answers, bool filesExist) {
    entered = true;
    allFilesExist = filesExist;
    toolAnswers = answers;
    logged.clear();
}

InUnit::~InUnit() { entered = false; }

void layFile(std::string_view path, std::string_view content) {
    std::ofstream(placeOf(path), std::ios::binary) << content;
}

// A byte chooses the kind of each value. Bytes after the end of the input are zero, so it ends.
constexpr char kController[] = R"(
local at, value = 0
local function byte() at = at + 1 return input:byte(at) or 0 end
local kinds = {
    function() return true end, byte, function() at = at + 20 return input:sub(at - 19, at) end,
    function() return {success = value(), data = value(), username = value(), password = value(),
                       dispatch = value()} end,
    function() return function() return value() end end,
    function() return function() error(value(), byte() % 3) end end,
    function() return setmetatable({}, {__index = value()}) end,
    function() local data = newproxy(true) getmetatable(data).__index = value() return data end,
    function() return ("x"):rep(byte() * 1000) end}
function value() local kind = kinds[byte()] return kind and kind() end
return value())";

void layController(std::string_view input) {
    std::string bytes = "local input = '";
    for (const char byte : input)
        bytes += '\\' + std::to_string(1000 + static_cast<uint8_t>(byte)).substr(1);
    layFile("/controller.lua", bytes + "'" + kController);
}

ServiceContext* freshContext() {
    static ServiceContext contexts[2];  // in turn, so that an address in an answer shows
    static int turn = 0;
    ServiceContext* const ctx = &contexts[turn ^= 1];
    *ctx = {};
    ctx->peerBound = 1;
    ctx->flags = kFlagsAtStart | kFlagSendReply;
    mfgp_deriveKey(ctx->payloadKey, "kiosk", "kiosk");
    return ctx;
}

std::string handleRequest(ServiceContext* ctx) {
    size_t length = 0;
    const int result = mfgp_parserVerTwoOpt(ctx, &length);
    const std::string reply(reinterpret_cast<const char*>(ctx->replyBuf), length);
    std::string all = std::to_string(result) + ' ' + std::to_string(ctx->flags) + ' ' +
                      std::to_string(ctx->peerBound) + '\n' + logged + reply;
    memcpy(ctx->recvBuf, reply.data(), length);
    require(length == 0 || mfgp_decode(ctx) == 0, "a reply has the right digest");
    return all;
}

// The first run follows another input, the second follows the empty one, so that anything an input
// leaves in memory shows as a difference.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string first = answerOf(input);
    answerOf("");
    require(answerOf(input) == first, "the same input gets the same answer");
    return 0;
}

// --- in place of core/report.cpp ---

int report(int code, const char* message) {
    logged += "error " + std::to_string(code) + (message != nullptr ? message : "") + '\n';
    return code;
}

void mfgp_trace(const char* function, int /*line*/, const char* format, ...) {
    char text[1 << 17];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    lastTrace = text;
    logged += function + (' ' + lastTrace);
}

// --- in place of calls of the C library, by the linker ---

#define IN_UNIT(result, name, parameters, arguments, inUnit) \
    result __real_##name parameters;                         \
    result __wrap_##name parameters { return entered ? (inUnit) : __real_##name arguments; }

namespace {

// Answers the shell line of a read pipe with its output, as far as the pipe holds it.
int spawnShell(std::string_view line) {
    const auto [status, output] = run(line);
    require(write(pipeEnds[1], output.data(), std::min<size_t>(output.size(), 65536)) >= 0,
            "a tool prints its output");
    return status == -1 ? EAGAIN : 0;
}

// The command runner logs "cmd: LINE \r\n" before it starts a shell.
pid_t forkShell() {
    const std::string_view line = std::string_view(lastTrace).substr(5, lastTrace.size() - 8);
    return run(line).first == -1 ? -1 : 1;
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
IN_UNIT(int, mkstemp, (char* name), (name),
        __real_open(placeOf(name).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600))
IN_UNIT(int, access, (const char* path, int mode), (path, mode), allFilesExist ? 0 : -1)
IN_UNIT(unsigned, sleep, (unsigned seconds), (seconds), 0)
IN_UNIT(int, posix_spawn,
        (pid_t * child, const char* path, const posix_spawn_file_actions_t* actions,
         const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
        (child, path, actions, attributes, arguments, environment),
        (*child = 1, spawnShell(arguments[3])))
IN_UNIT(int, pipe, (int* ends), (ends),
        (__real_pipe(pipeEnds), memcpy(ends, pipeEnds, sizeof pipeEnds), 0))
IN_UNIT(int, system, (const char* line), (line), run(line).first)
IN_UNIT(pid_t, fork, (), (), forkShell())
IN_UNIT(pid_t, waitpid, (pid_t child, int* status, int options), (child, status, options), child)
}
