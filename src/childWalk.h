// The walk over the children of a live object. Failures are reported at the caller's place, so that the stem
// in an "Error" line is the caller's.
#pragma once

#include "directory/childEnumerator.h"
#include "dispUtils.h"

/// Builds `children` over a container and calls `visit(element)`, which returns a Status, for each child in
/// the order of the enumerator. Returns 0 or the status of the first failure. A failed call of the enumerator
/// is reported at the caller's place; a failed visit has reported itself. The caller owns the enumerator, so
/// that it can use the result of freeing it.
template <class Visit>
Status visitChildren(ChildEnumerator& children, IADsContainer& container, Visit visit,
                     SourcePlace place = SourcePlace::current()) {
    Status status = children.build(container);
    if (status < 0) return reported(status, place);
    Variant element;
    for (status = children.next(element); status == S_OK; status = children.next(element)) {
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
