// The property table: which handlers a property has; and the way of a property from a backup file into a
// value.
#pragma once

#include "directory/adsi.h"
#include "document/msxml.h"
#include "skeinKeep.h"

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
    std::u16string_view name;
    std::uint32_t flags;
    CmpFn cmpFn;
    SetFn setFn;
    PrintFn printFn;
    DumpFn dumpFn;
};

/// The row of a property; the default row, if the table doesn't name it.
const PropInfo& findPropInfo(std::u16string_view name);

/// The attribute text of an inherited property, empty for any other.
constexpr std::string_view inheritedText(bool inherited) { return inherited ? " inherited=\"true\"" : ""; }

/// Writes the line with the start tag of a property that takes several lines.
void openProp(OutStream& stream, int indent, const char* tag, const OLECHAR* name, bool inherited);

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
