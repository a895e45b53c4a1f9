// The walk over the children of a live object. Failures are reported at the caller's place, so that the stem
// in an "Error" line is the caller's.
#pragma once

#include "directory/childEnumerator.h"
#include "dispUtils.h"

/// Calls `visit(element)`, which returns a Status, for each child that an enumerator returns, in its order.
/// Returns 0 or the status of the first failure. A failed call of the enumerator is reported at the caller's
/// place; a failed visit has reported itself.
template <class Visit>
Status visitChildren(ChildEnumerator& children, Visit visit, SourcePlace place = SourcePlace::current()) {
    Variant element;
    Status status = children.next(element);
    for (; status == S_OK; status = children.next(element)) {
        status = visit(element);
        if (status < 0) return status;
    }
    return status < 0 ? reported(status, place) : S_OK;
}

/// Queries the object of an enumerator's element for IADs. A failure is reported, at the caller's place.
inline Status queryChild(const Variant& element, ComPtr<IADs>& child,
                         SourcePlace place = SourcePlace::current()) {
    const Status status = queryObject(element.get(), child);
    return status < 0 ? reported(status, place, "QI for IADs on child") : S_OK;
}
