#include "automation/scalarText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace {

constexpr int currencyDigits = 4;
constexpr int largestScale = 28;
constexpr std::int64_t secondsOfDay = 86400;

__extension__ using Wide = unsigned __int128;
constexpr Wide largestDecimal = (Wide{1} << 96) - 1;

/// Formats a text into a buffer that is large enough.
class TextWriter {
public:
    explicit TextWriter(char* buffer) : begin_(buffer), end_(buffer) {}

    void put(char c) { *end_++ = c; }
    template <class Number> void number(Number value) {
        end_ = std::to_chars(end_, begin_ + scalarTextSize, value).ptr;
    }
    void digits(std::int64_t value, int width) {
        for (char* at = end_ + width; at != end_; value /= 10) *--at = static_cast<char>('0' + value % 10);
        end_ += width;
    }
    std::string_view text() const { return {begin_, static_cast<std::size_t>(end_ - begin_)}; }

private:
    char* begin_;
    char* end_;
};

/// Formats `digits` with a decimal point before the last `scale` of them, and at least one digit before it.
void formatFraction(TextWriter& out, bool negative, Wide digits, int scale) {
    std::array<char, 40> reversed{};
    int count = 0;
    while (digits != 0 || count <= scale) {
        reversed[static_cast<std::size_t>(count++)] = static_cast<char>('0' + static_cast<int>(digits % 10));
        digits /= 10;
    }
    if (negative) out.put('-');
    while (count > 0) {
        if (count == scale) out.put('.');
        out.put(reversed[static_cast<std::size_t>(--count)]);
    }
}

struct Fraction {
    bool negative = false;
    Wide digits = 0;
    int scale = 0;
};

/// Parses the text that formatFraction makes. DISP_E_OVERFLOW for more than 96 bits or more than `scaleLimit`
/// digits after the point.
HRESULT parseFraction(std::string_view text, int scaleLimit, Fraction& fraction) {
    fraction.negative = text.starts_with('-');
    if (fraction.negative) text.remove_prefix(1);
    const std::size_t point = text.find('.');
    if (point == 0 || text.empty() || text.back() == '.') return DISP_E_TYPEMISMATCH;
    bool overflow = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == point) continue;
        if (text[i] < '0' || text[i] > '9') return DISP_E_TYPEMISMATCH;
        if (!overflow) fraction.digits = fraction.digits * 10 + static_cast<unsigned>(text[i] - '0');
        overflow = overflow || fraction.digits > largestDecimal;
    }
    const std::size_t scale = point == std::string_view::npos ? 0 : text.size() - point - 1;
    if (overflow || scale > static_cast<std::size_t>(scaleLimit)) return DISP_E_OVERFLOW;
    fraction.scale = static_cast<int>(scale);
    return S_OK;
}

void formatCurrency(TextWriter& out, CY money) {
    const auto bits = static_cast<std::uint64_t>(money.int64);
    const bool negative = money.int64 < 0;
    Wide digits = negative ? Wide{0 - bits} : Wide{bits};
    int scale = currencyDigits;
    for (; scale > 0 && digits % 10 == 0; --scale) digits /= 10;
    formatFraction(out, negative, digits, scale);
}

HRESULT parseCurrency(std::string_view text, CY& money) {
    Fraction fraction;
    if (HRESULT status = parseFraction(text, currencyDigits, fraction); status < 0) return status;
    for (int i = fraction.scale; i < currencyDigits; ++i) fraction.digits *= 10;
    const Wide limit = Wide{std::numeric_limits<std::int64_t>::max()} + (fraction.negative ? 1 : 0);
    if (fraction.digits > limit) return DISP_E_OVERFLOW;
    const auto bits = static_cast<std::uint64_t>(fraction.digits);
    money.int64 = static_cast<std::int64_t>(fraction.negative ? 0 - bits : bits);
    return S_OK;
}

