#include "directory/childEnumerator.h"

HRESULT ChildEnumerator::build(IADsContainer& container) {
    (void)free(); // The status belongs to the walk before this one.
    ended_ = false;
    const HRESULT status = ADsBuildEnumerator(&container, &enumerator_);
    return status >= 0 && enumerator_ == nullptr ? E_UNEXPECTED : status;
}

HRESULT ChildEnumerator::next(Variant& child) {
    constexpr int maxTries = 1000;
    for (int tries = 0; tries < maxTries && !ended_; ++tries) {
        ULONG fetched = 0;
        const HRESULT status = ADsEnumerateNext(enumerator_, 1, child.out(), &fetched);
        if (status < 0) return status;
        ended_ = status == S_FALSE;
        if (fetched == 1) return S_OK;
    }
    child.reset();
    return ended_ ? S_FALSE : E_UNEXPECTED;
}

HRESULT ChildEnumerator::free() {
    return enumerator_ == nullptr ? S_OK : ADsFreeEnumerator(std::exchange(enumerator_, nullptr));
}
