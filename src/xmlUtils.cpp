#include "xmlUtils.h"

#include "com/runtime.h"
#include "dispUtils.h"
#include "os/file.h"
#include "text/codePage.h"

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <limits>
#include <memory>

namespace {

/// The buffer in which a start tag is formatted.
class TagBuffer {
public:
    void clear() { used_ = 0; }
    /// Appends the pieces, narrowed unit by unit. Returns false, with nothing appended, if they don't fit.
    bool append(std::initializer_list<std::u16string_view> pieces) {
        std::size_t length = 0;
        for (const std::u16string_view piece : pieces) length += piece.size();
        if (length > freeBytes()) return false;
        for (const std::u16string_view piece : pieces) put(piece);
        return true;
    }
    /// Appends as much of a piece as fits.
    void appendPart(std::u16string_view piece) { put(piece.substr(0, freeBytes())); }
    void close() { bytes_[used_++] = '>'; }
    std::string_view text() const { return {bytes_, used_}; }

private:
    /// Two bytes are kept for the closing bracket and a terminator.
    std::size_t freeBytes() const { return sizeof bytes_ - 2 - used_; }
    void put(std::u16string_view piece) {
        for (const char16_t unit : piece) bytes_[used_++] = narrowed(unit);
    }

    char bytes_[8192];
    std::size_t used_ = 0;
};

TagBuffer startTag;

struct Attribute {
    Bstr name;
    Variant value;
};

Status readAttribute(IXMLDOMNamedNodeMap& attributes, LONG index, Attribute& attribute) {
    ComPtr<IXMLDOMNode> node;
    if (Status status = attributes.get_item(index, node.out()); status < 0) return reported(status);
    if (!node) return reported(E_UNEXPECTED);
    if (Status status = node->get_nodeName(attribute.name.out()); status < 0) return reported(status);
    if (Status status = node->get_nodeValue(attribute.value.out()); status < 0) return reported(status);
    VARIANT& value = attribute.value.get();
    if (Status status = VariantChangeType(&value, &value, 0, VT_BSTR); status < 0) return reported(status);
    return S_OK;
}

Status appendAttributes(IXMLDOMNode& node) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (Status status = node.get_attributes(attributes.out()); status < 0) return reported(status);
    if (!attributes) return S_OK;
    LONG count = 0;
    if (Status status = attributes->get_length(&count); status < 0) return reported(status);
    for (LONG i = 0; i < count; ++i) {
        Attribute attribute;
        if (Status status = readAttribute(*attributes, i, attribute); status < 0) return status;
        if (!startTag.append({u" ", view(attribute.name), u"=\"", view(attribute.value->bstrVal), u"\""}))
            break;
    }
    return S_OK;
}

Status reportOpenFailure(const char* fileName, int error) {
    return reported(E_UNEXPECTED, "Unexpected error opening: \"%s\": %s", fileName, errorText(error));
}

Status reportShortRead(const char* fileName, std::size_t count, std::int64_t size) {
    return reported(E_UNEXPECTED, "Read %d bytes from \"%s\", expected to read %d", count, fileName, size);
}

/// Reads the file's bytes and appends a terminator.
Status readBytes(const char* fileName, std::unique_ptr<char[]>& bytes) {
    InputFile file(fileName);
    if (!file.isOpen()) return reportOpenFailure(fileName, errno);
    const std::int64_t size = file.size();
    if (size < 0) return reportOpenFailure(fileName, errno);
    if (size > std::numeric_limits<std::int32_t>::max()) return reportShortRead(fileName, 0, size);

    const auto length = static_cast<std::size_t>(size);
    bytes.reset(new char[length + 1]);
    const std::size_t count = file.read(bytes.get(), length);
    if (count != length) return reportShortRead(fileName, count, size);
    bytes[length] = '\0';
    return S_OK;
}

Status parseText(BSTR text, const char* fileName, IXMLDOMDocument& document) {
    VARIANT_BOOL success = VARIANT_FALSE;
    if (Status status = document.loadXML(text, &success); status < 0)
        return reported(status, "loading XML from backup file %s", fileName);
    if (success != VARIANT_TRUE)
        return reported(E_FAIL, "loadXML from backup file %s failed (probably a syntax error)", fileName);
    return S_OK;
}

/// Moves the value of an attribute, as a string, out of `attribute`.
Status takeText(Variant& attribute, Bstr& value) {
    if (Status status = VariantChangeType(&attribute.get(), &attribute.get(), 0, VT_BSTR); status < 0)
        return reported(status, "Can't change attribute into a string");
    value = Bstr::adopt(attribute.detach().bstrVal);
    return S_OK;
}

} // namespace

