// The entry point, the settings of a run, and the functions that print and report. What looks like a mistake
// in src/ and is kept on purpose is listed in docs/architecture.md.
#pragma once

#include "com/status.h"
#include "os/print.h"

#include <cstdint>
#include <string_view>
#include <type_traits>

/// The result of an operation: 0 is success, negative is a failure. If a function can also return 1,
/// its comment says what 1 means. A function of `src/` reports its failures itself (see `reported`), unless
/// its comment makes an exception; calls of the platform never report.
using Status = HRESULT;

/// The results of a comparison that doesn't fail.
constexpr Status comparedSame = S_OK;
constexpr Status comparedDifferent = S_FALSE;

struct SchemaCache;

/// The settings of a run, set from the command line before the driver starts. Only `errStream` and
/// `schemaCache` change later. The texts are borrowed from the command line.
struct RunSettings {
    const char* backupFile = nullptr;
    const char* rootPath = "IIS://localhost";
    /// Accepted, without effect.
    const char* logFile = "-";
    bool noInherit = false;
    bool dryRun = false;
    /// Accepted, without effect.
    bool force = false;
    std::int32_t debugLevel = 4;
    /// Stream of errors and change lines: standard error, in a restore standard output.
    OutStream* errStream = &standardError();
    /// Stream of the lines that depend on `debugLevel`.
    OutStream* logStream = &standardError();
    /// The schema cache of the run, borrowed; null before it is created and after it is destroyed.
    SchemaCache* schemaCache = nullptr;
};

extern RunSettings runSettings;

/// Runs the tool: parses the command line, whose first element is the program's name, and calls the driver.
/// Returns the exit code: 0, or 2 if the run failed. A wrong command line ends the process with exit code 1.
int skeinKeepMain(int argc, char** argv);

/// Ends the process where there is no memory: prints a message, after what standard output still holds, with
/// exit code 2. It allocates nothing. This is the new-handler of the program.
[[noreturn]] void endOutOfMemory();

/// Prints to `stream`; see printTo for the conversions. A failed print has no result.
template <class... Args>
void outPrintf(OutStream& stream, const Format<Args...>& format, const Args&... arguments) {
    printTo<Args...>(stream, format, arguments...);
}

/// Prints to `errStream`.
template <class... Args> void errPrintf(const Format<Args...>& format, const Args&... arguments) {
    printTo<Args...>(*runSettings.errStream, format, arguments...);
}

/// Prints to `logStream` if `debugLevel` is `level` or more.
template <class... Args>
void logPrintf(std::int32_t level, const Format<Args...>& format, const Args&... arguments) {
    if (runSettings.debugLevel >= level) printTo<Args...>(*runSettings.logStream, format, arguments...);
}

/// Prints the "Error" line of a failure to `errStream`: the status, its text if the system has one, and the
/// place. `sourceFile` is a stem.
void reportHr(Status status, std::string_view sourceFile, std::uint32_t line);

/// A place in the sources. Some compilers' libraries lack std::source_location.
struct SourcePlace {
    std::string_view file;
    std::uint32_t line;

    static constexpr SourcePlace current(const char* file = __builtin_FILE(),
                                         std::uint32_t line = __builtin_LINE()) {
        return {file, line};
    }
    /// The file's name without folder and extension.
    constexpr std::string_view stem() const {
        const std::string_view name = file.substr(file.rfind('/') + 1);
        return name.substr(0, name.rfind('.'));
    }
};

/// A context text, which must be a literal and mostly has no line end, together with the place in the sources
/// where it is written.
template <class... Args> struct FailureText {
    template <std::size_t size>
    consteval FailureText(const char (&text)[size], SourcePlace caller = SourcePlace::current())
        : format(text), place(caller) {}

    Format<Args...> format;
    SourcePlace place;
};

/// Reports a failure at the caller's place and returns its status: `return reported(status);`
inline Status reported(Status status, SourcePlace place = SourcePlace::current()) {
    reportHr(status, place.stem(), place.line);
    return status;
}

/// Reports a failure at the given place, prints a context text after the "Error" line and returns the status.
template <class... Args>
Status reported(Status status, SourcePlace place, const Format<Args...>& text, const Args&... arguments) {
    reportHr(status, place.stem(), place.line);
    errPrintf<Args...>(text, arguments...);
    return status;
}

/// The same at the caller's place: `return reported(status, "Getting %S property", name);`. The arguments are
/// evaluated before the "Error" line is printed: if computing one can itself report, call reported(status)
/// first and print the text afterwards.
template <class... Args>
Status reported(Status status, const FailureText<std::type_identity_t<Args>...>& text,
                const Args&... arguments) {
    return reported<Args...>(status, text.place, text.format, arguments...);
}
