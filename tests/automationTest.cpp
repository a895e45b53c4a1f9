// Values: their text and back, their comparison, their printed form.

#include "platform/automation/safearray.h"
#include "src/dispUtils.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>

namespace {

VARIANT ofType(VARTYPE type, std::uint64_t bits) {
    VARIANT value{};
    value.vt = type;
    value.ullVal = bits;
    return value;
}

std::string narrow(BSTR text) {
    const std::u16string_view units = view(text);
    return {units.begin(), units.end()};
}

/// The text of a value, or its status in words.
std::string textOf(const VARIANT& value) {
    Variant text;
    const HRESULT status = VariantChangeType(text.out(), &value, 0, VT_BSTR);
    return status < 0 ? "failed" : narrow(text->bstrVal);
}

HRESULT fromText(std::u16string_view text, VARTYPE type, Variant& value) {
    value = Variant::ofString(Bstr(text));
    return VariantChangeType(&value.get(), &value.get(), 0, type);
}

TEST(Values, haveTheTextThatReadersExpect) {
    VARIANT decimal{};
    setDecimal(decimal, {0, 3, DECIMAL_NEG, 0, 5});
    const std::pair<VARIANT, const char*> cases[] = {
        {ofType(VT_I4, 0xFFFFFFFF), "-1"},
        {ofType(VT_UI4, 0xFFFFFFFF), "4294967295"},
        {ofType(VT_R8, std::bit_cast<std::uint64_t>(0.1)), "0.1"},
        {ofType(VT_CY, 12345000), "1234.5"},
        {ofType(VT_CY, static_cast<std::uint64_t>(-1)), "-0.0001"},
        {decimal, "-0.005"},
        {ofType(VT_DATE, std::bit_cast<std::uint64_t>(0.5)), "1899-12-30T12:00:00"},
        {ofType(VT_DATE, std::bit_cast<std::uint64_t>(-1.25)), "1899-12-29T06:00:00"},
        {ofType(VT_DATE, std::bit_cast<std::uint64_t>(36526.0)), "2000-01-01T00:00:00"},
        {ofType(VT_BOOL, 0xFFFF), "true"},
        {ofType(VT_DISPATCH, 0), "failed"},
        {ofType(VT_CLSID, 0), "failed"}};
    for (const auto& [value, text] : cases) EXPECT_EQ(textOf(value), text);
}

TEST(Values, refuseATextThatIsNone) {
    struct Case {
        const char16_t* text;
        VARTYPE type;
        HRESULT status;
    };
    const Case cases[] = {{u"32768", VT_I2, DISP_E_OVERFLOW},
                          {u"-1", VT_UI4, DISP_E_OVERFLOW},
                          {u"1e999", VT_R8, DISP_E_OVERFLOW},
                          {u"922337203685477.5808", VT_CY, DISP_E_OVERFLOW},
                          {u"0.00001", VT_CY, DISP_E_OVERFLOW},
                          {u"79228162514264337593543950336", VT_DECIMAL, DISP_E_OVERFLOW},
                          {u"0.12345678901234567890123456789", VT_DECIMAL, DISP_E_OVERFLOW},
                          {u"2001-02-29T00:00:00", VT_DATE, DISP_E_OVERFLOW},
                          {u"2001-02-28T24:00:00", VT_DATE, DISP_E_OVERFLOW},
                          {u"2001-02-28 10:00:00", VT_DATE, DISP_E_TYPEMISMATCH},
                          {u"5x", VT_I4, DISP_E_TYPEMISMATCH},
                          {u"", VT_I4, DISP_E_TYPEMISMATCH},
                          {u"-", VT_UI4, DISP_E_TYPEMISMATCH},
                          {u"1.", VT_CY, DISP_E_TYPEMISMATCH},
                          {u".5", VT_DECIMAL, DISP_E_TYPEMISMATCH},
                          {u"1\u0665", VT_I4, DISP_E_TYPEMISMATCH},
                          {u"True", VT_BOOL, DISP_E_TYPEMISMATCH},
                          {u" ", VT_EMPTY, DISP_E_TYPEMISMATCH},
                          {u"x", VT_DISPATCH, DISP_E_TYPEMISMATCH},
                          {u"x", VT_UNKNOWN, DISP_E_TYPEMISMATCH},
                          {u"x", VT_ARRAY | VT_UI1, DISP_E_TYPEMISMATCH},
                          {u"x", VT_VARIANT, DISP_E_BADVARTYPE},
                          {u"x", VT_CLSID, DISP_E_BADVARTYPE},
                          {u"x", 0xFFFF, DISP_E_BADVARTYPE}};
    for (const Case& test : cases) {
        Variant value;
        EXPECT_EQ(fromText(test.text, test.type, value), test.status)
            << test.type << " " << narrow(Bstr(test.text));
        EXPECT_EQ(view(value->bstrVal), test.text);
    }
    Variant value;
    EXPECT_EQ(fromText(u" \r\n 7\t", VT_I4, value), S_OK);
    EXPECT_EQ(value->lVal, 7);
}

TEST(Values, numbersBecomeBooleans) {
    VARIANT decimal{};
    setDecimal(decimal, {0, 0, 0, 1, 0});
    const std::pair<VARIANT, bool> cases[] = {{ofType(VT_I4, 7), true},
                                              {ofType(VT_I8, 0), false},
                                              {ofType(VT_UI1, 0x100), false},
                                              {ofType(VT_CY, 1), true},
                                              {decimal, true},
                                              {ofType(VT_R8, std::bit_cast<std::uint64_t>(-0.0)), false}};
    for (const auto& [number, truth] : cases) {
        VARIANT value = number;
        ASSERT_EQ(VariantChangeType(&value, &value, 0, VT_BOOL), S_OK);
        EXPECT_EQ(value.boolVal, truth ? VARIANT_TRUE : VARIANT_FALSE);
    }
}

SAFEARRAY* stringArray(std::initializer_list<const char16_t*> texts, LONG lower = 0) {
    const SAFEARRAYBOUND bound{static_cast<ULONG>(texts.size()), lower};
    SAFEARRAY* array = SafeArrayCreate(VT_VARIANT, 1, &bound);
    std::size_t at = 0;
    for (const char16_t* text : texts) {
        static_cast<VARIANT*>(array->pvData)[at++] = Variant::ofString(Bstr(text)).detach();
    }
    return array;
}

TEST(Values, compareByTheirOwnRules) {
    const auto text = [](std::u16string_view units) { return Variant::ofString(Bstr(units)); };
    const auto plain = [](VARTYPE type, std::uint64_t bits) { return Variant::adopt(ofType(type, bits)); };
    const auto list = [](std::initializer_list<const char16_t*> texts, LONG lower = 0) {
        return Variant::ofArray(stringArray(texts, lower));
    };
    const auto nan = std::bit_cast<std::uint64_t>(std::nan(""));
    const std::tuple<Variant, Variant, Status> cases[] = {
        {plain(VT_BSTR, 0), text(u""), 0},
        {text(u"a"), text(u"A"), 1},
        {text(u"a"), text(std::u16string_view(u"a\0", 2)), 1},
        {plain(VT_I4, 5), plain(VT_I2, 5), 1},
        {plain(VT_I4, 5), plain(VT_I4, 5), 0},
        {plain(VT_I2, 5), plain(VT_I2, 0x10005), 0},
        {plain(VT_BOOL, 1), plain(VT_BOOL, 0xFFFF), 1},
        {plain(VT_ERROR, 1), plain(VT_ERROR, 1), 0},
        {plain(VT_UI1, 1), plain(VT_UI1, 2), 1},
        {plain(VT_R8, 0), plain(VT_R8, std::bit_cast<std::uint64_t>(-0.0)), 0},
        {plain(VT_R8, nan), plain(VT_R8, nan), 1},
        {plain(VT_R4, std::bit_cast<std::uint32_t>(1.5F)), plain(VT_R4, std::bit_cast<std::uint32_t>(1.5F)),
         0},
        {plain(VT_NULL, 1), plain(VT_NULL, 2), 0},
        {plain(VT_NULL, 0), plain(VT_EMPTY, 0), 1},
        {plain(VT_UI4, 5), plain(VT_UI4, 5), 1},
        {plain(VT_CY, 5), plain(VT_CY, 5), 1},
        {plain(VT_DATE, 0), plain(VT_DATE, 0), 1},
        {list({}), list({}), 0},
        {list({}), list({}, 1), 1},
        {list({u"a", u"b"}), list({u"a", u"b"}), 0},
        {list({u"a", u"b"}), list({u"b", u"a"}), 1},
        {list({u"a"}), list({u"a"}, 1), 1},
        {list({u"a", u"b"}), list({u"b"}, 1), 1},
        {list({u"a"}), text(u"a"), 1}};
    for (const auto& [a, b, result] : cases) EXPECT_EQ(cmpVariants(a.get(), b.get()), result) << a.type();
}

std::string printed(const VARIANT& value, Status expected = S_OK) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(printVariant(standardOutput(), value), expected);
    standardOutput().flush();
    return testing::internal::GetCapturedStdout();
}

