// Writes a metabase of any size to standard output, the same for the same arguments:
//
//     makeMetabase wide [SITES [DIRECTORIES [SEED]]]    sites (100), each with virtual directories (300)
//     makeMetabase flat [CHILDREN [SEED]]               many children below one object, 20000
//     makeMetabase deep [LEVELS [SEED]]                 a chain of objects, 200
//     makeMetabase long [VALUES [SEED]]                 few objects with long lists, 10000 values each
//     makeMetabase wide-children [CHILDREN]             small children below one object, 20000
//     makeMetabase wide-mime [ENTRIES]                  a MIME map of 20000 entries
//     makeMetabase wide-list [VALUES]                   a list of 20000 values
//     makeMetabase wide-class [PROPERTIES]              a class of 20000 properties, one object with all
//     makeMetabase random [SEED]                        a small one with everything that there is

#include "tools/generator/randomMetabase.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

/// KeyType makes 43.
constexpr int propertyCount = 42;

/// Numbers that are the same wherever the program runs.
class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}
    unsigned upTo(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }

private:
    std::mt19937 engine_;
};

enum class Kind { string, number, boolean, list };

struct Property {
    std::string name;
    Kind kind;
    /// One in three is set at the top only.
    bool inherited;
};

std::vector<Property> makeProperties() {
    // The pairs of a word and a thing all differ: there are 8 words and 7 things.
    constexpr const char* words[] = {"Access", "Server", "Asp", "Script", "Cache", "Auth", "Cgi", "Log"};
    constexpr const char* things[] = {"Flags", "Comment", "Bindings", "Timeout", "Path", "Header", "Enabled"};
    constexpr Kind kinds[] = {Kind::string, Kind::number, Kind::string, Kind::boolean,
                              Kind::string, Kind::number, Kind::list};
    std::vector<Property> properties;
    for (int i = 0; i < propertyCount; ++i) {
        const std::string name = std::string(words[i % 8]) + things[i % 7];
        properties.push_back({name, kinds[i % 7], i % 3 == 2});
    }
    return properties;
}

std::string text(Dice& dice) {
    constexpr const char* pieces[] = {"C:\\web\\", "index.asp", "example.com",     "R & D ",
                                      "<none>",    "GET,HEAD",  "\\\"quoted\\\" ", "192.0.2.17:"};
    std::string result = "\"";
    for (unsigned i = 0, count = 1 + dice.upTo(4) / 3; i < count; ++i) {
        for (const char* at = pieces[dice.upTo(8)]; *at != '\0'; ++at) {
            if (*at == '\\' && at[1] != '"') result += '\\';
            result += *at;
            if (*at == '\\' && at[1] == '"') result += *++at;
        }
    }
    return result + std::to_string(dice.upTo(1000)) + "\"";
}

std::string list(Dice& dice, unsigned count) {
    std::string result = "[";
    for (unsigned i = 0; i < count; ++i) result += (i > 0 ? ", " : "") + text(dice);
    return result + "]";
}

std::string value(Dice& dice, Kind kind, unsigned listLength) {
    switch (kind) {
    case Kind::number: return std::to_string(dice.upTo(1000000));
    case Kind::boolean: return dice.upTo(2) == 0 ? "true" : "false";
    case Kind::list: return list(dice, listLength);
    default: return text(dice);
    }
}

class Metabase {
public:
    explicit Metabase(unsigned seed) : dice_(seed), properties_(makeProperties()) {}

    void schema() {
        std::string names;
        put("metabase 1\n\nproperty KeyType string single local \"\"\nproperty MimeMap mime list inheritable "
            "mime()\n"
            "property IPSecurity ipsec single inheritable " +
            rules() + "\n");
        for (const Property& property : properties_) {
            constexpr const char* types[] = {"string single", "i4 single", "bool single", "string list"};
            constexpr const char* defaults[] = {"\"\"", "0", "false", "[]"};
            const auto kind = static_cast<std::size_t>(property.kind);
            put("property " + property.name + " " + types[kind] + " inheritable " + defaults[kind] + "\n");
            names += (names.empty() ? "" : ", ") + property.name;
        }
        put("\nclass IIsComputer container nodeleteops (KeyType) (MimeMap, " + names + ")\n");
        put("class IIsWebServer container deleteops (KeyType) (IPSecurity, " + names + ")\n");
        put("class IIsWebVirtualDir container deleteops (KeyType) (" + names + ")\n\n");
        object("localhost", "IIsComputer", true, 2);
        put("  MimeMap mime(");
        for (int i = 0; i < 300; ++i) {
            put((i > 0 ? ", " : "") + ("\".x" + std::to_string(i)) + "\" \"application/x-type-" +
                std::to_string(i) + "\"");
        }
        put(")\n");
    }
    void object(const std::string& path, const std::string& className, bool all = false,
                unsigned listLength = 0) {
        put("object \"" + path + "\" " + className + "\n  KeyType \"" + className + "\"\n");
        for (const Property& property : properties_) {
            if (property.inherited && !all) continue;
            const unsigned length = listLength > 0 ? listLength : 1 + dice_.upTo(2);
            put("  " + property.name + " " + value(dice_, property.kind, length) + "\n");
        }
    }
    void site(const std::string& path) {
        object(path, "IIsWebServer");
        put("  IPSecurity " + rules() + "\n");
    }
    void directory(const std::string& path, unsigned listLength = 0) {
        object(path, "IIsWebVirtualDir", false, listLength);
    }

private:
    static void put(const std::string& piece) { std::fwrite(piece.data(), 1, piece.size(), stdout); }
    std::string rules() {
        const std::string address = "192.0.2." + std::to_string(dice_.upTo(256)) + ", 255.255.255.255";
        return "ipsec(GrantByDefault true, IPGrant [], IPDeny [\"" + address +
               "\", \"198.51.100.0, 255.255.255.0\"], "
               "DomainGrant [], DomainDeny [\"example.org\"])";
    }

