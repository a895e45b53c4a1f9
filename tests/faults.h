// A provider in front of the one that is registered: it passes every call on, but can let one of them fail.
#pragma once

#include "platform/automation/variant.h"

#include <functional>
#include <string>

struct Faults {
    /// The call that fails, such as "IADs::get_Class" or, for a query of an object, "query IADs".
    std::string call;
    /// Which one of them, counted from 1.
    int number = 1;
    /// What it returns, without delivering anything.
    HRESULT status = E_ACCESSDENIED;
    /// Has the last child come together with S_FALSE, and an answer without a child this often ahead of each.
    bool lastWithEnd = false;
    int idleAnswers = 0;
    /// Which enumeration, counted from 1, lacks the first child.
    int poorEnumeration = 0;
    /// What a read of a property gives in place of its value; the value is given and can be changed.
    std::function<void(const std::u16string& property, VARIANT& value)> onRead;
};

/// Puts the faults in front of the provider of "IIS:" paths.
void installFaults(const Faults& faults);
