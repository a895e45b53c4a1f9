// The scripts for administrators, and the sessions that the pages show.

#include "tests/support/servers.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <set>
#include <sstream>

namespace {

const std::string programFolder = std::filesystem::path(SKEINKEEP_PROGRAM).parent_path();

/// Runs a line of the shell in a folder, with the built program and the folder's bin first in the PATH.
Outcome shell(const Folder& folder, const std::string& line, const std::string& locale = "C.UTF-8") {
    const std::string path = "PATH=" + folder.path("bin") + ":" + programFolder + ":$PATH; ";
    return runCommand(folder,
                      {"env", "HOME=" + folder.path("home"), "LC_ALL=" + locale, "sh", "-c", path + line});
}

/// A server with values of its own and with a site that inherits them.
std::string serverWith(const std::string& values) {
    return testData("script-schema.txt") + "object \"localhost\" IIsComputer\n" + values +
           "object \"localhost/1\" IIsWebServer\n  Text \"\xC3\xA9\"\n";
}

/// A server's folder and a folder of backups.
class NightlyFolder : public Folder {
public:
    explicit NightlyFolder(const std::string& metabase = serverWith("")) {
        for (const char* name : {"server", "kept of it", "bin"})
            std::filesystem::create_directory(path(name));
        write("server/metabase.txt", metabase);
    }
    /// Runs the script after `before`, as it would run on a day.
    Outcome night(const std::string& day = "2002-02-02", const std::string& before = "",
                  const std::string& locale = "C.UTF-8") const {
        write("bin/date", "#!/bin/sh\necho " + day + "\n");
        std::filesystem::permissions(path("bin/date"), std::filesystem::perms::owner_all);
        return shell(*this, before + "sh " SKEINKEEP_SAMPLES "/nightly/skeinkeep-nightly server 'kept of it'",
                     locale);
    }
    std::set<std::string> backups() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path("kept of it")))
            names.insert(entry.path().filename());
        return names;
    }
};

TEST(Nightly, acceptsWhatComesBackAndRejectsWhatDoesNot) {
    // Values, and a part of what is printed, which is empty if the backup is good. Letters of Latin-1 are
    // beside each value: a tool that takes them for UTF-8 loses the line.
    const std::string text = "  Text \"\xC3\xA9\"\n";
    const std::pair<std::string, std::string> cases[] = {
        {text + "  Flag bool:1\n", "localhost:Flag property to false"},
        {"  Text \"\xC3\xA9\\uFFFF\"\n", "localhost:Text property to \xE9?"},
        {"  Text \"\xC3\xA9\\uD800\"\n", "localhost:Text property to \xE9?"},
        {"  Text \"\xC3\xA9\\u0000.\"\n", "localhost:Text property to \xE9 ."},
        {"  Text \"\xC3\xA9\\r.\"\n", "localhost:Text property to \xE9\n."},
        {text + "  List [\"a\", \"\xC3\xA9\\u0001\"]\n",
         "List has a control character, which no backup can hold."},
        {"  MimeMap mime(\".\xC3\xA9\" \"a\\tb\")\n", "localhost:MimeMap property to <array>"},
        {"  Text bytes:00FF\n", "The backup can't be restored."},
        {text + "  Share r8:nan\n", ""},
        {"  List [\"\xC3\xA9\\n\", date:2004-11-01T02:30:00, \"\\n\"]\n", ""},
        {text + "  Date date:2004-11-01T02:30:00\n  Count ui4:5\n", ""}};
    for (const char* locale : {"C", "C.UTF-8"}) {
        for (const auto& [values, printed] : cases) {
            SCOPED_TRACE(values + locale);
            const NightlyFolder folder(serverWith(values));
            folder.night("2002-02-01", "", locale);
            const Outcome run = folder.night("2002-02-02", "", locale);
            EXPECT_EQ(run.exitCode, printed.empty() ? 0 : 1) << run;
            const std::set<std::string> accepted = {"2002-02-01.xml", "2002-02-02.xml"};
            EXPECT_EQ(folder.backups(), printed.empty() ? accepted : std::set<std::string>{"rejected.xml"});
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err.empty(), printed.empty()) << run;
            EXPECT_TRUE(contains(run.err, printed)) << run;
        }
    }
}

