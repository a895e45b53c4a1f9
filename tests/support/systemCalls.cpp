#include "tests/support/systemCalls.h"

#include "tests/support/fronts.h"

#include <cerrno>
#include <sys/stat.h>
#include <utility>

namespace {

/// How many calls it takes until `action` is called; 0 for never.
int callsLeft = 0;
bool isLasting = false;
SystemCallAction action;

/// Counts a call. True, with errno set, if it fails.
bool fails(const SystemCall& call) {
    if (callsLeft == 0 || --callsLeft > 0) return false;
    const int error = action(call);
    if (isLasting) callsLeft = 1;
    if (error != 0) errno = error;
    return error != 0;
}

/// The run-time library of a coverage build writes its files after this: its calls aren't the program's.
[[gnu::destructor]] void stopCounting() { callsLeft = 0; }

} // namespace

SystemCallStop::SystemCallStop(int number, SystemCallAction act, bool lasting) {
    action = std::move(act);
    isLasting = lasting;
    callsLeft = number;
}

SystemCallStop::~SystemCallStop() {
    callsLeft = 0;
    action = nullptr;
}

/// Defines the wrapper of a call whose arguments no test looks at.
#define WRAP_CALL(Result, function, parameters, arguments)                                                   \
    WRAP(Result, function, parameters) { return fails({#function}) ? -1 : real_##function arguments; }

extern "C" {

WRAP_CALL(ssize_t, read, (int descriptor, void* buffer, size_t count), (descriptor, buffer, count))
WRAP_CALL(off_t, lseek, (int descriptor, off_t offset, int whence), (descriptor, offset, whence))
WRAP_CALL(int, fstat, (int descriptor, struct stat* info), (descriptor, info))
WRAP_CALL(int, stat, (const char* path, struct stat* info), (path, info))
WRAP_CALL(int, flock, (int descriptor, int operation), (descriptor, operation))
WRAP_CALL(int, ftruncate, (int descriptor, off_t size), (descriptor, size))
WRAP_CALL(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode))
WRAP_CALL(int, rename, (const char* from, const char* to), (from, to))
WRAP_CALL(int, unlink, (const char* path), (path))
WRAP_CALL(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))

WRAP(int, fsync, (int descriptor)) { return fails({"fsync", descriptor}) ? -1 : real_fsync(descriptor); }
WRAP(int, syncfs, (int descriptor)) { return fails({"syncfs", descriptor}) ? -1 : real_syncfs(descriptor); }
WRAP(ssize_t, write, (int descriptor, const void* bytes, size_t count)) {
    const SystemCall call{"write", descriptor, {static_cast<const char*>(bytes), count}};
    return fails(call) ? -1 : real_write(descriptor, bytes, count);
}
}
