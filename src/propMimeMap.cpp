#include "propMimeMap.h"

#include "com/runtime.h"
#include "directory/iis.h"
#include "dispUtils.h"
#include "xmlUtils.h"

#include <algorithm>

namespace {

constexpr const OLECHAR* mimeTypeTag = u"mimetype";

/// The pair of one live entry, read from the element at an index.
Status readLiveEntry(const VARIANT& array, LONG index, Bstr& extension, Bstr& mimeType) {
    Variant element;
    if (Status status = getArrayElement(array, index, element); status < 0) return reported(status);
    ComPtr<IISMimeType> entry;
    if (Status status = queryObject(element.get(), entry); status < 0) return reported(status);
    if (Status status = entry->get_Extension(extension.out()); status < 0) return reported(status);
    if (Status status = entry->get_MimeType(mimeType.out()); status < 0) return reported(status);
    return S_OK;
}

/// Pairs every live entry with one of the file's: 0, or 1 if one of them finds none.
Status pairEntries(const VARIANT& array, ArrayBounds bounds, std::vector<MimeMapEntry>& entries) {
    for (LONG i = bounds.lower; i <= bounds.upper; ++i) {
        Bstr extension;
        Bstr mimeType;
        if (Status status = readLiveEntry(array, i, extension, mimeType); status < 0) return status;
        const auto pair = std::ranges::find_if(entries, [&](const MimeMapEntry& entry) {
            return !entry.matched && equal(entry.extension, view(extension)) &&
                   equal(entry.mimeType, view(mimeType));
        });
        if (pair == entries.end()) {
            logPrintf(5, "MimeMap: Mime Type %S --> %S not in backup.\n", extension, mimeType);
            return 1;
        }
        pair->matched = true;
    }
    return 0;
}

Status makeEntry(IClassFactory& factory, const MimeMapEntry& entry, Variant& out) {
    void* made = nullptr;
    const Status creation = factory.CreateInstance(nullptr, IISMimeType::iid, &made);
    ComPtr<IISMimeType> mimeType;
    if (Status status = received(creation, made, mimeType); status < 0) return reported(status);
    if (Status status = mimeType->put_Extension(entry.extension); status < 0) return reported(status);
    if (Status status = mimeType->put_MimeType(entry.mimeType); status < 0) return reported(status);
    ComPtr<IDispatch> object;
    if (Status status = query(*mimeType, object); status < 0) return reported(status);
    out = Variant::ofDispatch(std::move(object));
    return S_OK;
}

Status makeArray(IClassFactory& factory, const std::vector<MimeMapEntry>& entries, Variant& out) {
    SafeArray array(entries.size());
    if (!array) return reported(E_UNEXPECTED);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Variant object;
        if (Status status = makeEntry(factory, entries[i], object); status < 0) return status;
        array[i] = object.detach();
    }
    out = Variant::ofArray(array.detach());
    return S_OK;
}

Status openFactory(ComPtr<IClassFactory>& factory) {
    void* found = nullptr;
    const Status status = CoGetClassObject(CLSID_MimeMap, CLSCTX_ALL, nullptr, IClassFactory::iid, &found);
    return received(status, found, factory);
}

/// Reports a value that isn't an array of one dimension.
Status checkMimeMap(const VARIANT& value, const OLECHAR* name, SourcePlace place = SourcePlace::current()) {
    if ((value.vt & VT_ARRAY) == 0) {
        reported(E_UNEXPECTED, place);
        errPrintf("%S property should be an array", name);
        return E_UNEXPECTED;
    }
    if (const UINT dimensions = SafeArrayGetDim(value.parray); dimensions != 1) {
        reported(E_UNEXPECTED, place);
        errPrintf("%S property has %d dimensions (expected 1)", name, dimensions);
        return E_UNEXPECTED;
    }
    return S_OK;
}

} // namespace

Status mimeMapParse(IXMLDOMNode& node, std::vector<MimeMapEntry>& entries) {
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
    if (Status status = checkMimeMap(value, u"MimeMap"); status < 0) return status;
    ArrayBounds bounds;
    if (Status status = getArrayBounds(value, bounds); status < 0) return reported(status);
    ComPtr<IXMLDOMNodeList> children;
    if (Status status = xmlGetChildNodes(*prop.element, children); status < 0) return reported(status);
    std::size_t length = 0;
    if (Status status = xmlGetLength(*children, length); status < 0) return reported(status);
    if (std::cmp_not_equal(length, std::int64_t{bounds.upper} - bounds.lower + 1)) return 1;
    if (length == 0) return 0;

    std::vector<MimeMapEntry> entries;
    if (Status status = mimeMapParse(*prop.element, entries); status < 0) return reported(status);
    return pairEntries(value, bounds, entries);
}

Status mimeMapPropSet(IADs& object, BackupProp& prop) {
    ComPtr<IClassFactory> factory;
    if (Status status = openFactory(factory); status < 0) return reported(status);
    Bstr path;
    if (Status status = object.get_ADsPath(path.out()); status < 0) return reported(status);
    errPrintf("Setting %S:%S property to <array>\n", path, prop.name);
    if (runSettings.dryRun) return S_OK;

    std::vector<MimeMapEntry> entries;
    if (Status status = mimeMapParse(*prop.element, entries); status < 0) return reported(status);
    Variant array;
    if (Status status = makeArray(*factory, entries, array); status < 0) return status;
    if (Status status = object.Put(prop.name, array.get()); status < 0) {
        reported(status);
        errPrintf("Put() for MimeMap property");
        return status;
    }
    if (Status status = object.SetInfo(); status < 0) return reported(status);
    return S_OK;
}

Status mimeMapPropPrint(bool, BackupProp&, const VARIANT&) { return S_OK; }

Status mimeMapPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited) {
    if (Status status = checkMimeMap(value, name); status < 0) return status;
    const int indent = level * 2 + 4;
    openProp(stream, indent, "prop", name, inherited);
    ArrayBounds bounds;
    if (Status status = getArrayBounds(value, bounds); status < 0) return reported(status);
    for (LONG i = bounds.lower; i <= bounds.upper; ++i) {
        Bstr extension;
        Bstr mimeType;
        if (Status status = readLiveEntry(value, i, extension, mimeType); status < 0) return status;
        outPrintf(stream, "%*s<%S %S=\"%S\" %S=\"%S\"/>\n", indent + 2, "", mimeTypeTag, extensionAttribute,
                  XmlAttributeText(extension), typeAttribute, XmlAttributeText(mimeType));
    }
    outPrintf(stream, "%*s</%s>\n", indent, "", "prop");
    return S_OK;
}