Status xmlLoadFile(const char* fileName, ComPtr<IXMLDOMDocument>& document) {
    document.reset();
    const auto create = [](void** out) {
        return CoCreateInstance(CLSID_DOMDocument, nullptr, CLSCTX_ALL, IXMLDOMDocument::iid, out);
    };
    ComPtr<IXMLDOMDocument> created;
    if (Status status = receive(created, create); status < 0)
        return reported(status, "Creating XML DOM object");
    std::unique_ptr<char[]> bytes;
    if (Status status = readBytes(fileName, bytes); status < 0) return status;
    if (Status status = created->put_async(VARIANT_FALSE); status < 0) return reported(status);
    Bstr text;
    if (Status status = ansiToWide(bytes.get(), text); status < 0) return reported(status);
    // The document takes by far the most memory, so the bytes are freed before it is built.
    bytes.reset();
    if (Status status = parseText(text, fileName, *created); status < 0) return status;
    document = std::move(created);
    return S_OK;
}

Status xmlGetAttr(IXMLDOMElement& element, BSTR name, Bstr& value, const OLECHAR* defaultText) {
    value.reset();
    Variant attribute;
    const Status status = element.getAttribute(name, attribute.out());
    if (status < 0) return status;
    if (status != S_FALSE) return takeText(attribute, value);
    if (defaultText == nullptr) return S_FALSE;
    value = Bstr(defaultText);
    return S_OK;
}

Status xmlGetAttrOfNode(IXMLDOMNode& node, BSTR name, Bstr& value, const OLECHAR* defaultText) {
    value.reset();
    ComPtr<IXMLDOMElement> element;
    if (Status status = query(node, element); status < 0) return reported(status);
    return xmlGetAttr(*element, name, value, defaultText);
}

Status xmlGetChildNodes(IXMLDOMNode& node, ComPtr<IXMLDOMNodeList>& children) {
    const Status status = node.get_childNodes(children.out());
    return status >= 0 && !children ? E_UNEXPECTED : status;
}

Status xmlGetLength(IXMLDOMNodeList& nodes, std::size_t& length) {
    LONG count = 0;
    const Status status = nodes.get_length(&count);
    length = static_cast<std::size_t>(std::max(count, 0));
    return status >= 0 && count < 0 ? E_UNEXPECTED : status;
}

Status xmlNextNode(IXMLDOMNodeList& nodes, ComPtr<IXMLDOMNode>& node) {
    const Status status = nodes.nextNode(node.out());
    return status >= 0 && !node ? E_UNEXPECTED : status;
}

Status xmlChildCount(IXMLDOMNode& node, LONG& count) {
    count = 0;
    ComPtr<IXMLDOMNodeList> children;
    if (Status status = xmlGetChildNodes(node, children); status < 0) return reported(status);
    if (Status status = children->get_length(&count); status < 0) return reported(status);
    return S_OK;
}

Status xmlGetOnlyChild(IXMLDOMNode& node, BSTR tag, ComPtr<IXMLDOMNode>& child) {
    child.reset();
    ComPtr<IXMLDOMNodeList> matches;
    if (Status status = node.selectNodes(tag, matches.out()); status < 0) return reported(status);
    if (!matches) return reported(E_UNEXPECTED);
    LONG count = 0;
    if (Status status = matches->get_length(&count); status < 0) return reported(status);
    if (count != 1) {
        // "has has" is on purpose: users' scripts search for the text.
        errPrintf("Node %S must have exactly one \"%S\" child node; it has has %d\n", xmlTagForMessage(node),
                  tag, count);
    }
    if (Status status = matches->nextNode(child.out()); status < 0) return reported(status);
    return S_OK;
}

Status xmlDumpNode(IXMLDOMNode& node, Bstr& text) {
    text.reset();
    Bstr name;
    if (Status status = node.get_nodeName(name.out()); status < 0) return reported(status);
    startTag.clear();
    startTag.append({u"<"});
    startTag.appendPart(view(name));
    if (Status status = appendAttributes(node); status < 0) return status;
    startTag.close();
    const Status status = ansiToWide(startTag.text(), text);
    return status < 0 ? reported(status) : S_OK;
}

Bstr xmlTagForMessage(IXMLDOMNode& node) {
    Bstr text;
    if (xmlDumpNode(node, text) < 0) text = Bstr(u"<can't get tag.... :-(>");
    return text;
}
