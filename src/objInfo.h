// The object class table: whether and how a restore creates and deletes objects of a class.
#pragma once

#include "directory/adsi.h"
#include "skeinKeep.h"

/// Creates an object under `parent`. `newObject` is set on success only. Returns 0 or a negative status.
using CreateFn = Status (*)(IADs& parent, BSTR className, BSTR objectName, ComPtr<IADs>& newObject);
/// Deletes an object with all objects below it. Returns 0 or a negative status; what was deleted before a
/// failure stays deleted. The caller keeps its reference.
using DeleteFn = Status (*)(IADs& object);

/// Tested nowhere: rows with this flag have no functions.
constexpr std::uint32_t objFlagUnsupported = 1;
constexpr std::uint32_t objFlagNoCreate = 2;
constexpr std::uint32_t objFlagNoDelete = 4;

/// A row of the object class table. A null function means that the class can't be created or deleted.
struct ObjInfo {
    const OLECHAR* name;
    std::uint32_t flags;
    CreateFn createFn;
    DeleteFn deleteFn;

    bool isCreatable() const { return (flags & objFlagNoCreate) == 0 && createFn != nullptr; }
    bool isDeletable() const { return (flags & objFlagNoDelete) == 0 && deleteFn != nullptr; }
};

/// Finds the row of a class. Returns 0 with the row, or 1 with the default row if the table lacks the class:
/// objects of such a class are never created, and a restore that finds one among the live children fails.
/// Never fails.
Status findObjInfo(std::u16string_view className, const ObjInfo*& row);
