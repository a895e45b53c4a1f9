#include "propDefault.h"

#include "propPrint.h"

namespace {

constexpr StaticBstr emptyText(u"");
/// Escaped like any text, so that it isn't the element that unsupPropDump prints.
constexpr StaticBstr markerText(u"<unsupported/>");
constexpr StaticBstr trueText(u"true");
constexpr StaticBstr falseText(u"false");

/// Returns whether VariantChangeType is asked for the text of values of the type. It refuses VT_VARIANT and
/// VT_CLSID, which no value of this platform has; another one may convert them.
bool isConverted(VARTYPE type) {
    switch (type) {
    case VT_I2:
    case VT_I4:
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_ERROR:
    case VT_VARIANT:
    case VT_DECIMAL:
    case VT_I1:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
    case VT_HRESULT:
    case VT_CLSID: return true;
    default: return false;
    }
}

/// Prints the value's text and the end tag.
Status dumpValueAndEnd(const OLECHAR* name, VARIANT& value, OutStream& stream) {
    if (Status status = writeValueText(stream, value); status < 0)
        return reported(status, "Dumping property %S", name);
    printValueEnd(stream);
    return S_OK;
}

Status dumpSingle(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited) {
    printValueStart(stream, level, name, value.vt, inherited);
    return dumpValueAndEnd(name, value, stream);
}

Status dumpList(const OLECHAR* name, const VARIANT& array, ArrayBounds bounds, OutStream& stream, int level,
                bool inherited) {
    printPropStart(stream, level, propListTag, name, inherited);
    const auto dumpEntry = [&](Variant& element, LONG) {
        printEntryStart(stream, level, element.type());
        return dumpValueAndEnd(name, element.get(), stream);
    };
    if (Status status = visitElements(array, bounds, dumpEntry); status < 0) return status;
    printPropEnd(stream, level, propListTag);
    return S_OK;
}

} // namespace

Status defaultPropCmp(const VARIANT& value, BackupProp& prop) {
    if (Status status = backupPropParse(prop); status < 0) return reported(status);
    return cmpVariants(value, prop.value.get());
}

Status defaultPropSet(IADs& object, BackupProp& prop) {
    if (Status status = backupPropParse(prop); status < 0) return reported(status);
    Bstr path;
    if (Status status = object.get_ADsPath(path.out()); status < 0) return reported(status);
    errPrintf("Setting %S:%S property to ", path, prop.name);
    (void)printVariant(*runSettings.errStream, prop.value.get()); // The value is written all the same.
    errPrintf("\n");
    if (runSettings.dryRun) return S_OK;

    if (Status status = object.Put(prop.name, prop.value.get()); status < 0) return reported(status);
    if (Status status = object.SetInfo(); status < 0) return reported(status);
    return S_OK;
}

Status defaultPropPrint(bool useLive, BackupProp& prop, const VARIANT& live) {
    if (!useLive) {
        if (Status status = backupPropParse(prop); status < 0) return reported(status);
    }
    const Status status = printVariant(*runSettings.errStream, useLive ? live : prop.value.get());
    return status < 0 ? reported(status) : S_OK;
}

Status defaultPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited) {
    if ((value.vt & VT_ARRAY) == 0) return dumpSingle(name, value, stream, level, inherited);
    ArrayBounds bounds;
    if (Status status = getArrayBounds(value, bounds); status < 0) return reported(status);
    if (bounds.lower != bounds.upper) return dumpList(name, value, bounds, stream, level, inherited);
    Variant element;
    if (Status status = getArrayElement(value, bounds.lower, element); status < 0) return reported(status);
    return dumpSingle(name, element.get(), stream, level, inherited);
}

Status writeValueText(OutStream& stream, VARIANT& value) {
    BSTR text = markerText;
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) {
        text = emptyText;
    } else if (value.vt == VT_BOOL) {
        text = value.boolVal == VARIANT_TRUE ? trueText : falseText;
    } else if (isConverted(value.vt)) {
        if (Status status = VariantChangeType(&value, &value, 0, VT_BSTR); status < 0) return status;
        text = value.bstrVal;
    } else if (value.vt == VT_BSTR) {
        text = value.bstrVal;
    }
    return printXmlEscaped(stream, text != nullptr ? text : markerText);
}
