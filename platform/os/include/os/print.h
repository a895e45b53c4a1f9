// Formatted printing with conversions of the printf family. A format is checked against its arguments at
// compile time. %S prints a wide string to the narrow stream.
#pragma once

#include "os/stream.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace printing {

constexpr int none = -1;

/// The part of a format that belongs to one argument: the literal text before it, and its conversion. A
/// conversion of `*` sets the width of the next one.
struct Piece {
    std::uint16_t literalStart = 0;
    std::uint16_t literalLength = 0;
    char conversion = 0;
    int width = none;
};

template <class T>
concept NarrowText = std::convertible_to<T, std::string_view>;
template <class T>
concept WideText = std::convertible_to<T, const char16_t*>;
/// A text that prints itself.
template <class T>
concept SelfPrinting = requires(const T& text, OutStream& stream) {
    text.print(stream);
};

template <class T> constexpr bool accepts(char conversion) {
    switch (conversion) {
    case '*': return std::same_as<T, int>;
    case 'd': return std::integral<T> && !std::same_as<T, bool>;
    case 'X': return std::integral<T> && !std::same_as<T, bool> && sizeof(T) <= sizeof(int);
    case 'f': return std::floating_point<T>;
    case 's': return NarrowText<T>;
    case 'S': return WideText<T> || SelfPrinting<T>;
    default: return false;
    }
}

void printSigned(OutStream& stream, const Piece& piece, std::int64_t value);
void printHex(OutStream& stream, const Piece& piece, std::uint32_t value);
void printFloat(OutStream& stream, const Piece& piece, double value);
void printWide(OutStream& stream, const Piece& piece, const char16_t* text);

/// Prints the blanks before a text of `length` bytes.
inline void pad(OutStream& stream, const Piece& piece, std::size_t length) {
    if (piece.width > 0 && static_cast<std::size_t>(piece.width) > length) {
        stream.fill(' ', static_cast<std::size_t>(piece.width) - length);
    }
}

inline void printNarrow(OutStream& stream, const Piece& piece, std::string_view text) {
    pad(stream, piece, text.size());
    stream.write(text);
}

template <class T> void printArgument(OutStream& stream, const Piece& piece, const T& argument) {
    if constexpr (std::integral<T>) {
        if (piece.conversion == 'X') {
            printHex(stream, piece, static_cast<std::uint32_t>(argument));
        } else {
            printSigned(stream, piece, static_cast<std::int64_t>(argument));
        }
    } else if constexpr (std::floating_point<T>) {
        printFloat(stream, piece, argument);
    } else if constexpr (SelfPrinting<T>) {
        argument.print(stream);
    } else if constexpr (WideText<T>) {
        printWide(stream, piece, static_cast<const char16_t*>(argument));
    } else {
        printNarrow(stream, piece, argument);
    }
}

/// A format, parsed at compile time into one piece for each argument. It doesn't compile if a conversion is
/// unknown, doesn't fit its argument or has none.
template <class... Args> class Format {
public:
    template <std::size_t size> consteval Format(const char (&format)[size]) : text_(format) {
        constexpr std::size_t count = sizeof...(Args);
        std::size_t at = 0;
        std::size_t piece = 0;
        std::size_t literal = 0;
        while (at < size - 1) {
            if (format[at] != '%') {
                ++at;
                continue;
            }
            Piece parsed;
            parsed.literalStart = static_cast<std::uint16_t>(literal);
            parsed.literalLength = static_cast<std::uint16_t>(at - literal);
            ++at;
            if (format[at] == '*') {
                Piece star = parsed;
                star.conversion = '*';
                add(star, piece, count);
                parsed.literalLength = 0;
                ++at;
            }
            parsed.conversion = format[at++];
            add(parsed, piece, count);
            literal = at;
        }
        if (piece != count) throw "an argument without a conversion";
        tail_ = text_.substr(literal);
    }

    std::string_view literalOf(const Piece& piece) const {
        return {text_.data() + piece.literalStart, piece.literalLength};
    }
    const Piece& operator[](std::size_t index) const { return pieces_[index]; }
    std::string_view tail() const { return tail_; }

private:
    consteval void add(const Piece& piece, std::size_t& index, std::size_t count) {
        if (index >= count) throw "a conversion without an argument";
        constexpr bool (*const tests[])(char) = {accepts<Args>..., nullptr};
        if (!tests[index](piece.conversion)) throw "a conversion that doesn't suit its argument";
        pieces_[index++] = piece;
    }

    std::string_view text_;
    std::string_view tail_;
    std::array<Piece, sizeof...(Args)> pieces_{};
};

} // namespace printing

/// The format of a print with arguments of these types.
template <class... Args> using Format = printing::Format<std::type_identity_t<Args>...>;

/// Prints to a stream. Conversions: %d (signed), %X (32 bits, capitals), %f, %s, and %S for a wide string,
/// which is narrowed unit by unit up to its first NUL; null prints nothing. `*` gives a conversion a width,
/// of blanks to its left, which it takes from the arguments. %S also prints an object that has a function
/// print(stream), without a width.
template <class... Args>
void printTo(OutStream& stream, const Format<Args...>& format, const Args&... arguments) {
    std::size_t index = 0;
    int width = printing::none;
    [[maybe_unused]] const auto print = [&]<class T>(const T& argument) {
        const printing::Piece& piece = format[index++];
        if (piece.literalLength > 0) stream.write(format.literalOf(piece));
        if constexpr (std::same_as<T, int>) {
            if (piece.conversion == '*') {
                width = argument;
                return;
            }
        }
        if (width == printing::none) {
            printing::printArgument(stream, piece, argument);
        } else {
            printing::Piece widened = piece;
            widened.width = width;
            width = printing::none;
            printing::printArgument(stream, widened, argument);
        }
    };
    (print(arguments), ...);
    stream.write(format.tail());
    stream.printed();
}
