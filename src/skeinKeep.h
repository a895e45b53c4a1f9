// The entry point, the settings of a run, and the way in which everything speaks to the user.
#pragma once

#include "com/status.h"
#include "os/print.h"

#include <cstdint>
#include <string_view>

/// 0 is success, negative a failure. A function that can also answer 1 says so. A function of `src/` that
/// fails has reported it (see `reported`), unless its contract says otherwise; calls of the platform never
/// report.
using Status = HRESULT;

struct SchemaCache;

/// Set from the command line before the driver starts. Only `errStream` and `schemaCache` change later.
struct RunSettings {
    const char* backupFile = nullptr;
    const char* rootPath = "IIS://localhost";
    /// Accepted, but without effect.
    const char* logFile = "-";
    bool noInherit = false;
    bool dryRun = false;
    /// Accepted, but without effect.
    bool force = false;
    std::int32_t debugLevel = 4;
    /// Errors and change lines: standard error, or standard output in a restore.
    OutStream* errStream = &standardError();
    /// The lines gated by `debugLevel`.
    OutStream* logStream = &standardError();
    /// The schema cache of the run, null until it is created.
    SchemaCache* schemaCache = nullptr;
};

extern RunSettings runSettings;

/// The whole run: parses the command line, whose first element is the program's name, and calls the driver.
/// Returns the exit code: 0, or 2 if the run failed. A wrong command line ends the process with exit code 1.
int skeinKeepMain(int argc, char** argv);

/// Prints to a stream; see printTo for the conversions.
template <class... Args>
void outPrintf(OutStream& stream, const Format<Args...>& format, const Args&... arguments) {
    printTo<Args...>(stream, format, arguments...);
}

/// Prints to `errStream`.
template <class... Args> void errPrintf(const Format<Args...>& format, const Args&... arguments) {
    printTo<Args...>(*runSettings.errStream, format, arguments...);
}

/// Prints to `logStream`, if `debugLevel` is at `level` or above.
template <class... Args>
void logPrintf(std::int32_t level, const Format<Args...>& format, const Args&... arguments) {
    if (runSettings.debugLevel >= level) printTo<Args...>(*runSettings.logStream, format, arguments...);
}

/// Prints the "Error" line of a failure on `errStream`.
void reportHr(Status status, std::string_view sourceFile, std::uint32_t line);

/// A place in the sources: what std::source_location is, for the compilers whose library lacks it.
struct SourcePlace {
    std::string_view file;
    std::uint32_t line;

    static constexpr SourcePlace current(const char* file = __builtin_FILE(),
                                         std::uint32_t line = __builtin_LINE()) {
        return {file, line};
    }
    /// The name of the file without its folder and its extension.
    constexpr std::string_view stem() const {
        const std::string_view name = file.substr(file.rfind('/') + 1);
        return name.substr(0, name.rfind('.'));
    }
};

/// Reports a failure at the caller's place and returns its status: `return reported(status);`
inline Status reported(Status status, SourcePlace place = SourcePlace::current()) {
    reportHr(status, place.stem(), place.line);
    return status;
}
