// The unit around the daemon's code, played from the bytes of an input: its tools, files and mode.
#pragma once

#include "core/service_context.h"
#include "tests/fuzz/fuzz.h"

// A file of the unit by its path in it ("/tmp/x-tmp"); one that is absent reads as empty.
void layFile(std::string_view path, std::string_view content);
std::string readFile(std::string_view path);

// While one of them lives, the paths and the shell lines of this process are those of the unit.
// `answers` has a piece for each shell line, in the order in which they are run. Its first byte
// tells how the line ends: '!' it cannot be started, '-' it fails, '0' it leaves no file, else
// well. Behind it stands what the tool prints or leaves in its file.
struct InUnit {
    explicit InUnit(std::string_view answers = {}, bool filesExist = false);
    ~InUnit();
};

// A context as the receiver prepares it for a datagram.
ServiceContext* freshContext();

// Puts a sealed datagram in ctx->recvBuf to the version-2 parser; returns all that came of it.
std::string answerToDatagram(ServiceContext* ctx);
