#include "com/statusText.h"

#include "text/characters.h"

#include <algorithm>
#include <string>

namespace {

struct StatusText {
    HRESULT status;
    std::string_view text;
};

constexpr StatusText statusTexts[] = {
    {S_OK, "The operation completed successfully."},
    {E_NOTIMPL, "Not implemented"},
    {E_NOINTERFACE, "No such interface supported"},
    {E_FAIL, "Unspecified error"},
    {E_UNEXPECTED, "Catastrophic failure"},
    {E_ACCESSDENIED, "Access is denied."},
    {E_INVALIDARG, "The parameter is incorrect."},
    {DISP_E_UNKNOWNNAME, "Unknown name."},
    {DISP_E_TYPEMISMATCH, "Type mismatch."},
    {DISP_E_BADVARTYPE, "Bad variable type."},
    {DISP_E_OVERFLOW, "Out of present range."},
    {DISP_E_BADINDEX, "Invalid index."},
    {REGDB_E_CLASSNOTREG, "Class not registered"},
    {CLASS_E_NOAGGREGATION, "Class does not support aggregation"},
    {CO_E_NOTINITIALIZED, "CoInitialize has not been called."},
    {MK_E_SYNTAX, "Invalid syntax"},
    {E_ADS_BAD_PATHNAME, "An invalid directory pathname was passed"},
    {E_ADS_UNKNOWN_OBJECT, "An unknown directory object was requested"},
    {E_ADS_OBJECT_UNBOUND, "The directory object is no longer bound"},
    {E_ADS_CANT_CONVERT_DATATYPE, "The directory datatype cannot be converted to or from a native datatype"},
    {E_ADS_PROPERTY_NOT_FOUND, "The directory property cannot be found"},
    {E_ADS_OBJECT_EXISTS, "The directory object exists"},
    {E_ADS_SCHEMA_VIOLATION, "The attempted action violates the directory schema"},
    {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "The system cannot find the file specified."},
    {HRESULT_FROM_WIN32(ERROR_INVALID_DATA), "The data is invalid."},
    {HRESULT_FROM_WIN32(ERROR_WRITE_FAULT), "The system cannot write to the specified device."},
    {HRESULT_FROM_WIN32(ERROR_READ_FAULT), "The system cannot read from the specified device."},
    {HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION), "The file is locked by another process."},
    {HRESULT_FROM_WIN32(ERROR_DISK_FULL), "There is not enough space on the disk."},
    {HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE), "The file size exceeds the limit allowed."},
    {HRESULT_FROM_WIN32(ERROR_FILE_INVALID), "The file has been altered since it was opened."},
};

/// Set by setStatusDetail; the status has a text of its own while that isn't empty.
HRESULT detailStatus = S_OK;
std::string detailText;

std::string_view textOfStatus(HRESULT status) {
    if (status == detailStatus && !detailText.empty()) return detailText;
    const auto* found = std::ranges::find(statusTexts, status, &StatusText::status);
    return found == std::end(statusTexts) ? std::string_view() : found->text;
}

} // namespace

DWORD FormatMessageA(DWORD flags, const void*, DWORD status, DWORD, char** buffer, DWORD, void*) {
    constexpr std::string_view lineEnd = "\r\n";
    *buffer = nullptr;
    const std::string_view text = textOfStatus(static_cast<HRESULT>(status));
    if (flags != (FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM) || text.empty()) return 0;

    const std::size_t length = text.size() + lineEnd.size();
    *buffer = new char[length + 1];
    char* end = std::ranges::copy(text, *buffer).out;
    end = std::ranges::copy(lineEnd, end).out;
    *end = '\0';
    return static_cast<DWORD>(length);
}

void* LocalFree(void* memory) {
    delete[] static_cast<char*>(memory);
    return nullptr;
}

void setStatusDetail(HRESULT status, std::string_view text) {
    detailStatus = status;
    detailText = text;
    std::ranges::replace_if(
        detailText, [](unsigned char c) { return isControl(c); }, '?');
}
