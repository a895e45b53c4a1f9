// The text of a status.
#pragma once

#include "com/unknown.h"

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

extern "C" {

/// Returns the text of `status`, ended by CR LF and NUL, in a buffer that it allocates: the caller frees it
/// with LocalFree. The result is the text's length in bytes without the NUL; 0, with a null buffer, for a
/// status without text. `flags` must be both flags above; any other combination has no text. `source`,
/// `language`, `size` and `arguments` have no effect.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD status, DWORD language, char** buffer, DWORD size,
                     void* arguments);

/// Frees a buffer of FormatMessageA, which may be null. Returns null.
void* LocalFree(void* memory);
}