TEST(Nightly, reportsEachCauseInASentenceOfItsOwn) {
    const std::string limit = withoutCounts + "ulimit -f ";
    const std::pair<std::string, const char*> cases[] = {
        {"rm server/metabase.txt; ", "The server's metabase can't be copied: cat: "},
        {"echo Wrong >>server/metabase.txt; ",
         "metabase.txt can't be understood: Error 0x8007000D (metabase.txt, line 16: "},
        {"rm -r server; ", "The server's folder server can't be entered."},
        {"rmdir 'kept of it'; ", "The folder of the backups kept of it can't be entered."},
        {"flock 'kept of it' ", "Another run is at work in "},
        {limit + "4; ", "The backup was cut off after 2048 bytes: the disk of "},
        {limit + "1; ", "The server's metabase can't be copied"},
        {"PATH=/usr/bin:/bin; ", "The program skeinKeep isn't in the PATH"}};
    for (const auto& [before, sentence] : cases) {
        SCOPED_TRACE(before);
        const NightlyFolder folder(serverWith("  Text \"" + std::string(800, '&') + "\"\n"));
        const Outcome run = folder.night("2002-02-02", before);
        EXPECT_EQ(run.exitCode, 1) << run;
        EXPECT_TRUE(contains(run.err, sentence)) << run;
        if (std::filesystem::exists(folder.path("kept of it"))) {
            EXPECT_EQ(folder.backups(), std::set<std::string>());
        }
    }
}

TEST(Nightly, keepsThirtyBackupsWhateverTheirDates) {
    const NightlyFolder folder;
    std::set<std::string> expected = {"notes.xml", "2002-02-02.xml"};
    const auto add = [&](const std::string& name, bool stays) {
        folder.write("kept of it/" + name, "");
        if (stays) expected.insert(name);
    };
    add("notes.xml", true);
    for (int day = 10; day < 42; ++day) {
        add("2001-01-" + std::to_string(day) + ".xml", day >= 13);
        add("2099-01-" + std::to_string(day) + ".xml", true);
    }
    EXPECT_EQ(folder.night(), Outcome());
    EXPECT_EQ(folder.backups(), expected);
}

/// Names in the order of their 16-bit units: what a backup escapes, what a shell, awk or a regular expression
/// might take for something else, and the places where other orders differ.
const std::string trickyNames[] = {"%s",     "&amp;",   "10",  "1e1",    "2",      "R&D",        "R<D>",
                                   "\\back", "a \"b\"", "a=b", "\u00E9", "\u0101", "\U0001F600", "\uFFFD"};

/// The path of an object below localhost, as a metabase file has it.
std::string writtenPath(const std::string& name) {
    std::ostringstream path;
    path << std::quoted("localhost/" + name);
    return path.str();
}

/// A server with an object of each name, whose text looks like lines of a backup, and two objects below it.
std::string trickyServer() {
    std::string text = serverWith("");
    for (const std::string& name : trickyNames) {
        text += "object " + writtenPath(name) + " IIsWebServer\n  KeyType \"IIsWebServer\"\n" +
                "  Text \"\\n          <children>\\n    <obj name=\\\"\\\">\\n      </obj>\\n      \"\n" +
                "object " + writtenPath(name + "/a") + " IIsWebServer\n" + "object " +
                writtenPath(name + "/b") + " IIsWebServer\n  Count ui4:1\n";
    }
    return text;
}

Outcome graft(const Folder& folder, const std::string& fresh, const std::string& old,
              const std::string& path) {
    const std::string script = SKEINKEEP_SAMPLES "/graft-object";
    return runCommand(folder, {"env", "LC_ALL=C.UTF-8", script, fresh, old, path});
}

