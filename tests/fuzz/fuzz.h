// The unit around the code under test: its tools, files and web controller come from the input.
#pragma once

#include <string>
#include <string_view>

#include "core/service_context.h"

// Returns everything that the target makes of an input. Each target defines it.
std::string answerOf(std::string_view input);

// Takes the bytes before the next byte 0xFF, or all of them, off the input's front.
std::string_view takePiece(std::string_view* input);

// Takes one byte off the front. Returns zero when there is none.
uint8_t takeByte(std::string_view* input);

// Ends the process, which is a finding, if the condition is false.
void require(bool holds, const char* what);

// Writes the digest of a plain datagram in a buffer of kBufferSize and enciphers its payload.
void seal(uint8_t* datagram, const uint8_t* key);

// Writes a file of the unit by its path in it ("/tmp/x-tmp").
void layFile(std::string_view path, std::string_view content);

// Makes the web controller from the bytes. Without bytes, the account check fails.
void layController(std::string_view input);

// While it exists, paths and shell lines are those of the unit. `answers` has a piece for each line
// in the order in which they run. Its first byte says how the line ends: '!' it cannot be started,
// '-' it fails, '0' it leaves no file. The rest is the tool's output, or the content of its file.
struct InUnit {
    explicit InUnit(std::string_view answers = {}, bool filesExist = false);
    ~InUnit();
};

// Returns a context with the key of the default account and a bound station.
ServiceContext* freshContext();

// Lets the daemon handle the datagram in recvBuf. Returns its log, its state and its reply.
std::string handleRequest(ServiceContext* ctx);
