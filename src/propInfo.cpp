#include "propInfo.h"

#include "dispUtils.h"
#include "propDefault.h"
#include "propIPSec.h"
#include "propMimeMap.h"
#include "propPrint.h"
#include "text/characters.h"
#include "xmlUtils.h"

#include <algorithm>
#include <span>
#include <vector>

namespace {

/// Never called in a restore, which skips unsupported properties by their flag.
Status unsupPropCmp(const VARIANT&, BackupProp&) {
    return reported(E_NOTIMPL, "unsupPropCmp not implemented yet");
}

/// Prints that the object has such a property; its value isn't saved.
Status unsupPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited) {
    printValueStart(stream, level, name, value.vt, inherited);
    outPrintf(stream, "<unsupported/>");
    printValueEnd(stream);
    return S_OK;
}

constexpr PropInfo propInfoTable[] = {
    {u"KeyType", propFlagReadOnly, defaultPropCmp, defaultPropSet, defaultPropPrint, defaultPropDump},
    {u"ServerState", propFlagIgnored, nullptr, nullptr, defaultPropPrint, defaultPropDump},
    {u"MimeMap", 0, mimeMapPropCmp, mimeMapPropSet, mimeMapPropPrint, mimeMapPropDump},
    {u"IPSecurity", 0, ipSecPropCmp, ipSecPropSet, ipSecPropPrint, ipSecPropDump},
    {u"AdminACL", propFlagUnsupported, unsupPropCmp, nullptr, nullptr, unsupPropDump},
    {u"RelayIpList", propFlagUnsupported, unsupPropCmp, nullptr, nullptr, unsupPropDump},
};

constexpr PropInfo defaultPropInfo = {u"<<default>>", 0, defaultPropCmp, defaultPropSet, defaultPropPrint,
                                      defaultPropDump};

bool equalUpToNul(const OLECHAR* a, const OLECHAR* b) {
    for (; *a == *b; ++a, ++b) {
        if (*a == u'\0') return true;
    }
    return false;
}

struct BoolWord {
    std::u16string_view word;
    bool value;
};

constexpr BoolWord boolWords[] = {{u"true", true}, {u"false", false}, {u"t", true},  {u"1", true},
                                  {u"yes", true},  {u"f", false},     {u"0", false}, {u"no", false}};

/// Parses the text of an attribute `type`: the VARTYPE is the low 16 bits of its number. Where they are 0,
/// the text must begin with that digit: "+0" and "65536" are refused.
Status parseVarType(BSTR text, VARTYPE& type) {
    type = static_cast<VARTYPE>(leadingNumber(view(text)));
    if (type != 0 || (text != nullptr && text[0] == u'0')) return S_OK;
    return reported(E_FAIL, "Seemingly invalid integer: %S", text);
}

Status reportMissingType(IXMLDOMNode& node) {
    // A failed read of the tag is reported after this failure, so this takes two steps.
    (void)reported(E_FAIL);
    errPrintf("Value node %S has no type attribute", xmlTagForMessage(node));
    return E_FAIL;
}

Status parseList(IXMLDOMNode& node, std::vector<Variant>& values) {
    ComPtr<IXMLDOMNodeList> children;
    if (Status status = xmlGetChildNodes(node, children); status < 0) return reported(status);
    std::size_t length = 0;
    if (Status status = xmlGetLength(*children, length); status < 0) return reported(status);
    values.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        ComPtr<IXMLDOMNode> child;
        if (Status status = xmlNextNode(*children, child); status < 0) return reported(status);
        if (Status status = parseValueNode(*child, values.emplace_back()); status < 0)
            return reported(status);
    }
    return S_OK;
}

} // namespace

const PropInfo& findPropInfo(const OLECHAR* name) {
    const auto* found = std::ranges::find_if(
        propInfoTable, [name](const PropInfo& info) { return equalUpToNul(info.name, name); });
    return found == std::end(propInfoTable) ? defaultPropInfo : *found;
}

Status parseBoolWord(std::u16string_view word, bool& value) {
    const auto* found = std::ranges::find(boolWords, word, &BoolWord::word);
    if (found == std::end(boolWords)) return E_FAIL;
    value = found->value;
    return S_OK;
}

Status parseValueNode(IXMLDOMNode& node, Variant& out) {
    Bstr typeText;
    if (Status status = xmlGetAttrOfNode(node, typeAttribute, typeText); status != S_OK)
        return status < 0 ? reported(status) : reportMissingType(node);
    Bstr text;
    if (Status status = node.get_text(text.out()); status < 0) return reported(status);

    VARTYPE type = VT_EMPTY;
    if (Status status = parseVarType(typeText, type); status < 0) return status;
    Variant value = Variant::ofString(std::move(text));
    if (Status status = VariantChangeType(&value.get(), &value.get(), 0, type); status < 0)
        return reported(status);
    out = std::move(value);
    return S_OK;
}

Status parsePropNode(IXMLDOMNode& node, Variant& out, bool& inherited) {
    Bstr tag;
    if (Status status = node.get_nodeName(tag.out()); status < 0) return reported(status);
    Variant single;
    std::vector<Variant> list;
    std::span<Variant> values;
    if (equal(tag, u"prop")) {
        if (Status status = parseValueNode(node, single); status < 0) return reported(status);
        values = {&single, 1};
    } else if (equal(tag, u"proplist")) {
        if (Status status = parseList(node, list); status < 0) return status;
        values = list;
    } else {
        errPrintf("Unknown property node: %S\n", tag);
        return reported(E_UNEXPECTED);
    }
    if (Status status = moveIntoArray(values, out); status < 0) return reported(status);

    Bstr word;
    if (Status status = xmlGetAttrOfNode(node, inheritedAttribute, word, u"false"); status < 0)
        return reported(status);
    if (parseBoolWord(view(word), inherited) < 0) {
        errPrintf("Unknown value (%S) for \"%S\" property assuming false\n", word, inheritedAttribute);
        inherited = false;
    }
    return S_OK;
}

Status backupPropBind(BackupProp& prop, IXMLDOMNode& node) {
    if (Status status = query(node, prop.element); status < 0) return reported(status);
    if (Status status = xmlGetAttr(*prop.element, nameAttribute, prop.name); status < 0)
        return reported(status);
    return S_OK;
}

Status backupPropParse(BackupProp& prop) {
    if (prop.parsed) return S_OK;
    if (Status status = parsePropNode(*prop.element, prop.value, prop.inherited); status < 0)
        return reported(status);
    prop.parsed = true;
    return S_OK;
}
