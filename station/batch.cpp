#include "station/batch.h"

#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <vector>

#include "station/diagnostics.h"
#include "station/interrupt.h"

namespace station {
namespace {

struct Series {
    Session* session;
    bool keepGoing;
    size_t total = 0;  // 0: not known
    size_t number = 0;
    int last = kExitDone;  // code of the last command
    int code = kExitDone;  // of the first command that has not passed; a signal's goes before it
    Clock::time_point start = Clock::now();
};

void showCount(const Series& series, const char* name) {
    std::string text = std::to_string(series.number);
    if (series.total > 0)
        text += '/' + std::to_string(series.total);
    text += "  " + std::to_string(std::lround(secondsSince(series.start))) + " s  ";
    showProgress(text + name);
}

std::string countOfLeft(const Series& series) {
    if (series.total == 0)
        return "";
    return ", " + std::to_string(series.total - series.number) + " of " +
           std::to_string(series.total) + " commands not sent";
}

Outcome unreadable(const std::string& name) {
    return {kExitLocalFault, "cannot read '" + name + "': " + strerror(errno)};
}

// The exit code of a series that ends so; of all but its own end it tells.
int codeOfEnd(const Series& series, LineEvent event) {
    Outcome outcome = {series.code, ""};
    if (event == LineEvent::TimedOut)
        outcome = {kExitNoAnswer, "the deadline is over" + countOfLeft(series)};
    else if (event == LineEvent::Interrupted)
        outcome = interrupted("");
    else if (event == LineEvent::Fault)
        outcome = unreadable(series.session->options.words[1]);
    if (!outcome.message.empty())
        say(series.session->options.words[0] + ": " + outcome.message);
    const bool isFirst = series.code == kExitDone || event == LineEvent::Interrupted;
    return isFirst ? outcome.code : series.code;
}

// Prints the result. Returns true when the series goes on.
bool take(Series* series, const Result& result) {
    const int code = series->last = result.outcome.code;
    print(result, Layout::Row, series->session->output);
    if (series->code == kExitDone || code > kExitInterrupted)
        series->code = code;
    const bool over = code > kExitInterrupted || !isWritten(*series->session->output);
    return !over && (code == kExitDone || series->keepGoing);
}

// Carries the order out unless the deadline is over. Returns true when the series goes on.
bool carryOut(Series* series, const Order& order) {
    if (Clock::now() >= series->session->link.deadline) {
        series->code = codeOfEnd(*series, LineEvent::TimedOut);
        return false;
    }
    series->number++;
    showCount(*series, order.command->name);
    return take(series, execute(series->session, order));
}

// Makes an order of a line; without a command there is nothing in it. Returns what is wrong with
// it.
Outcome parseOrder(const Options& options, const std::string& line, Words* words, Order* order) {
    std::string wrong = splitWords(line, words);
    Options own = options;
    if (wrong.empty() && !words->empty())
        wrong = parseLine(*words, &own);
    if (!wrong.empty())
        return {kExitUsage, wrong};
    return words->empty() ? Outcome{kExitDone, ""} : makeOrder(own, order);
}

int refuse(const Series& series, const Outcome& outcome) {
    const Session& session = *series.session;
    const Result result = unsent(session.options.words, outcome);
    print(result, Layout::Single, session.output);
    return result.outcome.code;
}

// Reads all lines into orders. Returns what is wrong with the first that is.
Outcome readOrders(const Series& series, LineReader* lines, std::vector<Order>* orders,
                   std::string* risky) {
    std::string line;
    LineEvent event = LineEvent::End;
    for (int number = 1; (event = nextLine(lines, -1, &line)) == LineEvent::Line; number++) {
        Words words;
        Order order = {};
        const Outcome parsed = parseOrder(series.session->options, line, &words, &order);
        const std::string place = "line " + std::to_string(number) + ": ";
        if (parsed.code != kExitDone)
            return {parsed.code, place + parsed.message};
        if (order.command == nullptr)
            continue;
        if (needsConfirmation(order, true))
            *risky += (risky->empty() ? place : ", " + place) + order.command->name;
        orders->push_back(order);
    }
    if (event == LineEvent::Fault)
        return unreadable(series.session->options.words[1]);
    return event == LineEvent::Interrupted ? interrupted("") : Outcome{kExitDone, ""};
}

int runFile(Series* series, LineReader* lines) {
    std::vector<Order> orders;
    std::string risky;
    Outcome outcome = readOrders(*series, lines, &orders, &risky);
    LineReader terminal;
    if (outcome.code == kExitDone && !risky.empty()) {
        outcome = confirm(series->session, &terminal, risky);
        outcome.message = risky + ": " + outcome.message;
    }
    if (outcome.code != kExitDone)
        return refuse(*series, outcome);
    series->total = orders.size();
    for (const Order& order : orders)
        if (!carryOut(series, order))
            break;
    return series->code;
}

bool runLine(Series* series, LineReader* lines, const std::string& line) {
    Words words;
    Order order = {};
    Outcome outcome = parseOrder(series->session->options, line, &words, &order);
    if (outcome.code != kExitDone)
        return take(series, unsent(words, outcome));
    if (order.command == nullptr)
        return true;
    if (needsConfirmation(order, true)) {
        LineReader own;
        LineReader* const terminal = lines->fd == own.fd ? lines : &own;
        outcome = confirm(series->session, terminal, order.command->name);
    }
    return outcome.code == kExitDone ? carryOut(series, order)
                                     : take(series, unsent(words, outcome));
}

int runStream(Series* series, LineReader* lines) {
    std::string line;
    LineEvent event = LineEvent::End;
    while ((event = readLine(series->session, lines, &line)) == LineEvent::Line)
        if (!runLine(series, lines, line))
            return series->code;
    return codeOfEnd(*series, event);
}

}  // namespace

int runBatch(const Options& options, Output* output) {
    Session session = {options, output};
    Series series = {&session, options.keepGoing};
    const std::string& name = options.words.at(1);
    const File file(name == "-" ? nullptr : fopen(name.c_str(), "re"));
    LineReader lines;
    if (name != "-")
        lines.fd = file ? fileno(file.get()) : -1;
    struct stat status = {};
    if (lines.fd < 0 || fstat(lines.fd, &status) != 0)  // errno: of either
        return refuse(series, unreadable(name));
    const int opened = openSession(&session);
    if (opened != kExitDone)
        return opened;
    const int code =
        S_ISREG(status.st_mode) ? runFile(&series, &lines) : runStream(&series, &lines);
    endSession(&session);
    return code;
}

int readSheet(const Options& options, Output* output) {
    Session session = {options, output};
    Series series = {&session, true};
    std::vector<Order> orders;
    for (const Command& command : commands())
        if (command.sheet == Sheet::Yes)
            orders.push_back(orderOf(command, options));
    series.total = orders.size();
    int code = openSession(&session);
    for (size_t i = 0; code == kExitDone && i < orders.size(); i++) {
        if (series.last == kExitNoAnswer)  // else one that has gone off takes a minute
            orders[i].patience = {1, options.timeout};
        const bool goesOn = carryOut(&series, orders[i]);
        if (!goesOn || (i == 0 && series.last == kExitNoAnswer))  // a unit that is off
            break;
    }
    endSession(&session);
    return code != kExitDone ? code : series.code;
}

}  // namespace station
