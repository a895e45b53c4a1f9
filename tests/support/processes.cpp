#include "tests/support/processes.h"

#include "com/statusText.h"
#include "os/file.h"
#include "platform.h"
#include "src/skeinKeep.h"

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

/// Files in memory that gather what is printed on the standard streams.
struct Sinks {
    Descriptor out{::memfd_create("out", MFD_CLOEXEC)};
    Descriptor err{::memfd_create("err", MFD_CLOEXEC)};

    /// Leads the standard streams of this process into them.
    void connect() const {
        ::dup2(out.get(), STDOUT_FILENO);
        ::dup2(err.get(), STDERR_FILENO);
    }
    Outcome outcome(int exitCode) const {
        const std::string descriptors = "/proc/self/fd/";
        return {exitCode, readBytes(descriptors + std::to_string(out.get())),
                readBytes(descriptors + std::to_string(err.get()))};
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
    if (::waitpid(child, &status, 0) != child) fail("waitpid");
    return sinks.outcome(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
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
    ~Capture() {
        flushAllStreams();
        ::dup2(out_.get(), STDOUT_FILENO);
        ::dup2(err_.get(), STDERR_FILENO);
    }

private:
    Descriptor out_{::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)};
    Descriptor err_{::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)};
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
    return sinks.outcome(exitCode);
}

Outcome runHere(const Folder& folder, const Arguments& arguments) {
    return runHere(folder, [&] { return runOnStreams(arguments); });
}
