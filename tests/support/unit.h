// A unit under test: the real daemon in a fresh simulated unit, reached over the loopback.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

struct StateFile {
    std::string path;  // in the unit
    std::string content;
};

// Thrown if this machine cannot run the unit that a test needs. Skips the test if nothing catches
// it.
struct UnitImpossible : testing::AssertionException {
    explicit UnitImpossible(const char* why);
};

std::string readFile(const std::filesystem::path& file);

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Waits for at most half a minute until the condition is true. Returns false if it stays false.
bool eventually(const std::function<bool()>& condition);

class Unit {
  public:
    // Writes the files, starts the unit with these arguments of `mfgp-sim up` and waits until the
    // daemon is bound. Throws UnitImpossible or a runtime_error.
    explicit Unit(const std::vector<StateFile>& files = {}, const std::string& arguments = "");
    ~Unit();
    Unit(Unit&&) = delete;  // neither moved nor copied

    void stop();
    void start();
    pid_t daemon() const { return daemon_; }

    // Files of the unit by their path in it ("/fw/MAC").
    std::filesystem::path path(const std::string& inUnit) const { return root_ / inUnit.substr(1); }
    void write(const std::string& inUnit, const std::string& content) const;
    std::string read(const std::string& inUnit) const { return readFile(path(inUnit)); }
    bool exists(const std::string& inUnit) const { return std::filesystem::exists(path(inUnit)); }
    void remove(const std::string& inUnit) const { std::filesystem::remove_all(path(inUnit)); }

    // Makes a tool run a shell snippet first ("exit 1").
    void fault(const std::string& tool, const std::string& snippet) const;
    // Sets wanDetect.settings.mode.
    void setMode(const std::string& mode) const;

    // The tool calls since the last time, one "tool arguments" each.
    std::vector<std::string> calls();
    // The text that the daemon has written to standard output or error since the last time.
    std::string trace() { return since("/log/stdout", &traceSeen_); }
    std::string errors() { return since("/log/stderr", &errorsSeen_); }

  private:
    std::string since(const std::string& file, size_t* offset) const;

    std::filesystem::path root_;
    std::string line_;  // starts the simulator
    FILE* output_ = nullptr;
    pid_t simulator_ = -1, daemon_ = -1;
    size_t callsSeen_ = 0, traceSeen_ = 0, errorsSeen_ = 0;
};

// Replaces the source lines of trace lines: "[mfgp_cmd_getMAC():%] ...".
std::string withoutLines(std::string trace);

// Returns the lines of the command runner in a trace.
std::vector<std::string> shellLines(const std::string& trace);

// Returns the error line of a code and message as the daemon reports it, up to the errno.
std::string errorLine(int code, const std::string& message);
