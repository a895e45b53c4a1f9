// The enumeration of an object's children.
#pragma once

#include "directory/adsi.h"

/// Owns one enumerator, or none.
class ChildEnumerator {
public:
    ChildEnumerator() = default;
    ChildEnumerator(const ChildEnumerator&) = delete;
    ChildEnumerator& operator=(const ChildEnumerator&) = delete;
    ~ChildEnumerator() { (void)free(); } // A caller that needs the status calls free.

    /// Frees the enumerator and builds one that starts at the first child of `container`. Statuses as of
    /// ADsBuildEnumerator; a success without an enumerator is E_UNEXPECTED.
    HRESULT build(IADsContainer& container);
    /// Returns the next child in `child`: S_OK; S_FALSE if there are no more; or a failure of the enumerator.
    /// An enumerator that a thousand times in a row returns neither a child nor the end is E_UNEXPECTED.
    HRESULT next(Variant& child);
    /// Frees the enumerator before the end of its owner, and returns the status of ADsFreeEnumerator.
    HRESULT free();

private:
    IEnumVARIANT* enumerator_ = nullptr;
    bool ended_ = false;
};
