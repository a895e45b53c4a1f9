// Values: what they become as another type, their comparison, their printed form.

#include "automation/safearray.h"
#include "metabase/valueSyntax.h"
#include "src/dispUtils.h"
#include "src/propInfo.h"
#include "tests/support/errorLines.h"
#include "tests/support/processes.h"
#include "tests/support/seed.h"
#include "tests/support/tables.h"
#include "text/codePage.h"
#include "text/utf16.h"
#include "tools/generator/randomMetabase.h"

#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

namespace {

VARIANT ofType(VARTYPE type, std::uint64_t bits) {
    VARIANT value{};
    value.vt = type;
    value.ullVal = bits;
    return value;
}

Variant plain(VARTYPE type, std::uint64_t bits) { return Variant::adopt(ofType(type, bits)); }

/// The value of a text as the metabase file writes it.
Variant valueOf(const std::string& text) {
    metabase::Lexer reader(text);
    Variant list;
    EXPECT_TRUE(metabase::parseValue(reader, metabase::ValueForm::plain, list) && reader.atEnd()) << text;
    if (list->parray->rgsabound[0].cElements != 1) return list;
    return Variant::adopt(std::exchange(*static_cast<VARIANT*>(list->parray->pvData), {}));
}

std::string textOf(const VARIANT& value) {
    std::string text;
    EXPECT_EQ(metabase::formatValue(text, metabase::ValueForm::plain, value), S_OK);
    return text;
}

void expectSame(const VARIANT& value, const VARIANT& back, const std::string& way) {
    using Bits = std::array<std::uint64_t, 2>;
    ASSERT_EQ(back.vt, value.vt) << way;
    if (value.vt == VT_BSTR) {
        EXPECT_EQ(view(back.bstrVal), view(value.bstrVal)) << way;
    } else if (textOf(value).ends_with("nan")) {
        EXPECT_TRUE(textOf(back).ends_with("nan")) << way;
    } else {
        EXPECT_EQ(std::bit_cast<Bits>(back), std::bit_cast<Bits>(value)) << way;
    }
}

void expectSameThroughFile(const VARIANT& value) {
    const std::string text = textOf(value);
    expectSame(value, valueOf(text).get(), text);
}

void expectSame(const VARIANT& value) {
    Variant text;
    Variant back;
    ASSERT_EQ(VariantChangeType(text.out(), &value, 0, VT_BSTR), S_OK) << value.vt;
    ASSERT_EQ(VariantChangeType(back.out(), &text.get(), 0, value.vt), S_OK) << value.vt;
    expectSame(value, back.get(), testing::PrintToString(view(text->bstrVal)));
    expectSameThroughFile(value);
}

/// With the number of bytes.
constexpr std::pair<VARTYPE, unsigned> plainTypes[] = {
    {VT_I1, 1},  {VT_UI1, 1},  {VT_I2, 2},    {VT_UI2, 2},     {VT_I4, 4}, {VT_UI4, 4},
    {VT_INT, 4}, {VT_UINT, 4}, {VT_ERROR, 4}, {VT_HRESULT, 4}, {VT_R4, 4}, {VT_I8, 8},
    {VT_UI8, 8}, {VT_CY, 8},   {VT_DATE, 8},  {VT_R8, 8}};

void expectSame(VARTYPE type, double number) {
    expectSame(ofType(type, std::bit_cast<std::uint64_t>(number)));
}

TEST(Values, comeBackFromTheirTextsTheSameToTheBit) {
    Random random(seed());
    for (const auto& [type, bytes] : plainTypes) {
        const std::uint64_t mask = ~std::uint64_t{0} >> (64 - 8 * bytes);
        const std::uint64_t high = std::uint64_t{1} << (8 * bytes - 1);
        for (const std::uint64_t bits : {std::uint64_t{0}, mask, high, high - 1, high + 1})
            expectSame(ofType(type, bits));
        for (int i = 0; i < 3000; ++i) expectSame(ofType(type, random.bits() >> random.below(64) & mask));
    }
    for (int i = 0; i < 3000; ++i) {
        VARIANT value{};
        setDecimal(value, {0, static_cast<BYTE>(random.below(29)),
                           static_cast<BYTE>(random.oneIn(2) ? DECIMAL_NEG : 0),
                           static_cast<ULONG>(random.bits() >> random.below(64)),
                           random.bits() >> random.below(64)});
        expectSame(value);
        // Dates that have a calendar text, and neighbours of them that have none.
        const double day = static_cast<double>(random.below(200000)) - 100000;
        const double time = static_cast<double>(random.below(86400)) / 86400;
        const double date = day < 0 ? day - time : day + time;
        expectSame(VT_DATE, date);
        expectSame(VT_DATE, std::nextafter(date, 1e9));
        expectSameThroughFile(ofType(VT_BOOL, random.bits() & 0xFFFF));
        std::u16string units(random.below(9), u'\0');
        for (char16_t& unit : units) unit = static_cast<char16_t>(random.bits() >> (48 + random.below(16)));
        expectSame(Variant::ofString(Bstr(units)).get());
    }
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double number : {-0.0, infinity, -infinity, std::nan(""), 5e-324, 1.7976931348623157e308,
                                -657434.0, 2958465.0, 2958466.0}) {
        for (const VARTYPE type : {VT_R8, VT_DATE}) expectSame(type, number);
    }
    for (const std::uint32_t bits : {0x7F800000U, 0xFF800000U, 0x7FC00000U}) expectSame(ofType(VT_R4, bits));
    for (const VARTYPE type : {VT_EMPTY, VT_NULL}) expectSame(ofType(type, 0));
    for (const bool truth : {true, false}) expectSame(Variant::ofBool(truth).get());
}

