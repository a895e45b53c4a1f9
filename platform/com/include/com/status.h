// Statuses: signed 32-bit values. 0 and above is success, below 0 failure.
#pragma once

#include <cstdint>
#include <string_view>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using LCID = std::uint32_t;

/// A status. A call whose status is dropped doesn't compile; one that drops it on purpose has a `(void)` and
/// the reason beside it.
enum [[nodiscard]] HRESULT : std::int32_t{};

/// The status of the same 32 bits.
constexpr HRESULT makeStatus(std::uint32_t bits) {
    return static_cast<HRESULT>(static_cast<std::int32_t>(bits));
}

constexpr HRESULT S_OK{0};
constexpr HRESULT S_FALSE{1};

constexpr HRESULT E_NOTIMPL = makeStatus(0x80004001);
constexpr HRESULT E_NOINTERFACE = makeStatus(0x80004002);
constexpr HRESULT E_FAIL = makeStatus(0x80004005);
constexpr HRESULT E_UNEXPECTED = makeStatus(0x8000FFFF);
constexpr HRESULT E_ACCESSDENIED = makeStatus(0x80070005);
constexpr HRESULT E_INVALIDARG = makeStatus(0x80070057);

constexpr HRESULT DISP_E_UNKNOWNNAME = makeStatus(0x80020006);
constexpr HRESULT DISP_E_TYPEMISMATCH = makeStatus(0x80020005);
constexpr HRESULT DISP_E_BADVARTYPE = makeStatus(0x80020008);
constexpr HRESULT DISP_E_OVERFLOW = makeStatus(0x8002000A);
constexpr HRESULT DISP_E_BADINDEX = makeStatus(0x8002000B);

constexpr HRESULT REGDB_E_CLASSNOTREG = makeStatus(0x80040154);
constexpr HRESULT CLASS_E_NOAGGREGATION = makeStatus(0x80040110);
constexpr HRESULT CO_E_NOTINITIALIZED = makeStatus(0x800401F0);
constexpr HRESULT MK_E_SYNTAX = makeStatus(0x800401E4);

constexpr HRESULT E_ADS_BAD_PATHNAME = makeStatus(0x80005000);
constexpr HRESULT E_ADS_UNKNOWN_OBJECT = makeStatus(0x80005004);
constexpr HRESULT E_ADS_OBJECT_UNBOUND = makeStatus(0x80005009);
constexpr HRESULT E_ADS_CANT_CONVERT_DATATYPE = makeStatus(0x8000500C);
constexpr HRESULT E_ADS_PROPERTY_NOT_FOUND = makeStatus(0x8000500D);
constexpr HRESULT E_ADS_OBJECT_EXISTS = makeStatus(0x8000500E);
constexpr HRESULT E_ADS_SCHEMA_VIOLATION = makeStatus(0x8000500F);

// Error numbers of the operating system, and the status of such a number.
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_INVALID_DATA = 13;
constexpr DWORD ERROR_WRITE_FAULT = 29;
constexpr DWORD ERROR_READ_FAULT = 30;
constexpr DWORD ERROR_LOCK_VIOLATION = 33;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
/// The file was altered since it was opened.
constexpr DWORD ERROR_FILE_INVALID = 1006;

/// `error` is below 65536; 0 is success.
constexpr HRESULT HRESULT_FROM_WIN32(DWORD error) {
    return error == 0 ? S_OK : makeStatus(0x80070000 | error);
}

/// Sets the text that FormatMessageA (com/statusText.h) returns for `status` until the next call of this
/// function, instead of the table's; an empty text restores the table's. Control characters become question
/// marks.
///
/// A call that fails with a status sets its text, even if only to the empty one, if any call sets a text for
/// that status. So the text of a failure that was passed over never appears for a later one.
void setStatusDetail(HRESULT status, std::string_view text);
