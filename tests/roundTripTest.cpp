// What is written comes back: values through their text, and a whole tree through a backup file.

#include "platform/automation/safearray.h"
#include "platform/metabase/valueText.h"
#include "tests/restoreSupport.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <set>

namespace {

/// Numbers at random. Their seed is printed; the environment variable SKEINKEEP_SEED gives one anew.
class Random {
public:
    Random() {
        const char* given = std::getenv("SKEINKEEP_SEED");
        const std::uint64_t seed =
            given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device()();
        std::printf("SKEINKEEP_SEED=%llu\n", static_cast<unsigned long long>(seed));
        (void)std::fflush(stdout);
        engine_.seed(seed);
    }
    std::uint64_t bits() { return engine_(); }
    std::size_t below(std::size_t limit) { return engine_() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <class T, std::size_t size> const T& of(const T (&choices)[size]) {
        return choices[below(size)];
    }

private:
    std::mt19937_64 engine_;
};

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
    EXPECT_EQ(writeValue(text, ValueForm::plain, value), S_OK);
    return text;
}

void expectSameThroughFile(const VARIANT& value) {
    const std::string text = written(value);
    LineReader reader(text);
    Variant back;
    ASSERT_TRUE(reader.value(ValueForm::plain, &back) && reader.atEnd()) << text;
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
    Random random;
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

enum class Place { text, attribute, name };

/// A text of what the backup file can carry in the place: all units but those that README names.
std::u16string randomText(Random& random, Place place) {
    const auto fits = [place](char16_t unit) {
        if (place == Place::text && (unit == u'\t' || unit == u'\n')) return true;
        if (place == Place::name && (unit == u'/' || (unit >= 0x7F && unit < 0xA0))) return false;
        return unit >= 0x20 && unit < 0xFFFE && !isHighHalf(unit) && !isLowHalf(unit);
    };
    std::u16string text;
    for (std::size_t left = random.below(8) + (place == Place::name ? 1 : 0); left > 0;) {
        const auto any = static_cast<char16_t>(random.bits() >> (48 + random.below(11)));
        const char16_t unit = random.oneIn(2) ? any : random.of(u"<>&\"' ;#]=\t\n");
        if (random.oneIn(16)) {
            const auto pair = static_cast<char32_t>(0x10000 + random.below(0x100000));
            text.append({highHalfOf(pair), lowHalfOf(pair)});
        } else if (fits(unit)) {
            text += unit;
        } else {
            continue;
        }
        --left;
    }
    return text;
}

std::string joined(std::initializer_list<std::string_view> pieces) {
    std::string all;
    for (const std::string_view piece : pieces) all += piece;
    return all;
}

std::string literal(std::u16string_view text) {
    std::string all(1, '"');
    for (const char16_t unit : text) {
        char escaped[8];
        (void)std::snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned>(unit));
        all += escaped;
    }
    return all += '"';
}

/// A value of a type that compares as equal, and is equal only to itself.
std::string randomScalar(Random& random) {
    const auto type =
        random.of({VT_EMPTY, VT_NULL, VT_I2, VT_I4, VT_R4, VT_R8, VT_BSTR, VT_ERROR, VT_BOOL, VT_UI1});
    if (type == VT_BSTR) return literal(randomText(random, Place::text));
    if (type == VT_BOOL) return random.oneIn(2) ? "true" : "false";
    VARIANT value = ofType(type, random.bits());
    if (isNan(value) || (type == VT_R4 && value.fltVal == 0) || (type == VT_R8 && value.dblVal == 0))
        value.ullVal = 0;
    return written(value);
}

/// Up to four items with commas between them. Where their order makes no difference to a restore, it is
/// always the same.
template <class Item> std::string several(Random& random, bool ordered, Item item) {
    std::vector<std::string> items(random.below(5));
    for (std::string& one : items) one = item();
    if (!ordered) std::ranges::sort(items);
    std::string all;
    for (const std::string& one : items) all.append(all.empty() ? "" : ", ").append(one);
    return all;
}

std::string randomList(Random& random) {
    return joined({"[", several(random, true, [&] { return randomScalar(random); }), "]"});
}

std::string randomValue(Random& random, std::string_view type) {
    const auto attribute = [&] { return literal(randomText(random, Place::attribute)); };
    const auto entry = [&] { return joined({attribute(), " ", attribute()}); };
    if (type == "string") return attribute();
    if (type == "opaque") return joined({"opaque(", attribute(), ")"});
    if (type == "mime") return joined({"mime(", several(random, false, entry), ")"});
    if (type != "ipsec") return random.oneIn(2) ? randomScalar(random) : randomList(random);
    std::string rules = random.oneIn(2) ? "ipsec(GrantByDefault true" : "ipsec(GrantByDefault false";
    for (const char* part : {"IPGrant", "IPDeny", "DomainGrant", "DomainDeny"})
        rules += joined({", ", part, " ", randomList(random)});
    return rules += ')';
}

/// A schema at random, and trees that obey it.
class RandomServer {
public:
    explicit RandomServer(Random& random) : random_(random) {
        define("KeyType", "string");
        define("ServerState", "string");
        define("AdminACL", "opaque");
        define("RelayIpList", "opaque");
        define("MimeMap", "mime");
        define("IPSecurity", "ipsec");
        for (std::size_t left = random_.below(6); left > 0; --left) {
            const std::u16string name = randomText(random_, Place::attribute);
            define(literal(static_cast<char16_t>(u'a' + left) + name), "i4");
        }
        for (const char* name : {"IIsComputer", "IIsWebServer", "IIsWebDirectory", "IIsFtpInfo"}) {
            const bool container = classes_.empty() || random_.oneIn(2);
            schema_ += joined({"class ", name, container ? " container " : " leaf ",
                               random_.of({"deleteops ", "nodeleteops "}), someProperties(), " ",
                               someProperties(), "\n"});
            classes_.emplace_back(name, container);
        }
        for (std::u16string& name : names_) name = randomText(random_, Place::name);
    }

