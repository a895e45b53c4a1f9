// Runs of the program: the built one in a process of its own, and its entry point in a child process or in
// the test's own process.
#pragma once

#include "tests/support/folder.h"

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// Whether everything is built with sanitizers, which take time and memory of their own.
#ifdef SKEINKEEP_SANITIZED
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// What a run left. A run that a signal ended has the signal's negative number as its exit code.
struct Outcome {
    int exitCode = 0;
    std::string out;
    std::string err;

    bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Outcome& run);

using Arguments = std::vector<std::string>;

/// Runs the built program in a folder. A line for the shell, in which "$0" "$@" is the program with its
/// arguments, may limit it or redirect its streams.
Outcome runProgram(const Folder& folder, const Arguments& arguments,
                   const std::string& shellLine = R"(exec "$0" "$@")");

/// For a line of the shell that limits files: the counts of a coverage build, which would be cut off, are
/// dropped.
inline const std::string withoutCounts = "export GCOV_PREFIX=/dev/null GCOV_ERROR_FILE=/dev/null; ";

/// Runs another command in a folder, found as the shell finds it.
Outcome runCommand(const Folder& folder, Arguments command);

/// Runs `body` in a child process in a folder; its result is the exit code. Needed where a run may end the
/// process, or changes something of it that can't be changed back.
Outcome runChild(const Folder& folder, const std::function<int()>& body);

/// Runs `body` in this process in a folder; its result is the exit code.
Outcome runHere(const Folder& folder, const std::function<int()>& body);

/// Runs the entry point in this process in a folder, on the settings that every run begins with. This is the
/// fastest way, for command lines that are correct.
Outcome runHere(const Folder& folder, const Arguments& arguments);

/// The same in the working directory, on the standard streams as they are. Returns the exit code.
int runOnStreams(const Arguments& arguments);

/// Prints the lines of the process that wait in a buffer, so that no child process prints them once more.
void flushAllStreams();

/// Registers the real platform, once in a process.
void preparePlatform();

/// This process works in a folder for as long as this lives.
class WorkingDirectory {
public:
    explicit WorkingDirectory(const Folder& folder) { std::filesystem::current_path(folder.path()); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;
    ~WorkingDirectory() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_ = std::filesystem::current_path();
};
