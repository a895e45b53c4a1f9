// Backup files that are damaged or monstrous: no crash, no change from a text that is no document, and a
// result in a time and memory that the file's size explains.

#include "tests/support/servers.h"

#include <chrono>
#include <gtest/gtest.h>
#include <iostream>

namespace {

const std::string damagedServer = testData("server-schema.txt") + R"(object "localhost" IIsWebServer
  Ports ["é<€", 2, r8:0.5, empty]
  MimeMap mime(".a" "b", ".c" "d")
object "localhost/D" IIsWebDirectory
object "localhost/D/S" IIsWebServer
  Title "&"
object "localhost/V" IIsWebVirtualDir
)";

/// The bytes around an offset, for a message.
std::string around(const std::string& bytes, std::size_t offset) {
    const std::size_t begin = offset - std::min<std::size_t>(offset, 40);
    return testing::PrintToString(bytes.substr(begin, 80));
}

/// The file is cut off before each byte in turn, or the byte loses some bits and then has others inverted.
struct Damage {
    const char* name;
    bool cutsOff;
    int kept = 0;
    int inverted = 0;
};
const Damage damages[] = {{"cutOff", true},
                          {"lowBit", false, 0xFF, 0x01},
                          {"otherCase", false, 0xFF, 0x20},
                          {"highBit", false, 0xFF, 0x80},
                          {"nul", false},
                          {"lessThan", false, 0, '<'},
                          {"quote", false, 0, '"'}};

class Damaged : public testing::TestWithParam<Damage> {};
INSTANTIATE_TEST_SUITE_P(, Damaged, testing::ValuesIn(damages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(Damaged, filesHaveTheEffectOfTheirTextOrNone) {
    const std::string before = metabaseWith("IIsWebServer A:IIsWebServer V:IIsWebDirectory V/F:IIsWebFile");
    const std::string whole = backUp(damagedServer).made;
    const Server server(before);
    std::size_t refused = 0;
    int failed = 0;
    int restored = 0;
    for (std::size_t at = 0; at < whole.size() && !HasFailure(); ++at) {
        std::string damaged = whole.substr(0, GetParam().cutsOff ? at : whole.size());
        if (!GetParam().cutsOff)
            damaged[at] = static_cast<char>((damaged[at] & GetParam().kept) ^ GetParam().inverted);
        SCOPED_TRACE("byte " + std::to_string(at) + ": " + around(damaged, at));
        server.write("metabase.txt", before);
        server.write("f", damaged);
        const Outcome run = runHere(server, restoring);
        const std::string after = server.metabase();
        if (contains(run.out, "(probably a syntax error)")) {
            ++refused;
            EXPECT_EQ(run.exitCode, 2) << run;
            EXPECT_EQ(after, before) << "a text that is no document changed the server\n" << run;
            continue;
        }
        EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 2) << run;
        ++(run.exitCode == 2 ? failed : restored);
        const Outcome backup = runHere(server, {"-backup", "-file", "after"});
        EXPECT_EQ(backup.exitCode, 0) << "the server can't be read any more\n" << backup << run;
        if (run.exitCode == 2) continue;
        EXPECT_EQ(runHere(server, restoring).exitCode, 0);
        EXPECT_EQ(server.metabase(), after) << "a second restore changed the server again\n" << run;
    }
    std::cout << refused << " files refused, " << failed << " failed later, " << restored << " restored"
              << std::endl;
    // The last byte is a line end.
    EXPECT_GE(refused, GetParam().cutsOff ? whole.size() - 1 : 301);
}

constexpr int many = isSanitized ? 100'000 : 1'000'000;

/// A backup file in which an item is repeated: its head, the items, their ends, and its tail. `#` in an item
/// is its number.
struct Monster {
    const char* name;
    int exitCode;
    std::string head;
    std::string item;
    std::string tail;
    std::string itemEnd = {};
    Arguments options = {};
    int count = many;

    friend std::ostream& operator<<(std::ostream& out, const Monster& monster) { return out << monster.name; }
};

std::vector<Monster> monsters() {
    const auto splitAfter = [](const std::string& place) {
        const std::string whole = backupFile("", "<prop name=\"Title\" type=\"8\">text</prop>");
        const std::size_t at = whole.find(place) + place.size();
        return std::pair(whole.substr(0, at), whole.substr(at));
    };
    const auto [top, topTail] = splitAfter("<obj");
    const auto [props, propsTail] = splitAfter("<props>");
    const auto [text, textTail] = splitAfter("\"8\">");
    const auto [parts, partsTail] = splitAfter("</props>");
    const auto [children, childrenTail] = splitAfter("<children>");
    const std::string number = std::to_string(many);
    const std::string object = "<obj name='V' class='IIsWebVirtualDir' path=''><props/><children>";
    const std::string child = objElement("n#", "IIsWebFile");
    return {
        {"openTags", 2, "", "<a>", ""},
        {"nestedInAValue", 0, text, "<a>", textTail, "</a>"},
        {"nestedObjects", 2, children, object, childrenTail, "</children></obj>"},
        {"aLongAttribute", 0, top + " x='", std::string(100, 'x'), "'" + topTail},
        {"attributes", 0, top, " a#=''", topTail},
        {"anAttributeTwice", 2, top, " a#=''", " a" + number + "=''" + topTail},
        {"properties", 0, props, "<prop name='p#' type='8'/>", propsTail},
        {"values", 0, props + "<proplist name='Ports'>", "<prop type='3'>#</prop>",
         "</proplist>" + propsTail},
        {"entries", 0, props + "<prop name='MimeMap'>", "<mimetype extension='#'/>", "</prop>" + propsTail},
        {"otherParts", 0, parts, "<x/> <!---->", partsTail},
        {"childrenNotMade", 0, children, child, childrenTail, "", {"-n"}},
        {"childrenMade", 0, children, child, childrenTail, "", {}, many / 5},
    };
}

class Monstrous : public testing::TestWithParam<Monster> {};
INSTANTIATE_TEST_SUITE_P(, Monstrous, testing::ValuesIn(monsters()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(Monstrous, filesTakeTheTimeAndMemoryThatTheirSizeExplains) {
    // Not in memory, which may be too small.
    const Folder folder;
    folder.write("metabase.txt", metabaseWith("IIsWebServer D:IIsWebDirectory V:IIsWebDirectory"));
    const Monster& monster = GetParam();
    const std::size_t mark = std::min(monster.item.find('#'), monster.item.size());
    std::string file = monster.head;
    for (int i = 0; i < monster.count; ++i) {
        file.append(monster.item, 0, mark);
        if (mark < monster.item.size()) file.append(std::to_string(many + i)).append(monster.item, mark + 1);
    }
    for (int i = 0; i < monster.count; ++i) file += monster.itemEnd;
    file += monster.tail;
    folder.write("f", file);
    // More memory than that, in KB, and the run ends with "Out of memory". A sanitizer needs a multiple.
    const std::string limit = isSanitized ? "unlimited" : std::to_string(20 * file.size() / 1024 + 32768);
    Arguments arguments = {"-restore", "-file", "f"};
    arguments.insert(arguments.end(), monster.options.begin(), monster.options.end());
    const auto begin = std::chrono::steady_clock::now();
    const Outcome run = runProgram(folder, arguments, "ulimit -v " + limit + R"(; exec "$0" "$@")");
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(run.exitCode, monster.exitCode) << run.err;
    EXPECT_LT(seconds.count(), 60);
}

} // namespace
