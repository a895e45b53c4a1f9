// The live metabase: the tree, and the file that every change is written to first.
#pragma once

#include "com/unknown.h"
#include "metabaseFile.h"
#include "records.h"

namespace metabase {

/// Shared by all objects that are bound to it. Every failure has a detail text (setStatusDetail).
class LiveMetabase final : public ComObject<IUnknown> {
public:
    /// The file of the server's metabase, in the working directory.
    static constexpr const char* fileName = "metabase.txt";

    /// Reads the metabase into `opened`. Statuses as of MetabaseFile::readSnapshot, and
    /// HRESULT_FROM_WIN32(ERROR_INVALID_DATA) for a text that can't be parsed.
    static HRESULT open(ComPtr<LiveMetabase>& opened);

    const ObjectTree& tree() const { return tree_; }

    /// Changes: each is appended to the file, and then made in the tree. Statuses as of MetabaseFile::append;
    /// if it fails the tree stays as it is.
    HRESULT set(ObjectNode& node, std::span<const PendingValue> values);
    /// Also E_ADS_SCHEMA_VIOLATION for an unknown class, E_ADS_OBJECT_EXISTS, and E_ADS_BAD_PATHNAME for a
    /// name that `parent` can't get.
    HRESULT create(ObjectNode& parent, std::u16string_view className, std::u16string_view name,
                   ObjectNode*& created);
    /// Removes an object and all below it. Also E_ADS_BAD_PATHNAME for the topmost object.
    HRESULT remove(ObjectNode& node);

    /// Replaces the file by the canonical text of the tree, if anything was changed. False, with errno set,
    /// if the changes can't be synced to the disk.
    bool close();

private:
    MetabaseFile file_{fileName};
    /// The values in the tree are parts of its text.
    Snapshot snapshot_;
    MetabaseText text_;
    ObjectTree tree_;
};

/// The path of an object in the directory is this and its path in the tree.
constexpr std::u16string_view adsRoot = u"IIS://";
/// The path of a class in the directory is this and its name.
constexpr std::u16string_view adsSchemaRoot = u"IIS://localhost/schema/";

std::u16string adsPathOf(const ObjectNode& node);
std::u16string adsPathOf(const ClassDefinition& definition);

/// Sets the detail text of a failure (setStatusDetail), a unit above 255 becoming a question mark, and
/// returns `status`.
HRESULT failWithDetail(HRESULT status, std::u16string_view text);

} // namespace metabase
