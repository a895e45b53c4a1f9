// Backup files that are damaged or monstrous: no crash, no change from what is no document, and an answer in
// a time and memory that the file's size explains.

#include "com/runtime.h"
#include "src/xmlUtils.h"
#include "tests/restoreSupport.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>

namespace {

// ---- damage

/// What came of the restores of damaged files.
struct Tally {
    int refused = 0;
    int failed = 0;
    int done = 0;
};

bool isDocument(const char* path) {
    CoInitializeEx(nullptr, 0);
    ComPtr<IXMLDOMDocument> document;
    const Status status = xmlLoadFile(path, document);
    CoUninitialize();
    return status >= 0;
}

/// Restores from the bytes and says which of the rules the outcome breaks, "" for none.
std::string restoreDamaged(const Folder& folder, const std::string& server, const std::string& bytes,
                           Tally& tally) {
    folder.write("metabase.txt", server);
    folder.write("f", bytes);
    const int exitCode = runHere({"-restore", "-file", "f"});
    const std::string after = folder.read("metabase.txt");
    if (!isDocument("f")) {
        ++tally.refused;
        return exitCode == 2 && after == server ? "" : "a change from what is no document";
    }
    if (exitCode != 0 && exitCode != 2) return "the exit code";
    ++(exitCode == 2 ? tally.failed : tally.done);
    if (runHere({"-backup", "-file", "after"}) != 0) return "the server is broken";
    if (exitCode == 2) return "";
    const bool settled = runHere({"-restore", "-file", "f"}) == 0 && folder.read("metabase.txt") == after;
    return settled ? "" : "a second restore goes elsewhere";
}

/// A server with objects and values of each kind.
const std::string server = testData("server-schema.txt") + R"(object "localhost" IIsWebServer
  Ports ["é<€", 2, r8:0.5, empty]
  MimeMap mime(".a" "b", ".c" "d")
object "localhost/D" IIsWebDirectory
object "localhost/D/S" IIsWebServer
  Title "&"
object "localhost/V" IIsWebVirtualDir
)";

TEST(Hostile, filesThatAreDamagedDoWhatTheirTextSaysOrNothing) {
    const std::string other = live("IIsWebServer A:IIsWebServer V:IIsWebDirectory V/F:IIsWebFile");
    const Folder folder(Folder::Place::inMemory);
    const Outcome run = runChild(folder, [&] {
        folder.write("metabase.txt", server);
        if (runHere({"-backup", "-file", "backup"}) != 0) return 1;
        const std::string whole = folder.read("backup");
        Tally tally;
        const auto fails = [&](const std::string& damaged) {
            const std::string fault = restoreDamaged(folder, other, damaged, tally);
            if (!fault.empty()) folder.write("fault", fault + "\n" + damaged);
            return !fault.empty();
        };
        for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
            if (fails(whole.substr(0, length))) return 2;
        }
        if (tally.failed + tally.done > 0) return 3;
        for (std::size_t at = 0; at < whole.size(); ++at) {
            const int old = static_cast<unsigned char>(whole[at]);
            for (const int byte : {old ^ 0x01, old ^ 0x20, old ^ 0x80, 0, int{'<'}, int{'"'}}) {
                std::string damaged = whole;
                damaged[at] = static_cast<char>(byte);
                if (fails(damaged)) return 4;
            }
        }
        folder.write("tally", std::to_string(tally.refused) + " damaged files refused, " +
                                  std::to_string(tally.failed) + " failed later, " +
                                  std::to_string(tally.done) + " restored");
        return tally.refused > 9000 && tally.failed > 1000 && tally.done > 1000 ? 0 : 5;
    });
    EXPECT_EQ(run.exitCode, 0) << folder.read("fault") << run.err.substr(0, 1000);
    std::cout << folder.read("tally") << std::endl;
}

// ---- monsters

constexpr int many = isSanitized ? 100'000 : 1'000'000;

/// A file of a head, an item and later its end, each repeated, and a tail. `#` in an item is its number.
struct Monster {
    const char* what;
    int exitCode;
    int count;
    std::vector<std::string> options;
    std::string head;
    std::string item;
    std::string tail;
    std::string itemEnd = {};
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

TEST(Hostile, filesThatAreMonstrousAreAnsweredInTimeAndMemoryOfTheirSize) {
    const auto around = [](const std::string& place) {
        const std::string whole = file("", "<prop name=\"Title\" type=\"8\">text</prop>");
        const std::size_t at = whole.find(place) + place.size();
        return std::pair(whole.substr(0, at), whole.substr(at));
    };
    const auto [top, topTail] = around("<obj");
    const auto [props, propsTail] = around("<props>");
    const auto [text, textTail] = around("\"8\">");
    const auto [parts, partsTail] = around("</props>");
    const auto [children, childrenTail] = around("<children>");
    const std::string number = std::to_string(many);
    const std::string object = "<obj name='V' class='IIsWebVirtualDir' path=''><props/><children>";
    const std::string child = element("n#", "IIsWebFile");
    const Monster monsters[] = {
        {"open tags", 2, many, {}, "", "<a>", ""},
        {"nested in a value", 0, many, {}, text, "<a>", textTail, "</a>"},
        {"nested objects", 2, many, {}, children, object, childrenTail, "</children></obj>"},
        {"a long attribute", 0, many, {}, top + " x='", std::string(100, 'x'), "'" + topTail},
        {"attributes", 0, many, {}, top, " a#=''", topTail},
        {"an attribute twice", 2, many, {}, top, " a#=''", " a" + number + "=''" + topTail},
        {"properties", 0, many, {}, props, "<prop name='p#' type='8'/>", propsTail},
        {"values",
         0,
         many,
         {},
         props + "<proplist name='Ports'>",
         "<prop type='3'>#</prop>",
         "</proplist>" + propsTail},
        {"entries",
         0,
         many,
         {},
         props + "<prop name='MimeMap'>",
         "<mimetype extension='#'/>",
         "</prop>" + propsTail},
        {"other parts", 0, many, {}, parts, "<x/> <!---->", partsTail},
        {"children not made", 0, many, {"-n"}, children, child, childrenTail},
        {"children made", 0, many / 5, {}, children, child, childrenTail},
    };
    const Folder folder;
    for (const Monster& monster : monsters) {
        folder.write("metabase.txt", live("IIsWebServer D:IIsWebDirectory V:IIsWebDirectory"));
        writeMonster(folder, monster);
        const auto size = std::filesystem::file_size(folder.path("f"));
        std::vector<std::string> arguments = monster.options;
        arguments.insert(arguments.end(), {"-restore", "-file", "f"});
        const auto begin = std::chrono::steady_clock::now();
        const Outcome run = runProgram(folder, arguments);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(run.exitCode, monster.exitCode) << monster.what;
        EXPECT_LT(seconds.count(), 60) << monster.what;
        EXPECT_TRUE(isSanitized || run.peakBytes < 20 * size + (32U << 20)) << monster.what << run.peakBytes;
    }
}

} // namespace
