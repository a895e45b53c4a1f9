// Hexadecimal digits.
#pragma once

#include <string>

/// What hexDigitValue returns for a unit that is no digit.
constexpr unsigned noHexDigit = 16;

/// The value of a hexadecimal digit, in capitals or not.
constexpr unsigned hexDigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const unsigned lower = unit | 0x20u;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : noHexDigit;
}

/// Appends the low `digits` hexadecimal digits of a number, in capitals.
inline void formatHex(std::string& out, unsigned number, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        out.push_back("0123456789ABCDEF"[number >> shift & 0xF]);
}
