// The program's calls of the operating system, at one of which a test does something: it fails the call,
// kills the process, or changes a file as another process would. See faults.h for how the calls come here.
#pragma once

#include <functional>
#include <string_view>

/// A call that is about to be made.
struct SystemCall {
    std::string_view name;
    /// Of a write or a sync: where; of a write: what.
    int descriptor = -1;
    std::string_view bytes = {};
};

/// What a test does before a call. Returns 0 to have the call made, or the error number with which it
/// fails.
using SystemCallAction = std::function<int(const SystemCall&)>;

/// While it lives, `act` is called before the call of this number, counted from 1, and before all later ones
/// if `lasting`. Calls that `act` itself makes don't count. There is one at a time.
class SystemCallStop {
public:
    SystemCallStop(int number, SystemCallAction act, bool lasting = false);
    SystemCallStop(const SystemCallStop&) = delete;
    SystemCallStop& operator=(const SystemCallStop&) = delete;
    ~SystemCallStop();
};
