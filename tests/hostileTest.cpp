// Backup files that are damaged or monstrous: no crash, no change from a text that is no document, and a
// result in a time and memory that the file's size explains.

#include "tests/support/servers.h"

#include <chrono>
#include <filesystem>
#include <fstream>
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

/// Restores damaged files and counts what came of it.
class Damaged : public testing::Test {
protected:
    void restoreFrom(const std::string& bytes) {
        folder_.write("metabase.txt", server_);
        folder_.write("f", bytes);
        const Outcome run = runHere(folder_, {"-restore", "-file", "f"});
        const std::string after = folder_.read("metabase.txt");
        if (run.out.find("(probably a syntax error)") != std::string::npos) {
            ++refused_;
            ASSERT_EQ(run.exitCode, 2) << run;
            ASSERT_EQ(after, server_) << "a text that is no document changed the server\n" << run;
            return;
        }
        ASSERT_TRUE(run.exitCode == 0 || run.exitCode == 2) << run;
        ++(run.exitCode == 2 ? failed_ : done_);
        const Outcome backup = runHere(folder_, {"-backup", "-file", "after"});
        ASSERT_EQ(backup.exitCode, 0) << "the server can't be read any more\n" << backup << run;
        if (run.exitCode == 2) return;
        const Outcome second = runHere(folder_, {"-restore", "-file", "f"});
        ASSERT_EQ(second.exitCode, 0) << second;
        ASSERT_EQ(folder_.read("metabase.txt"), after) << "a second restore changed the server again\n"
                                                       << run;
    }

    int refused_ = 0;
    int failed_ = 0;
    int done_ = 0;
    std::string whole_;

private:
    void SetUp() override {
        folder_.write("metabase.txt", damagedServer);
        ASSERT_EQ(runHere(folder_, {"-backup", "-file", "f"}).exitCode, 0);
        whole_ = folder_.read("f");
    }

    const Folder folder_{Folder::Place::inMemory};
    const std::string server_ = metabaseWith("IIsWebServer A:IIsWebServer V:IIsWebDirectory V/F:IIsWebFile");
};

TEST_F(Damaged, filesThatAreCutOffAreRefused) {
    for (std::size_t length = 0; length + 1 < whole_.size(); ++length) {
        SCOPED_TRACE("cut off after " + std::to_string(length) + " bytes: " + around(whole_, length));
        ASSERT_NO_FATAL_FAILURE(restoreFrom(whole_.substr(0, length)));
        ASSERT_EQ(refused_, static_cast<int>(length) + 1) << "accepted as a document";
    }
    std::cout << refused_ << " files refused" << std::endl;
}

/// Each byte in turn loses some bits, and then has others inverted.
struct Damage {
    const char* name;
    int kept;
    int inverted;
};
class DamagedByte : public Damaged, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedByte, hasTheEffectOfItsTextOrNone) {
    for (std::size_t at = 0; at < whole_.size(); ++at) {
        std::string damaged = whole_;
        damaged[at] = static_cast<char>((damaged[at] & GetParam().kept) ^ GetParam().inverted);
        SCOPED_TRACE("byte " + std::to_string(at) + ": " + around(damaged, at));
        ASSERT_NO_FATAL_FAILURE(restoreFrom(damaged));
    }
    std::cout << refused_ << " files refused, " << failed_ << " failed later, " << done_ << " restored"
              << std::endl;
    EXPECT_GT(refused_, 300);
}

INSTANTIATE_TEST_SUITE_P(, DamagedByte,
                         testing::Values(Damage{"lowBit", 0xFF, 0x01}, Damage{"otherCase", 0xFF, 0x20},
                                         Damage{"highBit", 0xFF, 0x80}, Damage{"nul", 0, 0},
                                         Damage{"lessThan", 0, '<'}, Damage{"quote", 0, '"'}),
                         [](const auto& test) { return std::string(test.param.name); });

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

void writeMonster(const Folder& folder, const Monster& monster) {
    std::ofstream out(folder.path("f"), std::ios::binary);
    const std::size_t mark = std::min(monster.item.find('#'), monster.item.size());
    out << monster.head;
    for (int i = 0; i < monster.count; ++i) {
        out << monster.item.substr(0, mark);
        if (mark < monster.item.size()) out << many + i << monster.item.substr(mark + 1);
    }
    for (int i = 0; i < monster.count; ++i) out << monster.itemEnd;
    out << monster.tail;
}

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
    const Folder folder;
    folder.write("metabase.txt", metabaseWith("IIsWebServer D:IIsWebDirectory V:IIsWebDirectory"));
    writeMonster(folder, GetParam());
    const auto size = std::filesystem::file_size(folder.path("f"));
    // More memory than that, in KB, and the run ends with "Out of memory". A sanitizer needs a multiple.
    const std::string limit = isSanitized ? "unlimited" : std::to_string(20 * size / 1024 + 32768);
    Arguments arguments = {"-restore", "-file", "f"};
    arguments.insert(arguments.end(), GetParam().options.begin(), GetParam().options.end());
    const auto begin = std::chrono::steady_clock::now();
    const Outcome run = runProgram(folder, arguments, "ulimit -v " + limit + R"(; exec "$0" "$@")");
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(run.exitCode, GetParam().exitCode) << run.err;
    EXPECT_LT(seconds.count(), 60);
}

} // namespace
