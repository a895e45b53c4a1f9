// The walk over the children of a live object. It reports at its caller's place and has no stem of its own.
#pragma once

#include "platform/metabase/childEnumerator.h"
#include "src/dispUtils.h"

/// Builds `children` over a container and calls `visit(element)`, a Status, for each child in the order of
/// the enumerator. Returns 0, or the first failure: of the enumerator, reported at the caller's place, or of
/// a visit, which has reported it. The enumerator stays the caller's, who may want the result of freeing it.
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
