#include "tests/support/systemCalls.h"

#include "tests/support/fronts.h"

#include <cerrno>
#include <cstdarg>
#include <sys/stat.h>
#include <sys/types.h>
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

extern "C" {

WRAP(ssize_t, read, (int descriptor, void* buffer, size_t count)) {
    return fails({"read"}) ? -1 : real_read(descriptor, buffer, count);
}
WRAP(ssize_t, write, (int descriptor, const void* bytes, size_t count)) {
    const SystemCall call{"write", descriptor, {static_cast<const char*>(bytes), count}};
    return fails(call) ? -1 : real_write(descriptor, bytes, count);
}
WRAP(off_t, lseek, (int descriptor, off_t offset, int whence)) {
    return fails({"lseek"}) ? -1 : real_lseek(descriptor, offset, whence);
}
WRAP(int, fstat, (int descriptor, struct stat* info)) {
    return fails({"fstat"}) ? -1 : real_fstat(descriptor, info);
}
WRAP(int, stat, (const char* path, struct stat* info)) {
    return fails({"stat"}) ? -1 : real_stat(path, info);
}
WRAP(int, flock, (int descriptor, int operation)) {
    return fails({"flock"}) ? -1 : real_flock(descriptor, operation);
}
WRAP(int, ftruncate, (int descriptor, off_t size)) {
    return fails({"ftruncate"}) ? -1 : real_ftruncate(descriptor, size);
}
WRAP(int, fsync, (int descriptor)) { return fails({"fsync", descriptor}) ? -1 : real_fsync(descriptor); }
WRAP(int, syncfs, (int descriptor)) { return fails({"syncfs", descriptor}) ? -1 : real_syncfs(descriptor); }
WRAP(int, fchmod, (int descriptor, mode_t mode)) {
    return fails({"fchmod"}) ? -1 : real_fchmod(descriptor, mode);
}
WRAP(int, rename, (const char* from, const char* to)) {
    return fails({"rename"}) ? -1 : real_rename(from, to);
}
WRAP(int, unlink, (const char* path)) { return fails({"unlink"}) ? -1 : real_unlink(path); }

WRAP(int, open, (const char* path, int flags, ...)) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return fails({"open"}) ? -1 : real_open(path, flags, mode);
}
}
