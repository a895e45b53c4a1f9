// The property names of each class, read from the schema once in a run.
#pragma once

#include "automation/bstr.h"
#include "directory/adsi.h"
#include "skeinKeep.h"

#include <memory>
#include <span>

/// The property names of one class.
struct ClassSchema {
    std::unique_ptr<ClassSchema> next;
    /// Identifies the class.
    Bstr schemaPath;
    /// Number of names, -1 until they are loaded.
    std::int32_t count = -1;
    /// The array for callers: the strings of `nameStore`, borrowed.
    std::unique_ptr<BSTR[]> names;
    /// Owns the strings. Null until all names are loaded; not null for a class without names.
    std::unique_ptr<Bstr[]> nameStore;
};

/// A list of class schemas, the newest first. Entries are freed with the cache only.
struct SchemaCache {
    SchemaCache() = default;
    SchemaCache(const SchemaCache&) = delete;
    SchemaCache& operator=(const SchemaCache&) = delete;
    ~SchemaCache();

    std::unique_ptr<ClassSchema> newest;
};

/// Frees all entries, and with them the names that callers borrow.
void schemaCacheDestroy(SchemaCache& cache);

/// Gets the property names of an object's class: the mandatory ones, then the optional ones, each in the
/// order of the schema, without empty ones. A name that is in both lists comes twice. Returns 0 or a negative
/// status. The caller borrows the names until schemaCacheDestroy.
Status getClassSchema(SchemaCache& cache, IADs& object, std::span<const BSTR>& names);
