#include "provider.h"

#include "com/runtime.h"
#include "directoryObject.h"
#include "os/file.h"
#include "os/print.h"
#include "os/reservedFile.h"
#include "schemaClass.h"
#include "valueObjects.h"

#include <cerrno>

namespace metabase {

namespace {

class IisProvider final : public ComObject<IADsProvider> {
public:
    HRESULT GetObject(const OLECHAR* path, const IID& wanted, void** object) override {
        *object = nullptr;
        if (!metabase_) {
            if (HRESULT status = LiveMetabase::open(metabase_); status < 0) return status;
        }
        const ObjectTree& tree = metabase_->tree();
        const std::u16string_view text = path;
        if (text.starts_with(adsSchemaRoot)) {
            const ClassDefinition* definition = tree.findClass(text.substr(adsSchemaRoot.size()));
            if (definition != nullptr)
                return makeObject<SchemaClass>(metabase_, *definition)->QueryInterface(wanted, object);
        } else if (text.starts_with(adsRoot)) {
            ObjectNode* node = tree.findObject(text.substr(adsRoot.size()));
            if (node != nullptr)
                return makeObject<DirectoryObject>(metabase_, *node)->QueryInterface(wanted, object);
        }
        return failWithDetail(E_ADS_UNKNOWN_OBJECT, std::u16string(text) + u" doesn't exist");
    }

    void close() {
        if (metabase_ && !metabase_->close()) {
            printTo(standardError(), "%s: can't be synchronised to the disk: %s\n", LiveMetabase::fileName,
                    errorText(errno));
        }
        metabase_.reset();
    }

private:
    /// Null while it isn't opened.
    ComPtr<LiveMetabase> metabase_;
    /// A backup must not overwrite the live metabase.
    ReservedFile reserved_{LiveMetabase::fileName};
};

IisProvider& provider() {
    static const ComPtr<IisProvider> instance = makeObject<IisProvider>();
    return *instance;
}

} // namespace

void registerIisProvider() {
    registerProvider(u"IIS:", provider());
    registerClass(CLSID_MimeMap, *makeObject<ClassFactory<MimeTypeObject>>());
    atUninitialize([] { provider().close(); });
}

} // namespace metabase
