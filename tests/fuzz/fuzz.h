// What the fuzz targets share: bytes of an input as values, and the unit around the daemon's code,
// whose tools, files, mode and web controller are made from the input.
#pragma once

#include <cstdint>
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

// Writes the digest of a plain datagram in a buffer of kBufferSize and enciphers its payload: the
// receiver reads no further than a wrong digest.
void seal(uint8_t* datagram, const uint8_t* key);

// Writes a file of the unit by its path in it ("/tmp/x-tmp").
void layFile(std::string_view path, std::string_view content);

// While it exists, the paths and the shell lines of this process are those of the unit. `answers`
// has a piece for each shell line, in the order in which they run. Its first byte says how the line
// ends: '!' it cannot be started, '-' it fails, '0' it leaves no file, else it succeeds. The rest
// is the tool's output, or the content of its file.
struct InUnit {
    explicit InUnit(std::string_view answers = {}, bool filesExist = false);
    ~InUnit();
};

// Makes the web controller from the bytes of an input. Without bytes it is not a table, and the
// account check fails.
void layController(std::string_view input);

// Returns a context with the key of the default account and a bound station.
ServiceContext* freshContext();

// Lets the daemon handle a datagram. Returns its log, its state and its reply.
std::string answerToDatagram(ServiceContext* ctx, std::string_view datagram);
