#include "propMimeMap.h"

#include "com/runtime.h"
#include "directory/iis.h"
#include "dispUtils.h"
#include "pairing.h"
#include "xmlUtils.h"

namespace {

/// Reads the two texts of the live entry at an index.
Status readLiveEntry(const VARIANT& array, LONG index, Bstr& extension, Bstr& mimeType) {
    Variant element;
    if (Status status = getArrayElement(array, index, element); status < 0) return reported(status);
    ComPtr<IISMimeType> entry;
    if (Status status = queryObject(element.get(), entry); status < 0) return reported(status);
    if (Status status = entry->get_Extension(extension.out()); status < 0) return reported(status);
    if (Status status = entry->get_MimeType(mimeType.out()); status < 0) return reported(status);
    return S_OK;
}

/// Pairs every live entry with an equal one of the file. Returns 0, 1 if there is none for one of them, or a
/// negative status.
Status pairEntries(const VARIANT& array, ArrayBounds bounds, std::vector<MimeMapEntry>& entries) {
    Pairing<MimeMapEntry, &MimeMapEntry::matched> pairing(entries);
    for (LONG i = bounds.lower; i <= bounds.upper; ++i) {
        Bstr extension;
        Bstr mimeType;
        if (Status status = readLiveEntry(array, i, extension, mimeType); status < 0) return status;
        if (!pairing.pair({view(extension), view(mimeType)})) {
            logPrintf(5, "MimeMap: Mime Type %S --> %S not in backup.\n", extension, mimeType);
            return comparedDifferent;
        }
    }
    return comparedSame;
}

Status createMimeType(IClassFactory& factory, ComPtr<IISMimeType>& mimeType) {
    void* created = nullptr;
    const Status status = factory.CreateInstance(nullptr, IISMimeType::iid, &created);
    return received(status, created, mimeType);
}

/// Creates the provider's object for an entry.
Status createEntry(IClassFactory& factory, const MimeMapEntry& entry, Variant& out) {
    ComPtr<IISMimeType> mimeType;
    if (Status status = createMimeType(factory, mimeType); status < 0) return reported(status);
    if (Status status = mimeType->put_Extension(entry.extension); status < 0) return reported(status);
    if (Status status = mimeType->put_MimeType(entry.mimeType); status < 0) return reported(status);
    ComPtr<IDispatch> object;
    if (Status status = query(*mimeType, object); status < 0) return reported(status);
    out = Variant::ofDispatch(std::move(object));
    return S_OK;
}

/// Creates the value of the property: an array of one object for each entry.
Status createArray(IClassFactory& factory, const std::vector<MimeMapEntry>& entries, Variant& out) {
    std::vector<Variant> objects(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (Status status = createEntry(factory, entries[i], objects[i]); status < 0) return status;
    }
    if (Status status = moveIntoArray(objects, out); status < 0) return reported(status);
    return S_OK;
}

Status getFactory(ComPtr<IClassFactory>& factory) {
    void* object = nullptr;
    const Status status = CoGetClassObject(CLSID_MimeMap, CLSCTX_ALL, nullptr, IClassFactory::iid, &object);
    return received(status, object, factory);
}

/// Reports, at the caller's place, a value that isn't an array of one dimension.
Status checkOneDimension(const VARIANT& value, const OLECHAR* name,
                         SourcePlace place = SourcePlace::current()) {
    if ((value.vt & VT_ARRAY) == 0)
        return reported(E_UNEXPECTED, place, "%S property should be an array", name);
    if (const UINT dimensions = SafeArrayGetDim(value.parray); dimensions != 1)
        return reported(E_UNEXPECTED, place, "%S property has %d dimensions (expected 1)", name, dimensions);
    return S_OK;
}

} // namespace

Status mimeMapParse(IXMLDOMNode& node, std::vector<MimeMapEntry>& entries) {
    entries.clear();
    ComPtr<IXMLDOMNodeList> children;
    if (Status status = xmlGetChildNodes(node, children); status < 0) return reported(status);
    std::size_t length = 0;
    if (Status status = xmlGetLength(*children, length); status < 0) return reported(status);

    std::vector<MimeMapEntry> parsed(length);
    for (MimeMapEntry& entry : parsed) {
        ComPtr<IXMLDOMNode> child;
        if (Status status = children->nextNode(child.out()); status < 0) return reported(status);
        if (!child) return reported(E_UNEXPECTED);
        if (Status status = xmlGetAttrOfNode(*child, extensionAttribute, entry.extension, u""); status < 0) {
            return reported(status);
        }
        if (Status status = xmlGetAttrOfNode(*child, typeAttribute, entry.mimeType, u""); status < 0) {
            return reported(status);
        }
    }
    entries = std::move(parsed);
    return S_OK;
}

Status mimeMapPropCmp(const VARIANT& value, BackupProp& prop) {
    if (Status status = checkOneDimension(value, u"MimeMap"); status < 0) return status;
    ArrayBounds bounds;
    if (Status status = getArrayBounds(value, bounds); status < 0) return reported(status);
    ComPtr<IXMLDOMNodeList> children;
    if (Status status = xmlGetChildNodes(*prop.element, children); status < 0) return reported(status);
    std::size_t length = 0;
    if (Status status = xmlGetLength(*children, length); status < 0) return reported(status);
    if (std::cmp_not_equal(length, std::int64_t{bounds.upper} - bounds.lower + 1)) return comparedDifferent;
    if (length == 0) return comparedSame;

    std::vector<MimeMapEntry> entries;
    if (Status status = mimeMapParse(*prop.element, entries); status < 0) return reported(status);
    return pairEntries(value, bounds, entries);
}

Status mimeMapPropSet(IADs& object, BackupProp& prop) {
    ComPtr<IClassFactory> factory;
    if (Status status = getFactory(factory); status < 0) return reported(status);
    Bstr path;
    if (Status status = object.get_ADsPath(path.out()); status < 0) return reported(status);
    errPrintf("Setting %S:%S property to <array>\n", path, prop.name);
    if (runSettings.dryRun) return S_OK;

    std::vector<MimeMapEntry> entries;
    if (Status status = mimeMapParse(*prop.element, entries); status < 0) return reported(status);
    Variant array;
    if (Status status = createArray(*factory, entries, array); status < 0) return status;
    if (Status status = object.Put(prop.name, array.get()); status < 0)
        return reported(status, "Put() for MimeMap property");
    if (Status status = object.SetInfo(); status < 0) return reported(status);
    return S_OK;
}

Status mimeMapPropPrint(bool, BackupProp&, const VARIANT&) { return S_OK; }

Status mimeMapPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited) {
    if (Status status = checkOneDimension(value, name); status < 0) return status;
    printPropStart(stream, level, propTag, name, inherited);
    ArrayBounds bounds;
    if (Status status = getArrayBounds(value, bounds); status < 0) return reported(status);
    for (LONG i = bounds.lower; i <= bounds.upper; ++i) {
        Bstr extension;
        Bstr mimeType;
        if (Status status = readLiveEntry(value, i, extension, mimeType); status < 0) return status;
        printMimeType(stream, level, extension, mimeType);
    }
    printPropEnd(stream, level, propTag);
    return S_OK;
}