void formatDecimal(TextWriter& out, const DECIMAL& number) {
    if (number.scale > largestScale || (number.sign != 0 && number.sign != DECIMAL_NEG)) return;
    formatFraction(out, number.sign == DECIMAL_NEG, Wide{number.Hi32} << 64 | number.Lo64, number.scale);
}

HRESULT parseDecimal(std::string_view text, VARIANT& value) {
    Fraction fraction;
    if (HRESULT status = parseFraction(text, largestScale, fraction); status < 0) return status;
    DECIMAL number{};
    number.scale = static_cast<BYTE>(fraction.scale);
    number.sign = fraction.negative ? DECIMAL_NEG : BYTE{0};
    number.Hi32 = static_cast<ULONG>(fraction.digits >> 64);
    number.Lo64 = static_cast<std::uint64_t>(fraction.digits);
    setDecimal(value, number);
    return S_OK;
}

// Days are counted in the proleptic Gregorian calendar, from 1899-12-30, the day 0 of a DATE.
constexpr std::int64_t dayZero = 693899; // days from 0000-03-01 to 1899-12-30
constexpr std::int64_t daysOfEra = 146097;

struct Day {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

constexpr std::int64_t dayNumber(Day date) {
    const std::int64_t year = date.month <= 2 ? date.year - 1 : date.year;
    const std::int64_t era = year / 400;
    const std::int64_t yearOfEra = year % 400;
    const std::int64_t monthFromMarch = (date.month + 9) % 12;
    const std::int64_t dayOfYear = (153 * monthFromMarch + 2) / 5 + date.day - 1;
    return era * daysOfEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - dayZero;
}

constexpr Day dayOf(std::int64_t number) {
    const std::int64_t shifted = number + dayZero;
    const std::int64_t era = shifted / daysOfEra;
    const std::int64_t dayOfEra = shifted % daysOfEra;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (daysOfEra - 1)) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
            dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

constexpr std::int64_t firstDay = dayNumber({100, 1, 1});
constexpr std::int64_t lastDay = dayNumber({9999, 12, 31});
static_assert(dayNumber({1899, 12, 30}) == 0 && dayNumber({1900, 3, 1}) == 61);

DATE dateOf(std::int64_t day, std::int64_t second) {
    const double time = static_cast<double>(second) / static_cast<double>(secondsOfDay);
    return day < 0 ? static_cast<double>(day) - time : static_cast<double>(day) + time;
}

constexpr std::string_view datePattern = "0000-00-00T00:00:00";

void formatDate(TextWriter& out, DATE date) {
    if (date > static_cast<double>(firstDay - 1) && date < static_cast<double>(lastDay + 1)) {
        const double whole = std::trunc(date);
        const auto day = static_cast<std::int64_t>(whole);
        const auto second = static_cast<std::int64_t>(std::round(std::fabs(date - whole) * secondsOfDay));
        if (second < secondsOfDay &&
            std::bit_cast<std::uint64_t>(dateOf(day, second)) == std::bit_cast<std::uint64_t>(date)) {
            const Day calendar = dayOf(day);
            out.digits(calendar.year, 4);
            out.put('-');
            out.digits(calendar.month, 2);
            out.put('-');
            out.digits(calendar.day, 2);
            out.put('T');
            out.digits(second / 3600, 2);
            out.put(':');
            out.digits(second / 60 % 60, 2);
            out.put(':');
            out.digits(second % 60, 2);
            return;
        }
    }
    out.number(date);
}

template <class Number> HRESULT parseNumber(std::string_view text, Number& number) {
    const char* end = text.data() + text.size();
    Number parsed{};
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    if (error == std::errc::invalid_argument || stop != end) {
        // from_chars takes no sign for an unsigned type: a negative number is out of range, other text is no
        // number.
        std::int64_t negative = 0;
        const bool isNegative = std::is_unsigned_v<Number> && text.starts_with('-') &&
                                std::from_chars(text.data(), end, negative).ptr == end && text.size() > 1;
        return isNegative ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH;
    }
    if (error == std::errc::result_out_of_range) return DISP_E_OVERFLOW;
    number = parsed;
    return S_OK;
}

HRESULT parseDate(std::string_view text, DATE& date) {
    if (text.size() != datePattern.size() || text[4] != '-') return parseNumber(text, date);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (datePattern[i] == '0' ? !digit : text[i] != datePattern[i]) return DISP_E_TYPEMISMATCH;
    }
    const auto field = [text](std::size_t at, std::size_t length) {
        std::int64_t number = 0;
        for (const char digit : text.substr(at, length)) number = number * 10 + (digit - '0');
        return number;
    };
    const Day calendar{field(0, 4), field(5, 2), field(8, 2)};
    const std::int64_t hour = field(11, 2);
    const std::int64_t minute = field(14, 2);
    const std::int64_t second = field(17, 2);
    if (calendar.year < 100 || hour > 23 || minute > 59 || second > 59) return DISP_E_OVERFLOW;
    const std::int64_t day = dayNumber(calendar);
    const Day back = dayOf(day);
    if (back.month != calendar.month || back.day != calendar.day) return DISP_E_OVERFLOW;
    date = dateOf(day, (hour * 60 + minute) * 60 + second);
    return S_OK;
}

