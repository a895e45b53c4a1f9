#include "tests/support/errorLines.h"

#include "com/text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

/// Parses "80004005 (Unspecified error) at restore:17".
ErrorLine parseErrorLine(const std::string& line) {
    const std::size_t statusEnd = line.find(' ');
    const std::size_t at = line.rfind(" at ");
    const std::size_t colon = line.rfind(':');
    ErrorLine parsed{line.substr(0, statusEnd), "", line.substr(at + 4, colon - at - 4),
                     line.substr(colon + 1)};
    if (statusEnd < at) parsed.text = line.substr(statusEnd + 2, at - statusEnd - 3);
    return parsed;
}

/// Calls `visit` with each "Error" line of a text and what comes before it. Returns what comes after the
/// last.
template <class Visit> std::string visitErrorLines(const std::string& text, Visit visit) {
    const std::string begin = "Error 0x";
    std::size_t at = 0;
    for (std::size_t error = text.find(begin); error != std::string::npos; error = text.find(begin, at)) {
        const std::size_t end = std::min(text.find('\n', error), text.size() - 1);
        visit(text.substr(at, error - at),
              parseErrorLine(text.substr(error + begin.size(), end - error - begin.size())));
        at = end + 1;
    }
    return text.substr(at);
}

} // namespace

ErrorChain errorChain(const std::string& printed) {
    ErrorChain chain;
    visitErrorLines(printed, [&](const std::string& before, ErrorLine line) {
        if (chain.lines.empty()) chain.before = before.substr(before.rfind('\n') + 1);
        chain.lines.push_back(std::move(line));
    });
    return chain;
}

std::string folded(const std::string& text, const std::string& usual) {
    std::string all;
    const std::string rest = visitErrorLines(text, [&](const std::string& before, const ErrorLine& line) {
        const std::string status = line.status == usual ? "" : line.status + " ";
        all.append(before).append("{").append(status).append(line.stem).append("}");
    });
    return all + rest;
}

std::string statusText(HRESULT status) {
    char* buffer = nullptr;
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                                        static_cast<DWORD>(status), LOCALE_USER_DEFAULT, &buffer, 0, nullptr);
    std::string text(buffer, length);
    LocalFree(buffer);
    return text.substr(0, text.find('\r'));
}

std::string hex(HRESULT status) {
    char digits[9];
    (void)std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(status));
    return digits;
}
