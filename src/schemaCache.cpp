#include "schemaCache.h"

#include "dispUtils.h"

#include <algorithm>

namespace {

/// One of the two lists of the schema, not yet converted to names.
struct NameList {
    Variant names;
    ArrayBounds bounds;

    std::size_t size() const {
        return static_cast<std::size_t>(std::int64_t{bounds.upper} - bounds.lower + 1);
    }
};

/// Appends the names of a list, without empty ones, to the `count` names in `store`.
Status appendNames(const NameList& list, Bstr* store, std::int32_t& count) {
    return visitElements(list.names.get(), list.bounds, [&](Variant& name, LONG) {
        if (Status status = VariantChangeType(&name.get(), &name.get(), 0, VT_BSTR); status < 0)
            return reported(status);
        if (SysStringLen(name->bstrVal) > 0) store[count++] = Bstr(view(name->bstrVal));
        return S_OK;
    });
}

/// Reads the names of the class unless that has been done.
Status classSchemaLoad(ClassSchema& entry) {
    if (entry.nameStore) return S_OK;
    ComPtr<IADsClass> schemaClass;
    if (Status status = bindObject(entry.schemaPath, schemaClass); status < 0) return reported(status);

    NameList mandatory;
    if (Status status = schemaClass->get_MandatoryProperties(mandatory.names.out()); status < 0) {
        return reported(status);
    }
    if (Status status = getArrayBounds(mandatory.names.get(), mandatory.bounds); status < 0)
        return reported(status);
    NameList optional;
    if (Status status = schemaClass->get_OptionalProperties(optional.names.out()); status < 0)
        return reported(status);
    if (Status status = getArrayBounds(optional.names.get(), optional.bounds); status < 0)
        return reported(status);

    // A failed load leaves the entry as it was: it counts as loaded only with all names.
    auto nameStore = std::make_unique<Bstr[]>(mandatory.size() + optional.size());
    std::int32_t count = 0;
    if (Status status = appendNames(mandatory, nameStore.get(), count); status < 0) return status;
    if (Status status = appendNames(optional, nameStore.get(), count); status < 0) return status;
    entry.names = std::make_unique<BSTR[]>(static_cast<std::size_t>(count));
    std::transform(nameStore.get(), nameStore.get() + count, entry.names.get(),
                   [](const Bstr& name) { return name.get(); });
    entry.nameStore = std::move(nameStore);
    entry.count = count;
    return S_OK;
}

/// Returns the entry of a schema path, or null. A server has few classes: they are compared one by one.
ClassSchema* findEntry(const SchemaCache& cache, BSTR schemaPath) {
    ClassSchema* entry = cache.newest.get();
    while (entry != nullptr &&
           VarBstrCmp(entry->schemaPath, schemaPath, LOCALE_USER_DEFAULT, 0) != VARCMP_EQ) {
        entry = entry->next.get();
    }
    return entry;
}

} // namespace

SchemaCache::~SchemaCache() { schemaCacheDestroy(*this); }

void schemaCacheDestroy(SchemaCache& cache) {
    while (cache.newest) cache.newest = std::move(cache.newest->next);
}

Status getClassSchema(SchemaCache& cache, IADs& object, std::span<const BSTR>& names) {
    Bstr schemaPath;
    if (Status status = object.get_Schema(schemaPath.out()); status < 0) return reported(status);
    ClassSchema* entry = findEntry(cache, schemaPath);
    if (entry == nullptr) {
        auto added = std::make_unique<ClassSchema>();
        added->schemaPath = std::move(schemaPath);
        added->next = std::move(cache.newest);
        cache.newest = std::move(added);
        entry = cache.newest.get();
    }
    if (Status status = classSchemaLoad(*entry); status < 0) return reported(status);
    names = {entry->names.get(), static_cast<std::size_t>(entry->count)};
    return S_OK;
}
