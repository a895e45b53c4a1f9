// Values: what they become as another type, their comparison, their printed form.

#include "automation/safearray.h"
#include "metabase/valueSyntax.h"
#include "src/dispUtils.h"
#include "src/propInfo.h"
#include "tests/support/errorLines.h"
#include "tests/support/tables.h"

#include <functional>
#include <gtest/gtest.h>

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

TEST(Values, areConvertedByTheirText) {
    for (const TableCase& test : Table("value-changes.txt", {{"value", "type"}, {}, {"gives", "status"}})) {
        SCOPED_TRACE(test);
        Variant value = valueOf(test["value"]);
        const auto type = static_cast<VARTYPE>(test.number("type"));
        setStatusDetail(DISP_E_TYPEMISMATCH, "an earlier one");
        const HRESULT status = VariantChangeType(&value.get(), &value.get(), 0, type);
        EXPECT_EQ(hex(status), test.get("status", "0"));
        EXPECT_TRUE(status == S_OK || statusText(status).find("type=\"" + test["type"]) != std::string::npos);
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
    for (const TableCase& test : Table("value-comparisons.txt", {{"a", "b", "result"}})) {
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

std::string printed(const VARIANT& value, Status expected = S_OK) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(printVariant(standardOutput(), value), expected);
    standardOutput().flush();
    return testing::internal::GetCapturedStdout();
}

TEST(Values, arePrintedInReadableForm) {
    for (const TableCase& test : Table("value-prints.txt", {{"value", "printed"}}))
        EXPECT_EQ(printed(valueOf(test["value"]).get()), test["printed"]) << test;
    EXPECT_EQ(printed(ofType(VT_DISPATCH, 0)), "[VT_DISPATCH]");
    EXPECT_EQ(printed(ofType(VT_UNKNOWN, 0)), "[VT_UNKNOWN]");
    EXPECT_EQ(printed(stringArray({u"a"}, 7).get()), "a");
    EXPECT_EQ(printed(stringArray({u"a", u"b"}, -1).get()), "SAFEARRAY: 2 elements: a, b");
}

/// What a handler prints on standard error, and its status.
std::string printedBy(const std::function<Status()>& handler, Status expected) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(handler(), expected);
    return testing::internal::GetCapturedStderr();
}

TEST(PropertyTable, hasHandlersThatNoPassCalls) {
    const Variant live = Variant::ofString(Bstr(u"live"));
    BackupProp prop;
    prop.parsed = true;
    prop.value = Variant::ofString(Bstr(u"file"));
    for (const auto& [name, printsValue] : {std::pair(u"Any", true), std::pair(u"KeyType", true),
                                            std::pair(u"MimeMap", false), std::pair(u"IPSecurity", false)}) {
        for (const bool useLive : {true, false}) {
            const auto print = [&, name = name] {
                return findPropInfo(name).printFn(useLive, prop, live.get());
            };
            EXPECT_EQ(printedBy(print, S_OK), !printsValue ? "" : useLive ? "live" : "file");
        }
    }
    const auto compare = [&] { return findPropInfo(u"AdminACL").cmpFn(live.get(), prop); };
    EXPECT_EQ(folded(printedBy(compare, E_NOTIMPL), "80004001"),
              "{propInfo}unsupPropCmp not implemented yet");
    const auto same = [](const VARIANT& value) { return cmpVariants(value, value); };
    EXPECT_EQ(same(ofType(VT_DISPATCH, 0)), comparedSame);
    EXPECT_EQ(same(ofType(VT_CY, 0)), comparedDifferent);
}

TEST(Values, ofTypesThatNoProviderGivesAreRefused) {
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
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("Can't handle variant with extended type 0x4000 (full type 0x4003)Error"),
              std::string::npos);
    EXPECT_NE(text.find("Multidimensional SAFEARRAYs not supportedError"), std::string::npos);
}

} // namespace
