// The program's calls of the operating system, one of which can be stopped at. The linker has them come here.
#pragma once

#include <functional>
#include <string_view>

/// One call, not yet made.
struct SystemCall {
    std::string_view name;
    /// What a write is to write, and where.
    int descriptor = -1;
    std::string_view bytes = {};
};

/// From here on has `act` called ahead of the call of this number, counted from 1, and of those behind it if
/// `lasting`. It returns 0 to let the call be made, or the error number with which it fails. Nothing is
/// counted while it runs.
void atSystemCall(int number, std::function<int(const SystemCall&)> act, bool lasting = false);
