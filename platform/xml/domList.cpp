#include "domList.h"

namespace xml {

DomNodeList::DomNodeList(ComPtr<SharedTree> shared, NodeIndex parent, std::optional<NameTable::Number> tag)
    : shared_(std::move(shared)), end_(shared_->tree.subtreeEnd(parent)), tag_(tag),
      first_(listedFrom(shared_->tree.firstChild(parent))), next_(first_) {}

NodeIndex DomNodeList::listedFrom(NodeIndex child) const {
    const DocumentTree& tree = shared_->tree;
    while (child < end_ && tag_ && !tree.isElement(child, *tag_)) child = tree.nextChild(child, end_);
    return child;
}

NodeIndex DomNodeList::listedAfter(NodeIndex child) const {
    return listedFrom(shared_->tree.nextChild(child, end_));
}

HRESULT DomNodeList::get_length(LONG* length) {
    *length = 0;
    for (NodeIndex child = first_; child < end_; child = listedAfter(child)) ++*length;
    return S_OK;
}

HRESULT DomNodeList::nextNode(IXMLDOMNode** node) {
    const HRESULT status = returnNode(shared_, next_, end_, node);
    if (status == S_OK) next_ = listedAfter(next_);
    return status;
}

DomAttributes::DomAttributes(ComPtr<SharedTree> shared, NodeIndex element)
    : shared_(std::move(shared)), first_(element + 1), end_(shared_->tree.attributesEnd(element)) {}

HRESULT DomAttributes::get_length(LONG* length) {
    *length = static_cast<LONG>(end_ - first_);
    return S_OK;
}

HRESULT DomAttributes::get_item(LONG index, IXMLDOMNode** attribute) {
    const bool isBelow = index < 0;
    return returnNode(shared_, isBelow ? end_ : first_ + static_cast<NodeIndex>(index), end_, attribute);
}

} // namespace xml
