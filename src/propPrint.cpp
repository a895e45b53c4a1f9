#include "propPrint.h"

#include "dispUtils.h"
#include "xmlUtils.h"

namespace {

// In blanks.
constexpr int propIndent(int level) { return level * 2 + 4; }
constexpr int entryIndent(int level) { return propIndent(level) + 2; }

constexpr std::string_view inheritedAttributeText(bool inherited) {
    return inherited ? " inherited=\"true\"" : "";
}

} // namespace

void printPropStart(OutStream& stream, int level, std::string_view tag, const OLECHAR* name, bool inherited) {
    outPrintf(stream, "%*s<%s name=\"%S\"%s>\n", propIndent(level), "", tag, XmlAttributeText(name),
              inheritedAttributeText(inherited));
}

void printPropEnd(OutStream& stream, int level, std::string_view tag) {
    outPrintf(stream, "%*s</%s>\n", propIndent(level), "", tag);
}

void printValueStart(OutStream& stream, int level, const OLECHAR* name, VARTYPE type, bool inherited) {
    outPrintf(stream, "%*s<%s name=\"%S\" type=\"%d\"%s>", propIndent(level), "", propTag,
              XmlAttributeText(name), type, inheritedAttributeText(inherited));
}

void printEntryStart(OutStream& stream, int level, VARTYPE type) {
    outPrintf(stream, "%*s<%s type=\"%d\">", entryIndent(level), "", propTag, type);
}

void printValueEnd(OutStream& stream) { outPrintf(stream, "</%s>\n", propTag); }

void printMimeType(OutStream& stream, int level, const OLECHAR* extension, const OLECHAR* mimeType) {
    outPrintf(stream, "%*s<mimetype %S=\"%S\" %S=\"%S\"/>\n", entryIndent(level), "", extensionAttribute,
              XmlAttributeText(extension), typeAttribute, XmlAttributeText(mimeType));
}
