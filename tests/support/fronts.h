// What the fronts and the wrappers share; see faults.h.
#pragma once

#include "com/unknown.h"
#include "tests/support/faults.h"

/// The plan in force.
const FaultPlan& faultPlan();

/// Whether calls are those of the program: a plan is in force, and no call to the outside is under way.
extern bool isProgramCalling;

/// Counts a call of the program. Returns whether it fails.
bool countCall(std::string_view name);

/// Makes a call to the outside, unless it is one that fails: then returns `failure`.
template <class Call>
auto intercept(std::string_view name, Call call, decltype(call()) failure) -> decltype(call()) {
    if (!isProgramCalling) return call();
    const bool fails = countCall(name);
    if (fails && !faultPlan().made) return failure;
    isProgramCalling = false;
    auto result = call();
    isProgramCalling = true;
    return fails && result == decltype(result){} ? failure : result;
}
template <class Call> HRESULT intercept(std::string_view name, Call call) {
    return intercept(name, call, faultPlan().status);
}

/// Replaces the object that a call handed out by a front of it, if a plan is in force. Returns the status.
HRESULT fronted(HRESULT status, const IID& wanted, void** object);

/// Begins the definition of the function that the linker resolves calls of `function` to; its body follows.
/// The function itself is real_NAME there. The test program is linked with --wrap=NAME.
#define WRAP(Result, function, parameters)                                                                   \
    Result real_##function parameters asm("__real_" #function);                                              \
    Result wrapped_##function parameters asm("__wrap_" #function);                                           \
    Result wrapped_##function parameters
