// Fault injection: lets any call that the program makes to the outside fail, without a trace in the program.
//
// The program reaches the outside in three ways, and a test stops it in three places:
//
//   the program calls                     what is between them                      written in
//   ------------------------------------  ----------------------------------------  ----------------------
//   a method of an object (IADs::GetEx,   a front: an object of the same            fronts.h,
//   IXMLDOMNode::get_text, a query)       interfaces that passes each call on to    fronts.cpp
//                                         the real object, its inner one
//   a free function of the platform       a wrapper: the linker (--wrap=NAME)       functionFaults.cpp
//   (ADsGetObject, VariantChangeType)     resolves calls of NAME to it
//   a call of the operating system        the same                                  systemCalls.cpp
//   (open, write, rename)
//
// While a FaultInjection lives, each object that the program gets (from ADsGetObject and CoCreateInstance,
// and then from other objects: a child, a node, a MIME entry) is a front, so that nothing of the outside
// reaches the program bare. Fronts and wrappers end in one function, intercept(), which
//
//   1. lets calls pass that the platform itself makes on the way of a call of the program,
//   2. counts the call, if it is of the kind that the FaultPlan names, and notes its name in the CallLog,
//   3. returns the planned status in place of the call whose turn it is.
//
// A sweep runs one scenario again and again: its first call fails, then its second one, and so on, to the
// last (sweepTest.cpp). Calls of the operating system are stopped in another way, as a test wants to kill the
// process or change a file at that moment: see systemCalls.h.
#pragma once

#include "automation/variant.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct FaultPlan {
    /// The calls that count, such as "IADs::get_Class" or, for a query of an object, "query IADs"; "*" for
    /// all.
    std::string call = {};
    /// Which of them fails, counted from 1; 0 for none. `lasting`: all after it fail, too.
    int number = 1;
    bool lasting = false;
    /// What the call returns. Without `made` it isn't made and delivers nothing. With `made` it is made, and
    /// the status takes the place of S_OK.
    HRESULT status = E_ACCESSDENIED;
    bool made = false;
    /// The last child of each enumeration comes together with S_FALSE.
    bool lastWithEnd = false;
    /// How many calls of the enumerator deliver no child before each child.
    int emptyAnswers = 0;
    /// The number of the enumeration, counted from 1, that lacks the first child; 0 for none. One without
    /// children can't lack it: a std::logic_error.
    int withoutFirstChild = 0;
    /// Called with the value of each property that is read, which it may change.
    std::function<void(const std::u16string& property, VARIANT& value)> onRead = {};
};

/// The calls of the program under a FaultInjection.
struct CallLog {
    /// The names of those that the plan counts, in their order.
    std::vector<std::string_view> counted;
    /// The first call that failed, and the call before it.
    std::string_view failed;
    std::string_view before;
};

/// While it lives, a plan is in force in this process. There is one at a time.
class FaultInjection {
public:
    explicit FaultInjection(const FaultPlan& plan);
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;
    ~FaultInjection();

    const CallLog& log() const;
};
