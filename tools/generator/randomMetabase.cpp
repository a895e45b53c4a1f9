#include "tools/generator/randomMetabase.h"

#include "text/utf16.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <set>

namespace {

std::string joined(std::initializer_list<std::string_view> pieces) {
    std::string all;
    for (const std::string_view piece : pieces) all += piece;
    return all;
}

enum class Place { text, attribute, name };

/// Whether the backup file can carry the unit in the place.
bool fits(char16_t unit, Place place) {
    if (place == Place::text && (unit == u'\t' || unit == u'\n')) return true;
    if (place == Place::name && (unit == u'/' || (unit >= 0x7F && unit < 0xA0))) return false;
    return unit >= 0x20 && unit < 0xFFFE && !utf16::isHalf(unit);
}

std::u16string randomText(Random& random, Place place) {
    std::u16string text;
    for (std::size_t left = random.below(8) + (place == Place::name ? 1 : 0); left > 0;) {
        const auto any = static_cast<char16_t>(random.bits() >> (48 + random.below(11)));
        const char16_t unit = random.oneIn(2) ? any : random.of(u"<>&\"' ;#]=\t\n");
        if (random.oneIn(16)) {
            char16_t pair[2];
            text.append(pair, utf16::encode(static_cast<char32_t>(0x10000 + random.below(0x100000)), pair));
        } else if (fits(unit, place)) {
            text += unit;
        } else {
            continue;
        }
        --left;
    }
    return text;
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

/// A number of the bits that is equal only to itself: no NaN, and no zero, which has two signs.
template <class Float, class Bits> std::string floatText(const char* format, Bits bits) {
    Float number{};
    std::memcpy(&number, &bits, sizeof number);
    if (std::isnan(number) || number == 0) number = 1;
    char text[40];
    (void)std::snprintf(text, sizeof text, format, static_cast<double>(number));
    return text;
}

/// A value of a type that compares as equal.
std::string randomScalar(Random& random) {
    const std::uint64_t bits = random.bits() >> random.below(64);
    switch (random.below(10)) {
    case 0: return "empty";
    case 1: return "null";
    case 2: return "i2:" + std::to_string(static_cast<std::int16_t>(bits));
    case 3: return std::to_string(static_cast<std::int32_t>(bits));
    case 4: return floatText<float>("r4:%.9g", static_cast<std::uint32_t>(bits));
    case 5: return floatText<double>("r8:%.17g", bits);
    case 6: return "error:" + std::to_string(static_cast<std::int32_t>(bits));
    case 7: return "ui1:" + std::to_string(bits & 0xFF);
    case 8: return random.oneIn(2) ? "true" : "false";
    default: return literal(randomText(random, Place::text));
    }
}

/// Up to four items with commas between them; sorted, where their order makes no difference to a restore.
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

} // namespace

RandomMetabase::RandomMetabase(Random& random) : random_(random) {
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

std::string RandomMetabase::tree() {
    std::vector<std::u16string> containers{u"localhost"};
    std::set<std::u16string> taken;
    std::string text = joined({schema_, "above\n", values(), "object \"localhost\" IIsComputer\n", values()});
    for (std::size_t left = random_.below(10); left > 0; --left) {
        const std::u16string path = containers[random_.below(containers.size())] + u"/" + random_.of(names_);
        const auto& [name, container] = classes_[1 + random_.below(classes_.size() - 1)];
        if (!taken.insert(path).second) continue;
        if (container) containers.push_back(path);
        text += joined({"object ", literal(path), " ", name, "\n", values()});
    }
    return text;
}

void RandomMetabase::define(const std::string& name, const char* type) {
    schema_ += joined({"property ", name, " ", type, random_.of({" single", " list"}),
                       random_.of({" inheritable ", " local "}), randomValue(random_, type), "\n"});
    properties_.emplace_back(name, type);
}

std::string RandomMetabase::someProperties() {
    std::string list;
    for (const auto& [name, type] : properties_) {
        if (random_.oneIn(2)) list += joined({list.empty() ? "" : ", ", name});
    }
    return joined({"(", list, ")"});
}

std::string RandomMetabase::values() {
    std::string lines;
    for (const auto& [name, type] : properties_) {
        if (random_.oneIn(3)) lines += joined({"  ", name, " ", randomValue(random_, type), "\n"});
    }
    return lines;
}