TEST(Values, areConvertedByTheirText) {
    for (const TableCase& test :
         readTable("value-changes.txt", {{"value", "type"}, {}, {"gives", "status"}})) {
        SCOPED_TRACE(test);
        Variant value = valueOf(test["value"]);
        const auto type = static_cast<VARTYPE>(test.number("type"));
        setStatusDetail(DISP_E_TYPEMISMATCH, "an earlier one");
        const HRESULT status = VariantChangeType(&value.get(), &value.get(), 0, type);
        EXPECT_EQ(hex(status), test.get("status", "0"));
        EXPECT_TRUE(status == S_OK || contains(statusText(status), "type=\"" + test["type"]));
        // A refused value stays as it was.
        EXPECT_EQ(textOf(value.get()), test.get("gives", test["value"]));
    }
    VARIANT wide = ofType(VT_UI1, 0x100);
    EXPECT_EQ(VariantChangeType(&wide, &wide, 0, VT_BOOL), S_OK);
    EXPECT_EQ(wide.boolVal, VARIANT_FALSE);
    for (const VARTYPE type : {VT_DISPATCH, VT_CLSID}) {
        VARIANT textless = ofType(type, 0);
        EXPECT_LT(VariantChangeType(&textless, &textless, 0, VT_BSTR), 0);
    }
}

Variant stringArray(std::initializer_list<const char16_t*> texts, LONG lower = 0) {
    const SAFEARRAYBOUND bound{static_cast<ULONG>(texts.size()), lower};
    SAFEARRAY* array = SafeArrayCreate(VT_VARIANT, 1, &bound);
    auto* element = static_cast<VARIANT*>(array->pvData);
    for (const char16_t* text : texts) *element++ = Variant::ofString(Bstr(text)).detach();
    return Variant::ofArray(array);
}

TEST(Values, areComparedByTheirOwnRules) {
    for (const TableCase& test : readTable("value-comparisons.txt", {{"a", "b", "result"}})) {
        EXPECT_EQ(cmpVariants(valueOf(test["a"]).get(), valueOf(test["b"]).get()), test.number("result"))
            << test;
    }
    const std::tuple<Variant, Variant, int> cases[] = {
        {plain(VT_BSTR, 0), Variant::ofString(Bstr(u"")), 0},
        {plain(VT_I2, 5), plain(VT_I2, 0x10005), 0},
        {plain(VT_NULL, 1), plain(VT_NULL, 2), 0},
        {stringArray({}), stringArray({}, 1), 1},
        {stringArray({u"a"}), stringArray({u"a"}, 1), 1},
        {stringArray({u"a", u"b"}), stringArray({u"b"}, 1), 1},
        {stringArray({u"a"}), Variant::ofString(Bstr(u"a")), 1}};
    for (const auto& [a, b, result] : cases) EXPECT_EQ(cmpVariants(a.get(), b.get()), result) << a.type();
}

/// What is printed of a value on standard output.
std::string printed(const VARIANT& value) {
    return runHere(Folder(), [&] { return printVariant(standardOutput(), value); }).out;
}

TEST(Values, arePrintedInReadableForm) {
    for (const TableCase& test : readTable("value-prints.txt", {{"value", "printed"}}))
        EXPECT_EQ(printed(valueOf(test["value"]).get()), test["printed"]) << test;
    EXPECT_EQ(printed(ofType(VT_DISPATCH, 0)), "[VT_DISPATCH]");
    EXPECT_EQ(printed(ofType(VT_UNKNOWN, 0)), "[VT_UNKNOWN]");
    EXPECT_EQ(printed(stringArray({u"a"}, 7).get()), "a");
    EXPECT_EQ(printed(stringArray({u"a", u"b"}, -1).get()), "SAFEARRAY: 2 elements: a, b");
}

/// Expects that a call returns a status and prints nothing but the message.
void expectRefused(const std::function<Status()>& call, HRESULT status, const std::string& message) {
    EXPECT_EQ(folded(runHere(Folder(), call), hex(status)), (Outcome{status, "", message}));
}

TEST(Text, endsWhereItsLengthSays) {
    const std::u16string_view pair = u"\xD83D\xDE00";
    const char16_t* at = pair.data();
    EXPECT_EQ(utf16::decodeCharacter(at, at + 1), 0xD83DU);
    EXPECT_EQ(at, pair.data() + 1);
    char16_t unit = 0;
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "a", -1, nullptr, 0), 2);
    EXPECT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "a", 1, &unit, 1), 1);
    EXPECT_EQ(unit, u'a');
}

