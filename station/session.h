// One command after another on one socket.
#pragma once

#include "station/line_reader.h"
#include "station/link.h"
#include "station/result.h"

namespace station {

// A command with its arguments, checked and ready to be sent.
struct PreparedCommand {
    const Command* command;
    Words arguments;
    Request request;
    RetryPolicy retry;
    bool confirmed;           // --yes was given for it
    NamedValues limits = {};  // of its value
    double untilSeconds = 0;  // a read that fails is repeated for this time
};

struct Session {
    const Options& options;
    Output* output;
    Link link = {};
    bool bound = false;          // by what this session has sent
    bool accountProven = false;  // a reply with a payload had the right digest
};

// Prepares the command of the options' words. If the command takes @FILE, the file's text replaces
// its name. Returns the outcome of a wrong word or an unreadable file.
Outcome prepareCommand(const Options& options, PreparedCommand* prepared);

// Prepares the command of a row that takes no arguments.
PreparedCommand prepareRow(const Command& command, const Options& options);

// Opens the output, and the session's link if anything is to be sent. The deadline and signal
// handling start after name resolution, which cannot be interrupted. Until then a signal ends the
// program. Returns the exit code, after an error message if it is not 0.
int openSession(Session* session);

// Carries out the prepared command: asks the unit, or only shows the datagram.
Result execute(Session* session, const PreparedCommand& prepared);

// Sends a read that the unit answers in any mode with a payload. Only a reply with a payload shows
// whether the account is right. Returns the outcome of the read.
Outcome proveAccount(Session* session);

// Sends one read that needs produce mode, without a retry, and returns the mode that its reply
// shows.
Mode readMode(Session* session);

// Ends the session. With --release, releases the unit for another station. Does not wait,
// because the unit does not answer.
void endSession(Session* session);

// Returns the result of a command that was not sent: the given outcome, or that of a signal if one
// has arrived.
Result unsent(const Words& words, const Outcome& outcome);

// Reads the next line like nextLine. Waits until the deadline, and keeps the unit bound meanwhile.
LineEvent readLine(Session* session, LineReader* reader, std::string* line);

// Returns true if the command needs a confirmation: always for an erase, and in a batch also for a
// write to flash.
bool needsConfirmation(const PreparedCommand& prepared, bool inBatch);

// Asks the question on the terminal and reads the answer with the reader. Returns an outcome that
// is not done if the command must not be sent.
Outcome confirm(Session* session, LineReader* terminal, const std::string& question);

// Returns the question before a command that cannot be undone.
std::string questionOf(const Options& options, const Command& command);

// Waits, and keeps the unit bound meanwhile. Returns false if a signal or the deadline ended the
// wait.
bool pause(Session* session, double seconds);

}  // namespace station
