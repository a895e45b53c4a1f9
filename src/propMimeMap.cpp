#include "propMimeMap.h"

#include "com/runtime.h"
#include "directory/iis.h"
#include "dispUtils.h"
#include "propPrint.h"
#include "xmlUtils.h"

#include <set>

namespace {

/// Reads the two texts of a live entry.
Status readLiveEntry(const Variant& element, Bstr& extension, Bstr& mimeType) {
    ComPtr<IISMimeType> entry;
    if (Status status = queryObject(element.get(), entry); status < 0) return reported(status);
    if (Status status = entry->get_Extension(extension.out()); status < 0) return reported(status);
    if (Status status = entry->get_MimeType(mimeType.out()); status < 0) return reported(status);
    return S_OK;
}

/// Pairs every live entry with an equal one of the file. Returns 0, 1 if there is none for one of them, or a
/// negative status.
Status pairEntries(const VARIANT& array, ArrayBounds bounds, const std::vector<MimeMapEntry>& entries) {
    std::multiset<std::pair<std::u16string_view, std::u16string_view>> left;
    for (const MimeMapEntry& entry : entries) left.emplace(view(entry.extension), view(entry.mimeType));
    return visitElements(array, bounds, [&](const Variant& element, LONG) {
        Bstr extension;
        Bstr mimeType;
        if (Status status = readLiveEntry(element, extension, mimeType); status < 0) return status;
        const auto found = left.find({view(extension), view(mimeType)});
        if (found == left.end()) {
            logPrintf(5, "MimeMap: Mime Type %S --> %S not in backup.\n", extension, mimeType);
            return comparedDifferent;
        }
        left.erase(found);
        return comparedSame;
    });
}

/// Creates the provider's object for an entry.
Status createEntry(IClassFactory& factory, const MimeMapEntry& entry, Variant& out) {
    ComPtr<IISMimeType> mimeType;
    const auto create = [&](void** created) {
        return factory.CreateInstance(nullptr, IISMimeType::iid, created);
    };
    if (Status status = receive(mimeType, create); status < 0) return reported(status);
    if (Status status = mimeType->put_Extension(entry.extension); status < 0) return reported(status);
    if (Status status = mimeType->put_MimeType(entry.mimeType); status < 0) return reported(status);
    ComPtr<IDispatch> object;
    if (Status status = query(*mimeType, object); status < 0) return reported(status);
    out = Variant::ofDispatch(std::move(object));
    return S_OK;
}

/// Creates the value of the property: an array of one object for each entry.
Status createArray(IClassFactory& factory, const std::vector<MimeMapEntry>& entries, Variant& out) {
    std::vector<Variant> objects;
    for (const MimeMapEntry& entry : entries) {
        if (Status status = createEntry(factory, entry, objects.emplace_back()); status < 0) return status;
    }
    if (Status status = moveIntoArray(objects, out); status < 0) return reported(status);
    return S_OK;
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
        if (Status status = xmlNextNode(*children, child); status < 0) return reported(status);
        if (Status status = xmlGetAttrOfNode(*child, extensionAttribute, entry.extension); status < 0)
            return reported(status);
        if (Status status = xmlGetAttrOfNode(*child, typeAttribute, entry.mimeType); status < 0)
            return reported(status);
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
    ComPtr<IClassFactory> factory; // Got in a dry run, too: its failure ends both.
    const auto get = [](void** out) {
        return CoGetClassObject(CLSID_MimeMap, CLSCTX_ALL, nullptr, IClassFactory::iid, out);
    };
    if (Status status = receive(factory, get); status < 0) return reported(status);
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
    const auto dumpEntry = [&](const Variant& element, LONG) {
        Bstr extension;
        Bstr mimeType;
        const Status status = readLiveEntry(element, extension, mimeType);
        if (status == S_OK) printMimeType(stream, level, extension, mimeType);
        return status;
    };
    if (Status status = visitElements(value, bounds, dumpEntry); status < 0) return status;
    printPropEnd(stream, level, propTag);
    return S_OK;
}
