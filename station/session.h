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
    bool confirmed;                       // --yes was given for it
    std::optional<std::string> expected;  // the text of the value, if it has to be this one
};

struct Session {
    const Options& options;
    Output* output;
    Link link = {};
    bool bound = false;          // by what this session has sent
    bool accountProven = false;  // a reply with a payload had the right digest
};

// Says that the words are no command, and which ones begin with the first.
std::string unknownCommand(const Words& words);

// Makes an order of the options' words. Where the command takes @FILE, the file's text is taken for
// its name. Returns what is wrong with the words or the file.
Outcome prepareCommand(const Options& options, PreparedCommand* prepared);

// The order of a row that takes no arguments.
PreparedCommand prepareRow(const Command& command, const Options& options);

// Opens the output, and the session's link if anything is to be sent, then starts the deadline and
// notes signals: the lookup of a name heeds neither, so until it is over a signal ends the program.
// Returns the exit code, after a complaint if it is not 0.
int openSession(Session* session);

// Carries the order out: asks the unit, or only shows the datagram.
Result execute(Session* session, const PreparedCommand& prepared);

// Reads something that the unit answers in any mode, with a payload: only a payload shows whether
// the account is right. Returns the outcome of the read.
Outcome proveAccount(Session* session);

// Asks one gated read, once, and returns the mode that its reply shows.
Mode readMode(Session* session);

// Ends the session. With --release another station can have the unit. Does not wait: no answer
// comes.
void endSession(Session* session);

// The result of a command that was not sent: the outcome, unless a signal came before.
Result unsent(const Words& words, const Outcome& outcome);

// Takes the next line like nextLine, until the deadline; keeps the unit bound the while.
LineEvent readLine(Session* session, LineReader* reader, std::string* line);

// Makes sure of what the order changes for good: reset and erasing always, in a batch flash too.
bool needsConfirmation(const PreparedCommand& prepared, bool inBatch);

// Asks on the terminal, by the reader of standard input, whether to go on. Returns why not.
Outcome confirm(Session* session, LineReader* terminal, const std::string& what);

}  // namespace station
