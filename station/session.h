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

// Reads something that the unit answers in any mode, with a payload: only a payload shows whether
// the account is right. Returns the outcome of the read.
Outcome proveAccount(Session* session);

// Asks one gated read, once, and returns the mode that its reply shows.
Mode readMode(Session* session);

// Ends the session. With --release, releases the unit for another station. Does not wait,
// because the unit does not answer.
void endSession(Session* session);

// Returns the result of a command that was not sent: the outcome, unless a signal came first.
Result unsent(const Words& words, const Outcome& outcome);

// Reads the next line like nextLine, until the deadline, and keeps the unit bound meanwhile.
LineEvent readLine(Session* session, LineReader* reader, std::string* line);

// Makes sure of what the order changes for good: reset and erasing always, in a batch flash too.
bool needsConfirmation(const PreparedCommand& prepared, bool inBatch);

// Asks the question on the terminal, by the reader of standard input. Returns why not to go on.
Outcome confirm(Session* session, LineReader* terminal, const std::string& question);

// Returns the question before a command that cannot be undone.
std::string questionOf(const Options& options, const Command& command);

// Waits, and keeps the unit bound meanwhile. Returns false if a signal or the deadline came first.
bool pause(Session* session, double seconds);

}  // namespace station
