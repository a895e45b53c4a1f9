// A class of the metabase's schema, as the directory shows it.
#pragma once

#include "directory/adsi.h"
#include "liveMetabase.h"

namespace metabase {

/// Of the calls of IADs it implements the name, the class and the path; the others return E_NOTIMPL.
class SchemaClass final : public NamelessObject<IADsClass> {
public:
    SchemaClass(const ComPtr<LiveMetabase>& metabase, const ClassDefinition& definition)
        : metabase_(metabase), definition_(definition) {}

    HRESULT get_Name(BSTR* name) override;
    HRESULT get_Class(BSTR* className) override;
    HRESULT get_ADsPath(BSTR* path) override;
    HRESULT get_Parent(BSTR* path) override;
    HRESULT get_Schema(BSTR* path) override;
    HRESULT SetInfo() override;
    HRESULT Get(BSTR name, VARIANT* value) override;
    HRESULT Put(BSTR name, const VARIANT& value) override;
    HRESULT GetEx(BSTR name, VARIANT* value) override;

    HRESULT get_MandatoryProperties(VARIANT* names) override;
    HRESULT get_OptionalProperties(VARIANT* names) override;

private:
    HRESULT returnNames(const std::vector<PropertyId>& properties, VARIANT* names) const;

    ComPtr<LiveMetabase> metabase_;
    const ClassDefinition& definition_;
};

} // namespace metabase
