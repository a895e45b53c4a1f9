// The walk over an object's children.
#pragma once

#include "directory/adsi.h"

/// The one owner of an enumerator.
class ChildEnumerator {
public:
    ChildEnumerator() = default;
    ChildEnumerator(const ChildEnumerator&) = delete;
    ChildEnumerator& operator=(const ChildEnumerator&) = delete;
    ~ChildEnumerator() { free(); }

    /// Starts at the first child of a container; what was enumerated before is let go.
    HRESULT build(IADsContainer& container);
    /// S_OK with the next child in `child`, S_FALSE when there are no more, or a failure: an enumerator that
    /// gives nothing and doesn't end, a thousand times in a row, is E_UNEXPECTED.
    HRESULT next(Variant& child);
    /// Lets the enumerator go ahead of the end of its owner, for who wants the status of that.
    HRESULT free();

private:
    IEnumVARIANT* enumerator_ = nullptr;
    bool ended_ = false;
};