    std::string tree() {
        std::vector<std::u16string> containers{u"localhost"};
        std::set<std::u16string> taken;
        std::string text =
            joined({schema_, "above\n", values(), "object \"localhost\" IIsComputer\n", values()});
        for (std::size_t left = random_.below(10); left > 0; --left) {
            const std::u16string path =
                containers[random_.below(containers.size())] + u"/" + random_.of(names_);
            const auto& [name, container] = classes_[1 + random_.below(classes_.size() - 1)];
            if (!taken.insert(path).second) continue;
            if (container) containers.push_back(path);
            text += joined({"object ", literal(path), " ", name, "\n", values()});
        }
        return text;
    }

private:
    void define(const std::string& name, const char* type) {
        schema_ += joined({"property ", name, " ", type, random_.of({" single", " list"}),
                           random_.of({" inheritable ", " local "}), randomValue(random_, type), "\n"});
        properties_.emplace_back(name, type);
    }
    std::string someProperties() {
        std::string list;
        for (const auto& [name, type] : properties_) {
            if (random_.oneIn(2)) list += joined({list.empty() ? "" : ", ", name});
        }
        return joined({"(", list, ")"});
    }
    std::string values() {
        std::string lines;
        for (const auto& [name, type] : properties_) {
            if (random_.oneIn(3)) lines += joined({"  ", name, " ", randomValue(random_, type), "\n"});
        }
        return lines;
    }

    Random& random_;
    std::string schema_ = "metabase 1\n";
    std::vector<std::pair<std::string, const char*>> properties_;
    std::vector<std::pair<const char*, bool>> classes_;
    std::u16string names_[4];
};

/// Says what went wrong with a server that is backed up and another that is brought into line with it.
std::string faultOfRoundTrip(const Folder& folder, const std::string& server, const std::string& other) {
    const auto done = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"-file", arguments[0] == "-backup" ? "after" : "before"});
        return runHere(arguments) == 0;
    };
    folder.write("metabase.txt", server);
    if (!done({"-backup"})) return "the backup";
    std::filesystem::rename("after", "before");
    folder.write("metabase.txt", other);
    if (!done({"-restore", "-n"}) || folder.read("metabase.txt") != other) return "the dry run";
    if (!done({"-restore"})) return "the restore";
    if (!done({"-backup"})) return "the second backup";
    if (comparable(folder.read("before")) != comparable(folder.read("after"))) return "what came back";
    std::filesystem::last_write_time("metabase.txt", {});
    if (!done({"-restore"})) return "the second restore";
    return std::filesystem::last_write_time("metabase.txt") == std::filesystem::file_time_type()
               ? ""
               : "a second change";
}

TEST(RoundTrip, ofEveryTreeThroughABackupBringsAnotherTreeIntoLine) {
    Random random;
    const Folder folder(Folder::Place::inMemory);
    const Outcome run = runChild(folder, [&] {
        for (int number = 0; number < 2000; ++number) {
            RandomServer server(random);
            const std::string first = server.tree();
            const std::string second = server.tree();
            const std::string fault = faultOfRoundTrip(folder, first, second);
            if (fault.empty()) continue;
            folder.write("fault",
                         joined({fault, " of case ", std::to_string(number), "\n", first, "\n", second}));
            return 1;
        }
        return 0;
    });
    EXPECT_EQ(run.exitCode, 0) << folder.read("fault")
                               << run.out.substr(run.out.size() - std::min<std::size_t>(run.out.size(), 2000))
                               << run.err;
}

} // namespace
