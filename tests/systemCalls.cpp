#include "tests/systemCalls.h"

#include <cerrno>
#include <cstdarg>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>

namespace {

/// How many calls it takes to the one that is stopped at, 0 for none.
int left = 0;
bool onwards = false;
std::function<int(const SystemCall&)> action;

/// Counts a call; true, with errno set, if it fails.
bool fails(const SystemCall& call) {
    if (left == 0 || --left > 0) return false;
    const int error = action(call);
    if (onwards) left = 1;
    if (error != 0) errno = error;
    return error != 0;
}

} // namespace

void atSystemCall(int number, std::function<int(const SystemCall&)> act, bool lasting) {
    action = std::move(act);
    onwards = lasting;
    left = number;
}

/// The wrapper of a call, behind whose name stand its parameters and its arguments.
#define WRAP(Result, call, parameters, ...)                                                                  \
    Result real_##call parameters asm("__real_" #call);                                                      \
    Result wrapped_##call parameters asm("__wrap_" #call);                                                   \
    Result wrapped_##call parameters { return fails({#call}) ? -1 : real_##call(__VA_ARGS__); }

extern "C" {

WRAP(ssize_t, read, (int descriptor, void* buffer, size_t count), descriptor, buffer, count)
WRAP(off_t, lseek, (int descriptor, off_t offset, int whence), descriptor, offset, whence)
WRAP(int, fstat, (int descriptor, struct stat* info), descriptor, info)
WRAP(int, stat, (const char* path, struct stat* info), path, info)
WRAP(int, flock, (int descriptor, int operation), descriptor, operation)
WRAP(int, ftruncate, (int descriptor, off_t size), descriptor, size)
WRAP(int, fsync, (int descriptor), descriptor)
WRAP(int, fchmod, (int descriptor, mode_t mode), descriptor, mode)
WRAP(int, rename, (const char* from, const char* to), from, to)
WRAP(int, unlink, (const char* path), path)

ssize_t realWrite(int descriptor, const void* bytes, size_t count) asm("__real_write");
ssize_t wrappedWrite(int descriptor, const void* bytes, size_t count) asm("__wrap_write");
ssize_t wrappedWrite(int descriptor, const void* bytes, size_t count) {
    const bool failed = fails({"write", descriptor, {static_cast<const char*>(bytes), count}});
    return failed ? -1 : realWrite(descriptor, bytes, count);
}

int realOpen(const char* path, int flags, ...) asm("__real_open");
int wrappedOpen(const char* path, int flags, ...) asm("__wrap_open");
int wrappedOpen(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return fails({"open"}) ? -1 : realOpen(path, flags, mode);
}
}