TEST(Graft, bringsBackOneObjectAndNothingElse) {
    const Folder folder;
    const std::string server = trickyServer();
    const std::string old = backUp(server).made;
    folder.write("old.xml", old);
    for (const std::string& name : trickyNames) {
        for (const char* below : {"", "/b"}) {
            const std::string path = "IIS://localhost/" + name + below;
            SCOPED_TRACE(path);
            // A change in a value and an object more, both of today, must stay.
            const std::string today =
                server + "+set \"localhost\" Text \"today\"\n+create \"localhost/zz\" IIsWebServer\n";
            folder.write("fresh.xml", backUp(today + "+delete " + writtenPath(name + below) + "\n").made);
            EXPECT_EQ(graft(folder, "fresh.xml", "old.xml", path), (Outcome{0, backUp(today).made, ""}));
        }
    }
    EXPECT_EQ(graft(folder, "old.xml", "old.xml", "IIS://localhost/\xE9").out, old) << "a path in Latin-1";
    std::string changed = old;
    changed.replace(changed.rfind(">1<"), 3, ">7<");
    folder.write("changed.xml", changed);
    EXPECT_EQ(graft(folder, "changed.xml", "old.xml", "IIS://localhost/\xEF\xBF\xBD").out, old)
        << "a replaced object";
}

TEST(Graft, refusesWhatItCannotDoAndPrintsNothing) {
    const Folder folder;
    const std::string old = backUp(trickyServer()).made;
    folder.write("old.xml", old);
    folder.write("site.xml", backUp(trickyServer(), {"-root", "IIS://localhost/1"}).made);
    folder.write("cut.xml", old.substr(0, old.size() - 5));
    folder.write("utf8.xml", "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + old.substr(old.find('\n')));
    // The fresh backup, the old one, the path and the message.
    const std::array<std::string, 4> cases[] = {
        {"old.xml", "old.xml", "IIS://localhost/none",
         "There is no object IIS://localhost/none in old.xml.\n"},
        {"old.xml", "old.xml", "localhost/1", "There is no object localhost/1 in old.xml.\n"},
        {"site.xml", "old.xml", "IIS://localhost/2/b",
         "The parent of the object, IIS://localhost/2, is not in site.xml.\n"},
        {"none.xml", "old.xml", "IIS://localhost/1", "The file none.xml cannot be read.\n"},
        {"old.xml", "cut.xml", "IIS://localhost/1",
         "The file cut.xml is no complete backup in the form that skeinKeep writes.\n"},
        {"old.xml", "utf8.xml", "IIS://localhost/1",
         "The file utf8.xml has another encoding than Latin-1.\n"}};
    for (const auto& [fresh, from, path, message] : cases) {
        EXPECT_EQ(graft(folder, fresh, from, path), (Outcome{2, "", "graft-object: " + message}));
    }
}

TEST(Pages, showSessionsThatCanBeTyped) {
    for (const char* page : {"README.md", "docs/recipes.md"}) {
        SCOPED_TRACE(page);
        // In indented text, a line after "$ " is typed, one after "> " continues it, and the others are
        // printed.
        std::ifstream lines(std::string(SKEINKEEP_SAMPLES "/../") + page);
        std::string typed;
        std::string shown;
        bool isSession = false;
        for (std::string line; std::getline(lines, line);) {
            std::string text = line.starts_with("    ") ? line.substr(4) : "";
            const bool isTyped = text.starts_with("$ ") || (isSession && text.starts_with("> "));
            isSession = isTyped || (isSession && !text.empty());
            if (isTyped) typed += text.erase(0, 2) + "\n";
            if (isSession) shown += text + "\n";
        }
        ASSERT_GT(std::ranges::count(typed, '\n'), 5);
        const Folder folder;
        std::filesystem::create_directory(folder.path("home"));
        std::filesystem::create_directory_symlink(SKEINKEEP_SAMPLES, folder.path("samples"));
        folder.write("typed", typed);
        // The shell prints each line that it reads.
        EXPECT_EQ(shell(folder, "sh -v typed 2>&1").out, shown);
    }
}

} // namespace
