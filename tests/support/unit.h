// A unit under test: the real daemon in a fresh simulated unit, reached over the loopback.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

struct StateFile {
    std::string path;  // in the unit
    std::string content;
};

// This machine cannot give a unit what the test needs: where nothing catches it, it is skipped.
struct UnitImpossible : testing::AssertionException {
    explicit UnitImpossible(const char* why);
};

std::string readFile(const std::filesystem::path& file);

class Unit {
  public:
    // Starts the unit and waits until the daemon is bound; `arguments` go to `mfgp-sim up`,
    // the files to prepare are laid before the start. Throws UnitImpossible or a runtime_error.
    explicit Unit(const std::vector<StateFile>& prepare = {},
                  const std::vector<std::string>& arguments = {});
    ~Unit();
    Unit(const Unit&) = delete;
    Unit& operator=(const Unit&) = delete;

    void stop();
    void start();
    bool running() const;
    pid_t daemon() const { return daemon_; }

    // Files of the unit by their path in it ("/fw/MAC").
    std::filesystem::path path(const std::string& inUnit) const { return root_ / inUnit.substr(1); }
    void write(const std::string& inUnit, const std::string& content) const;
    std::string read(const std::string& inUnit) const { return readFile(path(inUnit)); }
    bool exists(const std::string& inUnit) const { return std::filesystem::exists(path(inUnit)); }
    void remove(const std::string& inUnit) const { std::filesystem::remove_all(path(inUnit)); }

    // Replaces a tool's behaviour by a shell snippet that runs before it ("exit 1").
    void fault(const std::string& tool, const std::string& snippet) const;
    // Waits, behind a reply, until the daemon waits too: on its way back there it looks at its
    // mode, with a descriptor of that moment.
    void awaitRest() const;
    // Leaves the daemon enough descriptors to read its mode but too few for a pipe, or gives it
    // all.
    void allowPipes(bool allowed) const;
    // Sets wanDetect.settings.mode.
    void setMode(const std::string& mode) const;

    // The tool calls since the last time this was asked, one "tool arguments" each.
    std::vector<std::string> calls();
    // What the daemon has written to standard output or error since the last time.
    std::string trace() { return since("/log/stdout", &traceSeen_); }
    std::string errors() { return since("/log/stderr", &errorsSeen_); }

  private:
    std::string since(const std::string& file, size_t* offset) const;

    std::filesystem::path root_;
    std::string line_;  // starts the simulator
    FILE* output_ = nullptr;
    pid_t simulator_ = -1;
    pid_t daemon_ = -1;
    size_t callsSeen_ = 0;
    size_t traceSeen_ = 0;
    size_t errorsSeen_ = 0;
};

// Takes the source lines out of trace lines: "[mfgp_cmd_getMAC():%] ...".
std::string withoutLines(std::string trace);

// The shell lines that the command runner was given, from a trace.
std::vector<std::string> shellLines(const std::string& trace);

// The error line of a code and message as the daemon reports it, up to the errno.
std::string errorLine(int code, const std::string& message);
