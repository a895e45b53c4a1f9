#include "text/codePage.h"

#include <algorithm>
#include <cstring>

int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t, const char* bytes, int length, char16_t* wide,
                        int wideLength) {
    if (codePage != CP_THREAD_ACP) return 0;
    const std::size_t count = length < 0 ? std::strlen(bytes) + 1 : static_cast<std::size_t>(length);
    if (wideLength == 0) return static_cast<int>(count);
    if (count > static_cast<std::size_t>(wideLength)) return 0;
    widen({bytes, count}, wide);
    return static_cast<int>(count);
}

char16_t* widen(std::string_view bytes, char16_t* out) {
    return std::transform(bytes.begin(), bytes.end(), out,
                          [](char c) { return static_cast<char16_t>(static_cast<unsigned char>(c)); });
}
