#include "schemaClass.h"

#include "automation/callResults.h"
#include "automation/variantArray.h"

namespace metabase {

HRESULT SchemaClass::get_Name(BSTR* name) { return returnCopy(definition_.name, name); }
HRESULT SchemaClass::get_Class(BSTR* className) { return returnCopy(u"Class", className); }
HRESULT SchemaClass::get_ADsPath(BSTR* path) { return returnCopy(adsPathOf(definition_), path); }
HRESULT SchemaClass::get_Parent(BSTR* path) { return returnNotImplemented(path); }
HRESULT SchemaClass::get_Schema(BSTR* path) { return returnNotImplemented(path); }
HRESULT SchemaClass::SetInfo() { return E_NOTIMPL; }
HRESULT SchemaClass::Get(BSTR, VARIANT* value) { return returnNotImplemented(value); }
HRESULT SchemaClass::Put(BSTR, const VARIANT&) { return E_NOTIMPL; }
HRESULT SchemaClass::GetEx(BSTR, VARIANT* value) { return returnNotImplemented(value); }

HRESULT SchemaClass::get_MandatoryProperties(VARIANT* names) {
    return returnNames(definition_.mandatory, names);
}
HRESULT SchemaClass::get_OptionalProperties(VARIANT* names) {
    return returnNames(definition_.optional, names);
}

HRESULT SchemaClass::returnNames(const std::vector<PropertyId>& properties, VARIANT* names) const {
    std::vector<Variant> elements;
    elements.reserve(properties.size());
    for (const PropertyId property : properties)
        elements.push_back(Variant::ofString(Bstr(metabase_->tree().properties()[property].name)));
    *names = arrayOf(std::move(elements)).detach();
    return S_OK;
}

} // namespace metabase
