// The printing of the property elements of a backup file, for the DumpFn handlers.
//
// `level` is that of the object; for a property element inside another one it is the object's plus 1. All
// indentation follows from it: printEntryStart and printMimeType indent deeper than their parent.
#pragma once

#include "automation/variant.h"
#include "os/stream.h"

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
