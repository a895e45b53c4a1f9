// The property names of each class, read from the schema once a run.
#pragma once

#include "automation/bstr.h"
#include "directory/adsi.h"
#include "skeinKeep.h"

#include <memory>
#include <span>

/// The names of one class, told by its schema path.
struct ClassSchema {
    std::unique_ptr<ClassSchema> next;
    Bstr schemaPath;
    /// Number of names, -1 until they are loaded.
    std::int32_t count = -1;
    /// What callers get: the strings of `nameStore`.
    std::unique_ptr<BSTR[]> names;
    /// Owns the strings. Present exactly in a loaded entry, also where there are no names.
    std::unique_ptr<Bstr[]> nameStore;
};

/// A list of classes, the newest first. Entries stay until the cache goes.
struct SchemaCache {
    SchemaCache() = default;
    SchemaCache(const SchemaCache&) = delete;
    SchemaCache& operator=(const SchemaCache&) = delete;
    ~SchemaCache();

    std::unique_ptr<ClassSchema> head;
};

/// The property names of an object's class: the mandatory ones, then the optional ones, as the schema lists
/// them, without empty ones. A name that is in both lists comes twice. The names stay the cache's, and last
/// as long.
Status getClassSchema(SchemaCache& cache, IADs& object, std::span<const BSTR>& names);
