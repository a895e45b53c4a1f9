#include "tests/support/errorLines.h"

#include "com/statusText.h"

#include <algorithm>
#include <cstdio>
#include <utility>

ErrorChain errorChain(const std::string& printed) {
    ErrorChain chain;
    const std::string begin = "Error 0x";
    std::size_t at = 0;
    for (std::size_t error = printed.find(begin); error != std::string::npos;
         error = printed.find(begin, at)) {
        const std::size_t end = std::min(printed.find('\n', error), printed.size() - 1);
        // Such as "80004005 (Unspecified error) at restore:17".
        const std::string line = printed.substr(error + begin.size(), end - error - begin.size());
        const std::size_t statusEnd = line.find(' ');
        const std::size_t placeBegin = line.rfind(" at ");
        ErrorLine parsed{printed.substr(at, error - at), line.substr(0, statusEnd), "",
                         line.substr(placeBegin + 4)};
        if (statusEnd < placeBegin) parsed.text = line.substr(statusEnd + 2, placeBegin - statusEnd - 3);
        chain.lines.push_back(std::move(parsed));
        at = end + 1;
    }
    chain.after = printed.substr(at);
    return chain;
}

std::string folded(const std::string& text, const std::string& usual) {
    std::string all;
    const ErrorChain chain = errorChain(text);
    for (const ErrorLine& line : chain.lines)
        all += line.before + "{" + (line.status == usual ? "" : line.status + " ") + line.stem() + "}";
    return all + chain.after;
}

Outcome folded(const Outcome& run, const std::string& usual) {
    return {run.exitCode, folded(run.out, usual), folded(run.err, usual)};
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
