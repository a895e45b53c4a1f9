// The property table: which handlers a property has; and the way of a property from a backup file into a
// value.
#pragma once

#include "platform/metabase/adsi.h"
#include "platform/xml/msxml.h"
#include "src/skeinKeep.h"

/// One property as a backup file gives it. The handlers may read `element` and `name` directly, `value` and
/// `inherited` only after backupPropParse.
struct BackupProp {
    ComPtr<IXMLDOMElement> element;
    /// Null if the element has no such attribute.
    Bstr name;
    bool inherited = false;
    bool parsed = false;
    Variant value;
};

// The handlers of a property. `value` and `live` are as IADs::GetEx gave them.

/// 0 if the live value is the file's, exactly 1 if not, negative on a failure.
using CmpFn = Status (*)(const VARIANT& value, BackupProp& prop);
/// Writes the file's value to the live object, its own IADs::SetInfo included; under `dryRun` it only prints.
using SetFn = Status (*)(IADs& object, BackupProp& prop);
/// Prints the live value, or the file's, on `errStream`.
using PrintFn = Status (*)(bool useLive, BackupProp& prop, const VARIANT& live);
/// Writes the whole element of the property, `level*2+4` blanks and the line end included. It may change the
/// value in place. A negative result ends the backup.
using DumpFn = Status (*)(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);

// What a restore skips, whatever the values.
constexpr std::uint32_t propFlagUnsupported = 1;
constexpr std::uint32_t propFlagReadOnly = 2;
constexpr std::uint32_t propFlagIgnored = 4;

/// A row of the property table. A handler may be null.
struct PropInfo {
    const OLECHAR* name;
    std::uint32_t flags;
    CmpFn cmpFn;
    SetFn setFn;
    PrintFn printFn;
    DumpFn dumpFn;
};

/// Returns the row of a property, or the default row if the table doesn't name it. Names are compared
/// exactly, up to their first NUL.
const PropInfo& findPropInfo(const OLECHAR* name);

// The tags of property elements, and the functions that print them for the DumpFn handlers. `level` is that
// of the object, or that plus 1 for an element inside a property; the indentation follows from it.

constexpr std::string_view propTag = "prop";
constexpr std::string_view propListTag = "proplist";

/// Prints the line of a start tag without a type: that of a `proplist`, or that of a `prop` with child
/// elements.
void printPropStart(OutStream& stream, int level, std::string_view tag, const OLECHAR* name, bool inherited);
/// Prints the line of the end tag for such a start tag.
void printPropEnd(OutStream& stream, int level, std::string_view tag);

/// Prints the start tag of a `prop` with one value, whose text comes next, in the same line.
void printValueStart(OutStream& stream, int level, const OLECHAR* name, VARTYPE type, bool inherited);
/// Prints the start tag of an entry of a `proplist`, whose text comes next, in the same line.
void printEntryStart(OutStream& stream, int level, VARTYPE type);
/// Prints the end tag, and the line end, of a `prop` with one value or of an entry.
void printValueEnd(OutStream& stream);

/// Prints the line of one entry of a MIME map.
void printMimeType(OutStream& stream, int level, const OLECHAR* extension, const OLECHAR* mimeType);

/// Looks a word up in the table of truth words: 0, or E_FAIL with `value` left alone. Reports nothing.
Status parseBoolWord(std::u16string_view word, bool& value);

/// The value of one element: its text as the type that its `type` attribute numbers. Without the attribute,
/// or with one that is no number, E_FAIL; else what VariantChangeType says.
Status parseValueNode(IXMLDOMNode& node, Variant& out);

/// The value of a `prop` or `proplist` element, always as a one-dimensional array of VARIANTs from lower
/// bound 0, and its `inherited` attribute, where a word that is no truth word is told and taken for false.
/// E_UNEXPECTED for an element of another tag.
Status parsePropNode(IXMLDOMNode& node, Variant& out, bool& inherited);

/// Attaches a record to an element and reads its name.
Status backupPropBind(BackupProp& prop, IXMLDOMNode& node);

/// Parses the value of a record, unless that has been done.
Status backupPropParse(BackupProp& prop);
