// What is written comes back: values through their text, and a whole tree through a backup file.

#include "automation/safearray.h"
#include "metabase/valueSyntax.h"
#include "tests/support/servers.h"
#include "tools/generator/randomMetabase.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>
#include <random>

namespace {

/// The seed of a run, which is printed; the environment variable SKEINKEEP_SEED gives one anew.
std::uint64_t seed() {
    const char* given = std::getenv("SKEINKEEP_SEED");
    const std::uint64_t chosen =
        given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device()();
    std::cout << "SKEINKEEP_SEED=" << chosen << std::endl;
    return chosen;
}

// ---- values

VARIANT ofType(VARTYPE type, std::uint64_t bits) {
    VARIANT value{};
    value.vt = type;
    value.ullVal = bits;
    return value;
}

bool isNan(const VARIANT& value) {
    return (value.vt == VT_R4 && std::isnan(value.fltVal)) ||
           ((value.vt == VT_R8 || value.vt == VT_DATE) && std::isnan(value.dblVal));
}

void expectSame(const VARIANT& value, const VARIANT& back, const std::string& way) {
    using Bits = std::array<std::uint64_t, 2>;
    ASSERT_EQ(back.vt, value.vt) << way;
    if (value.vt == VT_BSTR) {
        EXPECT_EQ(view(back.bstrVal), view(value.bstrVal)) << way;
    } else if (isNan(value)) {
        EXPECT_TRUE(isNan(back)) << way;
    } else {
        EXPECT_EQ(std::bit_cast<Bits>(back), std::bit_cast<Bits>(value)) << way;
    }
}

/// A value as the metabase file writes it.
std::string written(const VARIANT& value) {
    std::string text;
    EXPECT_EQ(metabase::formatValue(text, metabase::ValueForm::plain, value), S_OK);
    return text;
}

void expectSameThroughFile(const VARIANT& value) {
    const std::string text = written(value);
    metabase::Lexer reader(text);
    Variant back;
    ASSERT_TRUE(metabase::parseValue(reader, metabase::ValueForm::plain, back) && reader.atEnd()) << text;
    ASSERT_EQ(back->parray->rgsabound[0].cElements, 1U) << text;
    expectSame(value, *static_cast<VARIANT*>(back->parray->pvData), text);
}

void expectSame(const VARIANT& value) {
    Variant text;
    Variant back;
    ASSERT_EQ(VariantChangeType(text.out(), &value, 0, VT_BSTR), S_OK) << value.vt;
    ASSERT_EQ(VariantChangeType(back.out(), &text.get(), 0, value.vt), S_OK) << value.vt;
    expectSame(value, back.get(), testing::PrintToString(view(text->bstrVal)));
    expectSameThroughFile(value);
}

struct Width {
    VARTYPE type;
    unsigned bytes;
};
constexpr Width plainTypes[] = {{VT_I1, 1},    {VT_UI1, 1},     {VT_I2, 2},   {VT_UI2, 2},
                                {VT_I4, 4},    {VT_UI4, 4},     {VT_INT, 4},  {VT_UINT, 4},
                                {VT_ERROR, 4}, {VT_HRESULT, 4}, {VT_R4, 4},   {VT_I8, 8},
                                {VT_UI8, 8},   {VT_CY, 8},      {VT_DATE, 8}, {VT_R8, 8}};

void expectSame(VARTYPE type, double number) {
    expectSame(ofType(type, std::bit_cast<std::uint64_t>(number)));
}

TEST(RoundTrip, ofEveryValueIsTheSameToTheBit) {
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

// ---- trees

/// Backs a server up and brings another one into line with it.
void expectRoundTrip(const Folder& folder, const std::string& server, const std::string& other) {
    const auto run = [&](const Arguments& arguments) {
        const Outcome outcome = runHere(folder, arguments);
        EXPECT_EQ(outcome.exitCode, 0) << testing::PrintToString(arguments) << outcome;
    };
    folder.write("metabase.txt", server);
    run({"-backup", "-file", "before"});
    folder.write("metabase.txt", other);
    run({"-restore", "-n", "-file", "before"});
    EXPECT_EQ(folder.read("metabase.txt"), other) << "changed by the dry run";
    run({"-restore", "-file", "before"});
    run({"-backup", "-file", "after"});
    EXPECT_EQ(restorablePart(folder.read("after")), restorablePart(folder.read("before")));
    const std::filesystem::path metabase = folder.path("metabase.txt");
    std::filesystem::last_write_time(metabase, {});
    run({"-restore", "-file", "before"});
    EXPECT_EQ(std::filesystem::last_write_time(metabase), std::filesystem::file_time_type())
        << "changed by a second restore";
}

TEST(RoundTrip, ofEveryTreeThroughABackupBringsAnotherTreeIntoLine) {
    Random random(seed());
    const Folder folder(Folder::Place::inMemory);
    for (int number = 0; number < 2000 && !HasFailure(); ++number) {
        RandomMetabase server(random);
        const std::string first = server.tree();
        const std::string second = server.tree();
        SCOPED_TRACE(testing::Message() << "case " << number << "\n" << first << "\n" << second);
        expectRoundTrip(folder, first, second);
    }
}

} // namespace