TEST(Values, printInReadableForm) {
    const std::pair<Variant, const char*> cases[] = {
        {Variant::adopt(ofType(VT_EMPTY, 0)), "<empty>"},
        {Variant::adopt(ofType(VT_NULL, 0)), "<null>"},
        {Variant::adopt(ofType(VT_I2, 0xFFFF)), "-1"},
        {Variant::adopt(ofType(VT_R4, std::bit_cast<std::uint32_t>(0.5F))), "0.500000"},
        {Variant::ofString(Bstr(u"a\u00e9\u20ac")), "a\xE9?"},
        {Variant::adopt(ofType(VT_ERROR, 0xFFFFFFFF)), "[VT_ERROR] -1"},
        {Variant::adopt(ofType(VT_BOOL, 1)), "false"},
        {Variant::ofBool(true), "true"},
        {Variant::adopt(ofType(VT_UI1, 200)), "200"},
        {Variant::adopt(ofType(VT_DISPATCH, 0)), "[VT_DISPATCH]"},
        {Variant::adopt(ofType(VT_UNKNOWN, 0)), "[VT_UNKNOWN]"},
        {Variant::adopt(ofType(VT_CY, 0)), "[unknown variant type 6]"},
        {Variant::ofArray(stringArray({u"a"}, 7)), "a"},
        {Variant::ofArray(stringArray({u"a", u"b", u"c"}, -1)), "SAFEARRAY: 3 elements: a, b, c"},
        {Variant::ofArray(stringArray({})), "SAFEARRAY: 0 elements: "}};
    for (const auto& [value, text] : cases) EXPECT_EQ(printed(value.get()), text);
    EXPECT_EQ(printed(ofType(VT_R8, std::bit_cast<std::uint64_t>(1e300))).size(), 308U);
}

TEST(Values, refuseTypesThatCannotCome) {
    const SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    VARIANT square = ofType(VT_ARRAY | VT_VARIANT, 0);
    square.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
    const Variant array = Variant::adopt(square);
    const VARIANT byReference = ofType(VT_BYREF | VT_I4, 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(cmpVariants(byReference, byReference), E_UNEXPECTED);
    EXPECT_EQ(cmpVariants(square, square), E_UNEXPECTED);
    EXPECT_EQ(printed(byReference, E_UNEXPECTED), "");
    EXPECT_EQ(printed(square, E_UNEXPECTED), "");
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("Can't handle variant with extended type 0x4000 (full type 0x4003)Error"),
              std::string::npos);
    EXPECT_NE(said.find("Multidimensional SAFEARRAYs not supportedError"), std::string::npos);
}

} // namespace
