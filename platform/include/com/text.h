// Text of a status, and narrow text that becomes wide.
#pragma once

#include "com/unknown.h"

#include <string_view>

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

/// The thread's ANSI code page. It is ISO 8859-1: every byte is the 16-bit unit of the same value.
constexpr UINT CP_THREAD_ACP = 3;

extern "C" {

/// Puts the text of a status, which ends in CR LF, into a buffer that it allocates and the caller frees with
/// LocalFree. Returns the text's length; 0, with a null buffer, for a status without text. Only the two flags
/// above, given together, are understood.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD status, DWORD language, char** buffer, DWORD size,
                     void* arguments);

/// Frees a buffer of FormatMessageA; null is passed over. Returns null.
void* LocalFree(void* memory);

/// Makes wide text of `length` bytes, or, with -1, of the bytes up to and including the first NUL. Returns
/// the number of units; with a `wideLength` of 0 it only counts them. 0 is a failure: another code page than
/// CP_THREAD_ACP, or too little room.
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* bytes, int length, OLECHAR* wide,
                        int wideLength);
}

/// Leaves a text of its own for the status that the caller is about to return. FormatMessageA gives it, on
/// one line and with control characters replaced, in place of the table's text until the next one is left.
void setStatusDetail(HRESULT status, std::string_view text);