    Dice dice_;
    std::vector<Property> properties_;
};

// ---- Metabases with one wide thing and nothing else

/// Returns `count` pieces with `separator` between them. Each is `format` with the piece's number for %u, at
/// most twice.
std::string numbered(unsigned count, const char* separator, const char* format) {
    std::string result;
    for (unsigned i = 0; i < count; ++i) {
        char piece[100];
        std::snprintf(piece, sizeof piece, format, i, i);
        if (i > 0) result += separator;
        result += piece;
    }
    return result;
}

/// Prints a schema of the given properties (lines) and one class that lists them by name, and the topmost
/// object with its value lines.
void putWide(const std::string& properties, const std::string& names, const std::string& values) {
    std::printf("metabase 1\n\nproperty KeyType string single local \"\"\n%s\n"
                "class IIsComputer container nodeleteops (KeyType) (%s)\n"
                "class IIsWebVirtualDir container deleteops (KeyType) ()\n"
                "class IIsWebDirectory container deleteops (KeyType) ()\n\n"
                "object \"localhost\" IIsComputer\n  KeyType \"IIsComputer\"\n%s",
                properties.c_str(), names.c_str(), values.c_str());
}

void putWideChildren(unsigned count) {
    putWide("", "", "");
    const std::string children = numbered(
        count, "", "object \"localhost/child%07u\" IIsWebVirtualDir\n  KeyType \"IIsWebVirtualDir\"\n");
    std::fputs(children.c_str(), stdout);
}

void putWideMime(unsigned count) {
    putWide("property MimeMap mime list inheritable mime()\n", "MimeMap",
            "  MimeMap mime(" + numbered(count, ", ", "\".x%u\" \"type/x%u\"") + ")\n");
}

void putWideList(unsigned count) {
    putWide("property HttpErrors string list local []\n", "HttpErrors",
            "  HttpErrors [" + numbered(count, ", ", "\"value%u\"") + "]\n");
}

void putWideClass(unsigned count) {
    putWide(numbered(count, "", "property Property%u i4 single local 0\n"),
            numbered(count, ", ", "Property%u"), numbered(count, "", "  Property%u %u\n"));
}

} // namespace

int main(int argc, char** argv) {
    const std::string shape = argc > 1 ? argv[1] : "";
    const auto number = [&](int index, unsigned usual) {
        return argc > index ? static_cast<unsigned>(std::strtoul(argv[index], nullptr, 10)) : usual;
    };
    Metabase metabase(number(shape == "wide" ? 4 : 3, 1));
    const std::string top = "localhost/";
    if (shape == "wide") {
        metabase.schema();
        for (unsigned i = 0; i < number(2, 100); ++i) {
            const std::string site = top + std::to_string(i + 1);
            metabase.site(site);
            for (unsigned j = 0; j < number(3, 300); ++j)
                metabase.directory(site + "/directory" + std::to_string(j));
        }
    } else if (shape == "flat") {
        metabase.schema();
        for (unsigned i = 0; i < number(2, 20000); ++i)
            metabase.directory(top + "directory" + std::to_string(i));
    } else if (shape == "deep") {
        metabase.schema();
        std::string path = "localhost";
        for (unsigned i = 0; i < number(2, 200); ++i) metabase.directory(path += "/d");
    } else if (shape == "long") {
        metabase.schema();
        for (unsigned i = 0; i < 3; ++i) metabase.directory(top + std::to_string(i), number(2, 10000));
    } else if (shape == "wide-children") {
        putWideChildren(number(2, 20000));
    } else if (shape == "wide-mime") {
        putWideMime(number(2, 20000));
    } else if (shape == "wide-list") {
        putWideList(number(2, 20000));
    } else if (shape == "wide-class") {
        putWideClass(number(2, 20000));
    } else if (shape == "random") {
        Random random(number(2, 1));
        std::fputs(RandomMetabase(random).tree().c_str(), stdout);
    } else {
        std::fputs("Usage: makeMetabase wide|flat|deep|long|random [SIZE...] [SEED]\n"
                   "       makeMetabase wide-children|wide-mime|wide-list|wide-class [SIZE]\n",
                   stderr);
        return 1;
    }
    return 0;
}
