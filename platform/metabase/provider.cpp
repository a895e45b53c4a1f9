#include "provider.h"

#include "automation/safearray.h"
#include "com/runtime.h"
#include "directoryObject.h"
#include "os/reservedFile.h"
#include "valueObjects.h"

namespace {

constexpr const OLECHAR* prefix = u"IIS:";

/// A class of the schema. Of an object's calls it answers those that tell what it is.
class SchemaClass final : public NamelessObject<IADsClass> {
public:
    SchemaClass(const ComPtr<Metabase>& metabase, const ClassDefinition& definition)
        : metabase_(metabase), definition_(definition) {}

    HRESULT get_Name(BSTR* name) override { return give(definition_.name, name); }
    HRESULT get_Class(BSTR* className) override { return give(u"Class", className); }
    HRESULT get_ADsPath(BSTR* path) override { return give(adsPathOf(definition_), path); }
    HRESULT get_Parent(BSTR* path) override { return nothing(path); }
    HRESULT get_Schema(BSTR* path) override { return nothing(path); }
    HRESULT SetInfo() override { return E_NOTIMPL; }
    HRESULT Get(BSTR, VARIANT* value) override { return nothing(value); }
    HRESULT Put(BSTR, const VARIANT&) override { return E_NOTIMPL; }
    HRESULT GetEx(BSTR, VARIANT* value) override { return nothing(value); }

    HRESULT get_MandatoryProperties(VARIANT* names) override { return give(definition_.mandatory, names); }
    HRESULT get_OptionalProperties(VARIANT* names) override { return give(definition_.optional, names); }

private:
    static HRESULT give(std::u16string_view text, BSTR* out) {
        *out = Bstr(text).detach();
        return S_OK;
    }
    static HRESULT nothing(BSTR* text) {
        *text = nullptr;
        return E_NOTIMPL;
    }
    static HRESULT nothing(VARIANT* value) {
        VariantInit(value);
        return E_NOTIMPL;
    }
    HRESULT give(const std::vector<PropertyId>& properties, VARIANT* names) const {
        std::vector<Variant> elements;
        elements.reserve(properties.size());
        for (const PropertyId property : properties) {
            elements.push_back(Variant::ofString(Bstr(metabase_->tree().properties()[property].name)));
        }
        *names = arrayOf(elements).detach();
        return S_OK;
    }

    ComPtr<Metabase> metabase_;
    const ClassDefinition& definition_;
};

class Provider final : public ComObject<IADsProvider> {
public:
    HRESULT GetObject(const OLECHAR* path, const IID& wanted, void** object) override {
        *object = nullptr;
        const std::u16string_view whole = path;
        if (!metabase_) {
            if (HRESULT status = Metabase::open(metabase_); status < 0) return status;
        }
        const MetabaseTree& tree = metabase_->tree();
        if (whole.starts_with(adsSchemaRoot)) {
            const ClassDefinition* definition = tree.findClass(whole.substr(adsSchemaRoot.size()));
            if (definition != nullptr) {
                return makeObject<SchemaClass>(metabase_, *definition)->QueryInterface(wanted, object);
            }
        } else if (whole.starts_with(adsRoot)) {
            Node* node = tree.find(whole.substr(adsRoot.size()));
            if (node != nullptr) {
                return makeObject<MetabaseObject>(metabase_, *node)->QueryInterface(wanted, object);
            }
        }
        return failWith(E_ADS_UNKNOWN_OBJECT, std::u16string(path) + u" doesn't exist");
    }

    void close() {
        if (metabase_) metabase_->close();
        metabase_.reset();
    }

private:
    ComPtr<Metabase> metabase_;
    /// A backup must not overwrite the live metabase.
    ReservedFile reserved_{Metabase::fileName};
};

Provider& provider() {
    static const ComPtr<Provider> instance = makeObject<Provider>();
    return *instance;
}

} // namespace

void registerMetabaseProvider() {
    registerProvider(prefix, provider());
    registerClass(CLSID_MimeMap, *makeObject<ClassFactory<MimeType>>());
    atUninitialize([] { provider().close(); });
}

ComPtr<IADsProvider> metabaseProvider() { return ComPtr<IADsProvider>(&provider()); }