TEST(PropertyTable, hasEightWordsForBooleans) {
    for (const char16_t* word : {u"true", u"t", u"1", u"yes", u"false", u"f", u"0", u"no"}) {
        bool value = false;
        EXPECT_EQ(parseBoolWord(word, value), S_OK);
        EXPECT_EQ(value, std::u16string_view(u"t1y").find(word[0]) != std::u16string_view::npos);
    }
}

TEST(PropertyTable, hasHandlersThatNoPassCalls) {
    const Variant live = Variant::ofString(Bstr(u"live"));
    BackupProp prop;
    prop.parsed = true;
    prop.value = Variant::ofString(Bstr(u"file"));
    const auto printedOf = [&](const char16_t* name, bool useLive) {
        return runHere(Folder(), [&] { return findPropInfo(name).printFn(useLive, prop, live.get()); }).err;
    };
    for (const char16_t* name : {u"Any", u"KeyType"})
        EXPECT_EQ(printedOf(name, true) + printedOf(name, false), "livefile");
    for (const char16_t* name : {u"MimeMap", u"IPSecurity"}) EXPECT_EQ(printedOf(name, true), "");
    expectRefused([&] { return findPropInfo(u"AdminACL").cmpFn(live.get(), prop); }, E_NOTIMPL,
                  "{propInfo}unsupPropCmp not implemented yet");
}

TEST(Values, ofTypesThatNoProviderGivesAreRefused) {
    const SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    VARIANT square = ofType(VT_ARRAY | VT_VARIANT, 0);
    square.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
    const Variant array = Variant::adopt(square);
    Variant list = stringArray({u"a"});
    VARIANT& element = *static_cast<VARIANT*>(list->parray->pvData);
    const VARTYPE type = std::exchange(element.vt, VT_VECTOR);
    Variant copy;
    EXPECT_EQ(VariantCopy(copy.out(), &list.get()), DISP_E_BADVARTYPE);
    element.vt = type;
    const VARIANT noList = ofType(VT_ARRAY | VT_VARIANT, 0);
    EXPECT_EQ(VariantCopy(copy.out(), &noList), S_OK);
    // The elements, the lower bound, and the upper one if it is accepted: a loop over all indices must end.
    const std::tuple<ULONG, LONG, std::optional<LONG>> dimensions[] = {
        {2, INT32_MAX, std::nullopt}, {1, INT32_MAX, std::nullopt},
        {0, INT32_MIN, std::nullopt}, {1, INT32_MAX - 1, INT32_MAX - 1},
        {1, INT32_MIN, INT32_MIN},    {UINT32_MAX, INT32_MIN, INT32_MAX - 1},
        {0x80000000, INT32_MIN, -1}};
    for (const auto& [count, lower, upper] : dimensions) {
        const SAFEARRAYBOUND withoutElements[] = {{0, 0}, {count, lower}};
        SAFEARRAY* made = SafeArrayCreate(VT_VARIANT, 2, withoutElements);
        LONG bound = 0;
        EXPECT_EQ(SafeArrayGetUBound(made, 2, &bound), upper ? S_OK : E_INVALIDARG);
        EXPECT_EQ(bound, upper.value_or(0)) << count << " from " << lower;
        EXPECT_EQ(SafeArrayDestroy(made), S_OK);
    }
    for (const DECIMAL wrong : {DECIMAL{0, 29, 0, 0, 1}, DECIMAL{0, 0, 1, 0, 1}}) {
        VARIANT number{};
        setDecimal(number, wrong);
        EXPECT_EQ(VariantChangeType(&number, &number, 0, VT_BSTR), DISP_E_BADVARTYPE);
    }
    EXPECT_EQ(SafeArrayCreate(VT_I4, 1, bounds), nullptr);
    EXPECT_EQ(SafeArrayGetDim(nullptr), 0U);
    SAFEARRAYBOUND widest{UINT32_MAX, INT32_MIN};
    SAFEARRAY untyped{1, VT_EMPTY, 0, nullptr, &widest};
    VARIANT unreadable = ofType(VT_ARRAY | VT_VARIANT, 0);
    unreadable.parray = &untyped;
    EXPECT_EQ(printed(unreadable), "SAFEARRAY: 4294967295 elements: ");
    const std::pair<VARIANT, std::string> cases[] = {
        {ofType(VT_BYREF | VT_I4, 0),
         "{dispUtils}Can't handle variant with extended type 0x4000 (full type 0x4003)"},
        {square, "{dispUtils}Multidimensional SAFEARRAYs not supported"}};
    for (const auto& [value, message] : cases) {
        expectRefused([&value = value] { return cmpVariants(value, value); }, E_UNEXPECTED, message);
        expectRefused([&value = value] { return printVariant(standardOutput(), value); }, E_UNEXPECTED,
                      message);
    }
    EXPECT_EQ(cmpVariants(ofType(VT_DISPATCH, 0), ofType(VT_DISPATCH, 0)), comparedSame);
}

} // namespace
