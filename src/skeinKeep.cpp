#include "skeinKeep.h"

#include "backup.h"
#include "com/runtime.h"
#include "com/statusText.h"
#include "restore.h"
#include "schemaCache.h"
#include "text/characters.h"

#include <cstdlib>
#include <memory>

RunSettings runSettings;

namespace {

enum class Mode { backup, restore, notChosen };

[[noreturn]] void usage(const char* programName) {
    OutStream& out = standardError();
    outPrintf(out, "Usage: %s -backup -file <backup-file> [-noinherit] [-root <path>]\n", programName);
    outPrintf(out, "Usage: %s -restore -file <backup-file> [-n] [-force] [-log <log-file>|-]\n", programName);
    outPrintf(out, "  [-debug <n>]\n");
    std::exit(1);
}

/// The arguments of the command line after the program's name, read one by one.
class Arguments {
public:
    Arguments(int count, char** values) : at_(values + 1), end_(values + count) {}

    bool atEnd() const { return at_ == end_; }
    /// Moves past the next argument and returns true if it is `option`.
    bool take(std::string_view option) {
        if (option != *at_) return false;
        ++at_;
        return true;
    }
    /// The same for an option that another argument follows, its operand, which is read as well.
    bool take(std::string_view option, const char*& operand) {
        if (end_ - at_ < 2 || option != *at_) return false;
        operand = at_[1];
        at_ += 2;
        return true;
    }

private:
    char** at_;
    char** end_;
};

Mode parseCommandLine(int argc, char** argv) {
    runSettings = RunSettings{};
    const char* programName = argc > 0 ? argv[0] : "skeinKeep";
    if (argc < 2) usage(programName);
    Mode mode = Mode::notChosen;
    const auto choose = [&](Mode chosen) {
        if (mode != Mode::notChosen) usage(programName);
        mode = chosen;
    };

    for (Arguments arguments(argc, argv); !arguments.atEnd();) {
        const char* level = nullptr;
        if (arguments.take("-backup")) {
            choose(Mode::backup);
        } else if (arguments.take("-restore")) {
            choose(Mode::restore);
        } else if (arguments.take("-noinherit")) {
            runSettings.noInherit = true;
        } else if (arguments.take("-n")) {
            runSettings.dryRun = true;
        } else if (arguments.take("-force")) {
            runSettings.force = true;
        } else if (arguments.take("-debug", level)) {
            runSettings.debugLevel = leadingNumber(std::string_view(level));
        } else if (!arguments.take("-log", runSettings.logFile) &&
                   !arguments.take("-file", runSettings.backupFile) &&
                   !arguments.take("-root", runSettings.rootPath)) {
            usage(programName);
        }
    }
    if (mode == Mode::notChosen || runSettings.backupFile == nullptr) usage(programName);
    return mode;
}

/// Runs a driver in the component runtime and with a schema cache. Returns the exit code.
int runMode(Mode mode) {
    if (Status status = CoInitializeEx(nullptr, 0); status < 0) {
        (void)reported(status, "CoInitialize"); // The exit code is 2.
        return 2;
    }
    SchemaCache schemaCache;
    runSettings.schemaCache = &schemaCache;
    const Status status = mode == Mode::restore ? restoreMain() : backupMain();
    runSettings.schemaCache = nullptr;
    schemaCacheDestroy(schemaCache);
    CoUninitialize();
    return status < 0 ? 2 : 0; // 0 also after a dry run that found differences.
}

using SystemText = std::unique_ptr<char, decltype(&LocalFree)>;

/// Returns the system's text for a status, without white space at its end; null if there is none.
SystemText systemText(Status status) {
    char* buffer = nullptr;
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                                        static_cast<DWORD>(status), LOCALE_USER_DEFAULT, &buffer, 0, nullptr);
    for (DWORD i = length; buffer != nullptr && i > 1 && isSpace(buffer[i - 1]); --i) buffer[i - 1] = '\0';
    return SystemText(buffer, &LocalFree);
}

} // namespace

int skeinKeepMain(int argc, char** argv) { return runMode(parseCommandLine(argc, argv)); }

void endOutOfMemory() {
    outPrintf(standardError(), "Out of memory\n");
    std::_Exit(2);
}

void reportHr(Status status, std::string_view sourceFile, std::uint32_t line) {
    const auto bits = static_cast<std::uint32_t>(status);
    if (const SystemText text = systemText(status)) {
        errPrintf("Error 0x%X (%s) at %s:%d\n", bits, text.get(), sourceFile, line);
    } else {
        errPrintf("Error 0x%X at %s:%d\n", bits, sourceFile, line);
    }
}
