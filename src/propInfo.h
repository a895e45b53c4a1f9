// The property table, which names the handlers of a property, and the parsing of the property elements of a
// backup file.
#pragma once

#include "directory/adsi.h"
#include "document/msxml.h"
#include "skeinKeep.h"

/// One property of a backup file. Owns all that it refers to. The handlers may read `element` and `name`
/// directly, `value` and `inherited` only after backupPropParse.
struct BackupProp {
    ComPtr<IXMLDOMElement> element;
    /// The attribute `name`; null if the element has none.
    Bstr name;
    bool inherited = false;
    bool parsed = false;
    Variant value;
};

// The roles of the handlers of a property. `value` and `live` are what IADs::GetEx returned.

/// Compares the live value with the file's. Returns 0 if they are the same, exactly 1 if they differ, or a
/// negative status.
using CmpFn = Status (*)(const VARIANT& value, BackupProp& prop);
/// Prints the "Setting" line, then writes the file's value to the live object and commits it with
/// IADs::SetInfo. Under `dryRun` only prints. Returns 0 or a negative status.
using SetFn = Status (*)(IADs& object, BackupProp& prop);
/// Prints the live value, or the file's, to `errStream`. Returns 0 or a negative status.
using PrintFn = Status (*)(bool useLive, BackupProp& prop, const VARIANT& live);
/// Prints the whole element of the property, from its indentation to its last line end. `level` is the
/// object's. May change the value in place. Returns 0, or a negative status, which ends the backup.
using DumpFn = Status (*)(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);

// A restore skips a property with any of these flags.
constexpr std::uint32_t propFlagUnsupported = 1;
constexpr std::uint32_t propFlagReadOnly = 2;
constexpr std::uint32_t propFlagIgnored = 4;

/// A row of the property table. Without a `dumpFn` a property is left out of a backup; `cmpFn` and `setFn`
/// are null only where a flag makes a restore skip the property. No pass calls `printFn`, which may be null.
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

/// Parses a word for a boolean value, such as "true" or "no". Returns 0, or E_FAIL for another word, with
/// `value` unchanged. Reports nothing.
Status parseBoolWord(std::u16string_view word, bool& value);

/// Parses the text of an element into a value of the VARTYPE whose number is its attribute `type`. Returns 0,
/// E_FAIL if the attribute is missing or no number, or the status of a failed call; `out` is set on success
/// only.
Status parseValueNode(IXMLDOMNode& node, Variant& out);

/// Parses a `prop` or `proplist` element into a one-dimensional array of VARIANTs with lower bound 0, and its
/// attribute `inherited`; for another word prints a warning and sets false. Returns 0,
/// E_UNEXPECTED for an element with another tag, or the status of a failed step.
Status parsePropNode(IXMLDOMNode& node, Variant& out, bool& inherited);

/// Attaches a BackupProp to an element and reads its name. Returns 0 or a negative status.
Status backupPropBind(BackupProp& prop, IXMLDOMNode& node);

/// Parses the value of a BackupProp unless that has been done. Returns 0 or a negative status.
Status backupPropParse(BackupProp& prop);
