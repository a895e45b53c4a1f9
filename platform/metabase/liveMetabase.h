// The live metabase: the tree, and the file that every change goes to first.
#pragma once

#include "changeLog.h"
#include "records.h"

/// Shared by all objects that are bound to it.
class Metabase final : public ComObject<IUnknown> {
public:
    /// The file of the server's metabase, in the working directory.
    static constexpr const char* fileName = "metabase.txt";

    /// Reads the metabase. A failure comes with a detail text (setStatusDetail), as everywhere here.
    static HRESULT open(ComPtr<Metabase>& metabase);

    const MetabaseTree& tree() const { return tree_; }

    /// Another number after each change.
    std::uint64_t revision() const { return revision_; }

    /// Changes: written to the file first, and only then made in the tree.
    HRESULT set(Node& node, std::span<const PendingValue> values);
    HRESULT create(Node& parent, std::u16string_view className, std::u16string_view name, Node*& created);
    HRESULT remove(Node& node);

    /// Brings the file into canonical form, if anything was changed.
    void close();

private:
    MetabaseFile file_{fileName};
    MetabaseText text_;
    MetabaseTree tree_;
    std::uint64_t revision_ = 1;
};

/// What stands ahead of a path in the tree, and of a class's name, in the paths by which the directory knows
/// objects and classes.
constexpr std::u16string_view adsRoot = u"IIS://";
constexpr std::u16string_view adsSchemaRoot = u"IIS://localhost/schema/";

/// The path by which the directory knows an object, or a class.
std::u16string adsPathOf(const Node& node);
std::u16string adsPathOf(const ClassDefinition& definition);

/// Leaves a detail text, wide text being narrowed as far as it goes, and returns the status.
HRESULT failWith(HRESULT status, std::u16string_view text);