HRESULT parseBool(std::string_view text, VARIANT_BOOL& truth) {
    if (text != "true" && text != "false") return DISP_E_TYPEMISMATCH;
    truth = text == "true" ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

/// Calls `use` with the member of `value` that holds a number of `type`; false if the type isn't a number.
template <class Value, class Use> bool withNumber(Value& value, VARTYPE type, Use use) {
    switch (type) {
    case VT_I1: use(value.cVal); return true;
    case VT_UI1: use(value.bVal); return true;
    case VT_I2: use(value.iVal); return true;
    case VT_UI2: use(value.uiVal); return true;
    case VT_I4: use(value.lVal); return true;
    case VT_UI4: use(value.ulVal); return true;
    case VT_INT: use(value.intVal); return true;
    case VT_UINT: use(value.uintVal); return true;
    case VT_I8: use(value.llVal); return true;
    case VT_UI8: use(value.ullVal); return true;
    case VT_R4: use(value.fltVal); return true;
    case VT_R8: use(value.dblVal); return true;
    case VT_ERROR:
    case VT_HRESULT: use(value.scode); return true;
    default: return false;
    }
}

} // namespace

bool isScalar(VARTYPE type) {
    const VARIANT probe{};
    return type == VT_CY || type == VT_DATE || type == VT_DECIMAL || type == VT_BOOL ||
           withNumber(probe, type, [](auto) {});
}

std::string_view formatScalar(const VARIANT& value, char* buffer) {
    TextWriter out(buffer);
    if (withNumber(value, value.vt, [&out](auto number) { out.number(number); })) return out.text();
    if (value.vt == VT_BOOL) return value.boolVal != VARIANT_FALSE ? "true" : "false";
    if (value.vt == VT_CY) formatCurrency(out, value.cyVal);
    if (value.vt == VT_DATE) formatDate(out, value.date);
    if (value.vt == VT_DECIMAL) formatDecimal(out, decimalOf(value));
    return out.text();
}

HRESULT parseScalar(std::string_view text, VARTYPE type, VARIANT& value) {
    VARIANT made{};
    made.vt = type;
    HRESULT status = DISP_E_TYPEMISMATCH;
    const auto read = [&](auto& number) { status = parseNumber(text, number); };
    if (!withNumber(made, type, read)) {
        if (type == VT_BOOL) status = parseBool(text, made.boolVal);
        if (type == VT_CY) status = parseCurrency(text, made.cyVal);
        if (type == VT_DATE) status = parseDate(text, made.date);
        if (type == VT_DECIMAL) status = parseDecimal(text, made);
    }
    if (status == S_OK) value = made;
    return status;
}
