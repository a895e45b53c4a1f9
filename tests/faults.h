// Faults in the calls that the program makes to the outside: fronts before the provider and the document
// service pass every call on, as the linker's wrappers of the free functions do (see callWraps.cpp), but can
// let one fail.
#pragma once

#include "automation/variant.h"

#include <functional>
#include <string>

struct Faults {
    /// The call that fails, such as "IADs::get_Class" or, for a query of an object, "query IADs"; "*" for any
    /// call.
    std::string call;
    /// Which one of them, counted from 1, and whether all of them behind it fail as well.
    int number = 1;
    bool lasting = false;
    /// What it returns, without delivering anything; or, with `made`, in place of the S_OK of the call, which
    /// is made.
    HRESULT status = E_ACCESSDENIED;
    bool made = false;
    /// Has the last child come together with S_FALSE, and an answer without a child this often ahead of each.
    bool lastWithEnd = false;
    int idleAnswers = 0;
    /// Which enumeration, counted from 1, lacks the first child.
    int poorEnumeration = 0;
    /// What a read of a property gives in place of its value; the value is given and can be changed.
    std::function<void(const std::u16string& property, VARIANT& value)> onRead;
};

/// Puts the faults in front of the provider of "IIS:" paths, the document service and the free functions, for
/// the rest of the process.
void installFaults(const Faults& faults);

/// What the latest process with faults did: the number of calls of the kind that can fail, the first one that
/// failed and the one ahead of it.
struct CallLog {
    int calls;
    char failed[48];
    char before[48];
};
CallLog& callLog();
