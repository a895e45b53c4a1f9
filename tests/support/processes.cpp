#include "tests/support/processes.h"

#include "com/text.h"
#include "platform.h"
#include "src/skeinKeep.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
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
    std::string text() const { return readBytes("/proc/self/fd/" + std::to_string(descriptor_)); }

private:
    int descriptor_;
};

struct Sinks {
    Sink out;
    Sink err;

    /// Leads the standard streams of this process into them.
    void connect() const {
        ::dup2(out.descriptor(), STDOUT_FILENO);
        ::dup2(err.descriptor(), STDERR_FILENO);
    }
};

/// Runs `body` in a copy of this process in a folder.
Outcome runCopy(const Folder& folder, const std::function<int()>& body) {
    const Sinks sinks;
    const pid_t child = ::fork();
    if (child < 0) fail("fork");
    if (child == 0) {
        sinks.connect();
        std::filesystem::current_path(folder.path());
        std::exit(body());
    }
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

/// The standard streams of this process lead into sinks for as long as this lives.
class Capture {
public:
    explicit Capture(const Sinks& sinks) {
        flushAllStreams();
        sinks.connect();
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

Outcome runProgram(const Folder& folder, const Arguments& arguments, const std::string& shellLine) {
    Arguments command = {"sh", "-c", shellLine, SKEINKEEP_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runCommand(folder, command);
}

Outcome runCommand(const Folder& folder, Arguments command) {
    return runCopy(folder, [&command]() -> int {
        ::execvp(command[0].c_str(), pointersTo(command).data());
        fail(command[0].c_str());
    });
}

Outcome runChild(const Folder& folder, const std::function<int()>& body) {
    flushAllStreams();
    return runCopy(folder, body);
}

int runOnStreams(const Arguments& arguments) {
    preparePlatform();
    setStatusDetail(S_OK, "");
    Arguments line = {"skeinKeep"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    const int exitCode = skeinKeepMain(static_cast<int>(line.size()), pointersTo(line).data());
    runSettings = RunSettings{};
    standardOutput().flush();
    standardError().flush();
    return exitCode;
}

Outcome runHere(const Folder& folder, const std::function<int()>& body) {
    const Sinks sinks;
    const int exitCode = [&] {
        const WorkingDirectory inside(folder);
        const Capture capture(sinks);
        return body();
    }();
    return {exitCode, sinks.out.text(), sinks.err.text()};
}

Outcome runHere(const Folder& folder, const Arguments& arguments) {
    return runHere(folder, [&] { return runOnStreams(arguments); });
}
