#include "tests/support/processes.h"

#include "com/text.h"
#include "platform.h"
#include "src/skeinKeep.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::abort();
}

/// A file in memory that gathers what is printed on one stream.
class Sink {
public:
    Sink() : descriptor_(::memfd_create("stream", MFD_CLOEXEC)) {
        if (descriptor_ < 0) fail("memfd_create");
    }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    ~Sink() { ::close(descriptor_); }

    int descriptor() const { return descriptor_; }
    std::string text() const {
        std::string text;
        std::array<char, 65536> piece;
        for (off_t at = 0;; at = static_cast<off_t>(text.size())) {
            const ssize_t count = ::pread(descriptor_, piece.data(), piece.size(), at);
            if (count < 0) fail("pread");
            if (count == 0) return text;
            text.append(piece.data(), static_cast<std::size_t>(count));
        }
    }

private:
    int descriptor_;
};

struct Sinks {
    Sink out;
    Sink err;
};

/// Waits for a child process and gathers what it left.
Outcome outcomeOf(pid_t child, const Sinks& sinks) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) fail("waitpid");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), sinks.out.text(), sinks.err.text()};
}

/// The terminated array of pointers that main and exec take.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// Starts a program without a copy of this process, which takes long where the process is large.
Outcome spawn(const Folder& folder, const char* program, Arguments command, const std::vector<int>& closed,
              std::vector<std::string> environment) {
    const Sinks sinks;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, sinks.out.descriptor(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, sinks.err.descriptor(), STDERR_FILENO);
    ::posix_spawn_file_actions_addchdir_np(&actions, folder.path().c_str());
    for (const int descriptor : closed) ::posix_spawn_file_actions_addclose(&actions, descriptor);
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, program, &actions, nullptr, pointersTo(command).data(),
                                     pointersTo(environment).data());
    ::posix_spawn_file_actions_destroy(&actions);
    errno = error;
    if (error != 0) fail(program);
    return outcomeOf(child, sinks);
}

std::vector<std::string> environmentWith(const std::vector<std::string>& variables) {
    std::vector<std::string> all = variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string name(*entry, std::strcspn(*entry, "=") + 1);
        const bool isReplaced =
            std::ranges::any_of(variables, [&](const std::string& one) { return one.starts_with(name); });
        if (!isReplaced) all.emplace_back(*entry);
    }
    return all;
}

Arguments withProgram(Arguments arguments) {
    arguments.insert(arguments.begin(), "skeinKeep");
    return arguments;
}

int runEntryPoint(Arguments line) {
    preparePlatform();
    setStatusDetail(S_OK, "");
    const int exitCode = skeinKeepMain(static_cast<int>(line.size()), pointersTo(line).data());
    runSettings = RunSettings{};
    return exitCode;
}

/// The standard streams of this process lead into sinks for as long as this lives.
class Capture {
public:
    explicit Capture(const Sinks& sinks) {
        flushAllStreams();
        ::dup2(sinks.out.descriptor(), STDOUT_FILENO);
        ::dup2(sinks.err.descriptor(), STDERR_FILENO);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture() {
        flushAllStreams();
        ::dup2(out_, STDOUT_FILENO);
        ::dup2(err_, STDERR_FILENO);
        ::close(out_);
        ::close(err_);
    }

private:
    int out_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    int err_ = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
};

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

} // namespace

std::ostream& operator<<(std::ostream& stream, const Outcome& run) {
    return stream << "exit code " << run.exitCode << "\nstandard output:\n"
                  << run.out << "\nstandard error:\n"
                  << run.err;
}

void preparePlatform() {
    static const bool isInstalled = (installPlatform(), true);
    (void)isInstalled;
}

void flushAllStreams() {
    std::cout.flush();
    (void)std::fflush(nullptr);
    standardOutput().flush();
    standardError().flush();
}

Outcome runProgram(const Folder& folder, const Arguments& arguments, const std::vector<int>& closed) {
    return spawn(folder, SKEINKEEP_PROGRAM, withProgram(arguments), closed, environmentWith({}));
}

Outcome runCommand(const Folder& folder, const Arguments& command,
                   const std::vector<std::string>& variables) {
    return spawn(folder, command[0].c_str(), command, {}, environmentWith(variables));
}

Outcome runChild(const Folder& folder, const std::function<int()>& body) {
    const Sinks sinks;
    flushAllStreams();
    const pid_t child = ::fork();
    if (child < 0) fail("fork");
    if (child == 0) {
        ::dup2(sinks.out.descriptor(), STDOUT_FILENO);
        ::dup2(sinks.err.descriptor(), STDERR_FILENO);
        if (::chdir(folder.path().c_str()) != 0) fail("chdir");
        std::exit(body());
    }
    return outcomeOf(child, sinks);
}

Outcome runTool(const Folder& folder, const Arguments& arguments, const std::function<void()>& prepare) {
    return runChild(folder, [&] {
        prepare();
        return runEntryPoint(withProgram(arguments));
    });
}

int runOnStreams(const Arguments& arguments) { return runEntryPoint(withProgram(arguments)); }

Outcome runHere(const Folder& folder, const Arguments& arguments) {
    const Sinks sinks;
    int exitCode = 0;
    {
        const WorkingDirectory inside(folder);
        const Capture capture(sinks);
        exitCode = runOnStreams(arguments);
    }
    return {exitCode, sinks.out.text(), sinks.err.text()};
}
