// Lists of nodes as objects.
#pragma once

#include "domNode.h"

#include <optional>

namespace xml {

/// The children of a node, or those of them that are elements with one tag.
class DomNodeList final : public NamelessObject<IXMLDOMNodeList> {
public:
    /// Without a tag all children are listed; with NameTable::none, for a tag that the document lacks, none.
    DomNodeList(ComPtr<SharedTree> shared, NodeIndex parent,
                std::optional<NameTable::Number> tag = std::nullopt);

    HRESULT get_length(LONG* length) override;
    HRESULT nextNode(IXMLDOMNode** node) override;

private:
    /// The first listed child from `child` on, and the first one after `child`; end_ if there is none.
    NodeIndex listedFrom(NodeIndex child) const;
    NodeIndex listedAfter(NodeIndex child) const;

    ComPtr<SharedTree> shared_;
    NodeIndex end_;
    std::optional<NameTable::Number> tag_;
    NodeIndex first_;
    NodeIndex next_;
};

/// The attributes of an element.
class DomAttributes final : public NamelessObject<IXMLDOMNamedNodeMap> {
public:
    DomAttributes(ComPtr<SharedTree> shared, NodeIndex element);

    HRESULT get_length(LONG* length) override;
    HRESULT get_item(LONG index, IXMLDOMNode** attribute) override;

private:
    ComPtr<SharedTree> shared_;
    NodeIndex first_;
    NodeIndex end_;
};

} // namespace xml
