// The scripts for administrators.

#include "tests/support/processes.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace {

const std::string programFolder = std::filesystem::path(SKEINKEEP_PROGRAM).parent_path();

/// Runs a line of the shell in a folder, with the built program and the folder's bin first in the PATH.
Outcome shell(const Folder& folder, const std::string& line, const std::string& locale = "C.UTF-8") {
    const std::string path =
        "PATH=" + folder.path("bin") + ":" + programFolder + ":" + std::string(std::getenv("PATH"));
    return runCommand(folder, {"sh", "-c", line}, {path, "HOME=" + folder.path("home"), "LC_ALL=" + locale});
}

/// A server with values of its own and with a site that inherits them.
std::string serverWith(const std::string& values) {
    return "metabase 1\n"
           "property KeyType string single local \"\"\n"
           "property Text string single local \"\"\n"
           "property List string list inheritable []\n"
           "property Flag bool single inheritable true\n"
           "property Date date single inheritable date:0\n"
           "property Count ui4 single inheritable ui4:0\n"
           "property Share r8 single inheritable r8:0\n"
           "property MimeMap mime list inheritable mime()\n"
           "class IIsComputer container nodeleteops (KeyType) (Text, List, Flag, Date, Count, Share, "
           "MimeMap)\n"
           "class IIsWebServer container deleteops (KeyType) (Text, List, Flag, Date, Count, Share, "
           "MimeMap)\n"
           "object \"localhost\" IIsComputer\n" +
           values + "object \"localhost/1\" IIsWebServer\n  Text \"\xC3\xA9\"\n";
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
    struct Case {
        const char* name;
        const char* values;
        /// A part of what is printed; empty if the backup is good.
        const char* printed;
    };
    // Letters of Latin-1 stand beside each value: a tool that takes them for UTF-8 loses the line.
    const Case cases[] = {{"a boolean of another value", "  Text \"\xC3\xA9\"\n  Flag bool:1\n",
                           "localhost:Flag property to false"},
                          {"U+FFFF", "  Text \"\xC3\xA9\\uFFFF\"\n", "localhost:Text property to \xE9?"},
                          {"half a pair", "  Text \"\xC3\xA9\\uD800\"\n", "localhost:Text property to \xE9?"},
                          {"NUL", "  Text \"\xC3\xA9\\u0000.\"\n", "localhost:Text property to \xE9 ."},
                          {"CR", "  Text \"\xC3\xA9\\r.\"\n", "localhost:Text property to \xE9\n."},
                          {"a control character",
                           "  Text \"\xC3\xA9\"\n  List [\"a\", \"\xC3\xA9\\u0001\"]\n",
                           "IIS://localhost:List has a control character, which no backup can hold."},
                          {"TAB in a MIME map", "  MimeMap mime(\".\xC3\xA9\" \"a\\tb\")\n",
                           "localhost:MimeMap property to <array>"},
                          {"bytes", "  Text bytes:00FF\n", "The backup can't be restored."},
                          {"nan", "  Text \"\xC3\xA9\"\n  Share r8:nan\n", ""},
                          {"a line end beside a date in a list",
                           "  List [\"\xC3\xA9\\n\", date:2004-11-01T02:30:00, \"\\n\"]\n", ""},
                          {"an inherited date and number",
                           "  Text \"\xC3\xA9\"\n  Date date:2004-11-01T02:30:00\n  Count ui4:5\n", ""}};
    for (const char* locale : {"C", "C.UTF-8"}) {
        for (const Case& test : cases) {
            SCOPED_TRACE(std::string(test.name) + ", " + locale);
            const NightlyFolder folder(serverWith(test.values));
            const Outcome run = folder.night("2002-02-02", "", locale);
            const bool good = *test.printed == '\0';
            EXPECT_EQ(run.exitCode, good ? 0 : 1) << run;
            EXPECT_EQ(folder.backups(), std::set<std::string>{good ? "2002-02-02.xml" : "rejected.xml"});
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err.empty(), good) << run;
            EXPECT_NE(run.err.find(test.printed), std::string::npos) << run;
        }
    }
}

TEST(Nightly, reportsEachCauseInASentenceOfItsOwn) {
    struct Case {
        const char* before;
        const char* sentence;
    };
    const Case cases[] = {{"rm server/metabase.txt; ", "The server's metabase can't be copied: cat: "},
                          {"echo Wrong >>server/metabase.txt; ",
                           "metabase.txt can't be understood: Error 0x8007000D (metabase.txt, line 16: "},
                          {"rm -r server; ", "The server's folder server can't be entered."},
                          {"rmdir 'kept of it'; ", "The folder of the backups kept of it can't be entered."},
                          {"flock 'kept of it' ", "Another run is at work in "},
                          {"ulimit -f 4; ", "The backup was cut off after 2048 bytes: the disk of "},
                          {"ulimit -f 1; ", "The server's metabase can't be copied"},
                          {"PATH=/usr/bin:/bin; ", "The program skeinKeep isn't in the PATH"}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.before);
        const NightlyFolder folder(serverWith("  Text \"" + std::string(800, '&') + "\"\n"));
        const std::set<std::string> kept = folder.backups();
        const Outcome run = folder.night("2002-02-02", test.before);
        EXPECT_EQ(run.exitCode, 1) << run;
        EXPECT_NE(run.err.find(test.sentence), std::string::npos) << run;
        if (std::filesystem::exists(folder.path("kept of it"))) {
            EXPECT_EQ(folder.backups(), kept);
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
    const Outcome run = folder.night();
    EXPECT_EQ(run.exitCode, 0) << run;
    EXPECT_EQ(folder.backups(), expected);
    EXPECT_EQ(run.err + run.out, "");
}

TEST(Nightly, keepsOneRejectedBackup) {
    const NightlyFolder folder(serverWith("  Flag bool:1\n"));
    for (const char* day : {"2002-02-02", "2002-02-03", "2002-02-04"})
        EXPECT_EQ(folder.night(day).exitCode, 1);
    EXPECT_EQ(folder.backups(), std::set<std::string>{"rejected.xml"});
    EXPECT_NE(folder.read("kept of it/rejected.xml").find("</metabase>"), std::string::npos);
}

} // namespace
