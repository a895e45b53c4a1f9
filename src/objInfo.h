// The object class table: what a restore may do to an object of a class, and how.
#pragma once

#include "directory/adsi.h"
#include "skeinKeep.h"

/// Creates an object under `parent`. `newObject` is set on success only.
using CreateFn = Status (*)(IADs& parent, BSTR className, BSTR objectName, ComPtr<IADs>& newObject);
/// Deletes an object with all that lies below it. Children deleted before a failure stay deleted.
using DeleteFn = Status (*)(IADs& object);

constexpr std::uint32_t objFlagUnsupported = 1;
constexpr std::uint32_t objFlagNoCreate = 2;
constexpr std::uint32_t objFlagNoDelete = 4;

/// A row of the object class table. A function may be null.
struct ObjInfo {
    const OLECHAR* name;
    std::uint32_t flags;
    CreateFn createFn;
    DeleteFn deleteFn;

    bool isCreatable() const { return (flags & objFlagNoCreate) == 0 && createFn != nullptr; }
    bool isDeletable() const { return (flags & objFlagNoDelete) == 0 && deleteFn != nullptr; }
};

/// 0 with the row of a class; 1 with the default row, which can't be created, for a class that the table
/// lacks. It can't fail.
Status findObjInfo(std::u16string_view className, const ObjInfo*& row);
