// Text of a status, and narrow text converted to wide.
#pragma once

#include "com/unknown.h"

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

/// The thread's ANSI code page. It is ISO 8859-1: every byte is the 16-bit unit of the same value.
constexpr UINT CP_THREAD_ACP = 3;

extern "C" {

/// Returns the text of `status`, ended by CR LF and NUL, in a buffer that it allocates: the caller frees it
/// with LocalFree. The result is the text's length in bytes without the NUL; 0, with a null buffer, for a
/// status without text. `flags` must be both flags above; any other combination has no text. `source`,
/// `language`, `size` and `arguments` have no effect.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD status, DWORD language, char** buffer, DWORD size,
                     void* arguments);

/// Frees a buffer of FormatMessageA, which may be null. Returns null.
void* LocalFree(void* memory);

/// Converts `length` bytes to wide text, or, if `length` is -1, the bytes up to and including the first NUL.
/// Returns the number of units; with a `wideLength` of 0 only counts them. Returns 0, a failure, for a code
/// page other than CP_THREAD_ACP and for a `wideLength` that is too small.
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* bytes, int length, OLECHAR* wide,
                        int wideLength);
}
