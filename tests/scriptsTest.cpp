// The scripts for administrators, and the sessions that the pages show.

#include "tests/support/servers.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

const std::string programFolder = std::filesystem::path(SKEINKEEP_PROGRAM).parent_path();

/// Runs a line of the shell in a folder, with the built program and the folder's bin first in the PATH.
Outcome shell(const Folder& folder, const std::string& line) {
    const std::string path = "PATH=" + folder.path("bin") + ":" + programFolder + ":$PATH; ";
    return runCommand(folder,
                      {"env", "HOME=" + folder.path("home"), "LC_ALL=C.UTF-8", "sh", "-c", path + line});
}

/// A server with values of its own and with a site that inherits them.
std::string serverWith(const std::string& values) {
    return testData("script-schema.txt") + "object \"localhost\" IIsComputer\n" + values +
           "object \"localhost/1\" IIsWebServer\n  Text \"\xC3\xA9\"\n";
}

/// A server's folder and a folder of nights, whose name looks like an option.
class NightlyFolder : public Folder {
public:
    explicit NightlyFolder(const std::string& metabase = serverWith("")) {
        for (const char* name : {"server", "-kept of it", "bin"})
            std::filesystem::create_directory(path(name));
        write("server/metabase.txt", metabase);
    }
    /// Puts a script in the place of a command.
    void fake(const std::string& command, const std::string& lines) const {
        write("bin/" + command, "#!/bin/sh\n" + lines + "\n");
        std::filesystem::permissions(path("bin/" + command), std::filesystem::perms::owner_all);
    }
    /// Runs the script after `before`, as it would run at a time.
    Outcome night(const std::string& time, const std::string& before = "") const {
        fake("date", "echo " + time);
        return shell(*this, before + script);
    }
    void addNight(const std::string& name, const std::string& metabase, const std::string& backup) const {
        std::filesystem::create_directory(nights / name);
        write("-kept of it/" + name + "/metabase.txt", metabase);
        write("-kept of it/" + name + "/backup.xml", backup);
    }
    /// All that is in the folder of nights; nothing if there is no such folder.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> found;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(nights, ignored)) {
            if (!entry.is_directory())
                found[entry.path().lexically_relative(nights)] = readBytes(entry.path());
        }
        return found;
    }
    const std::filesystem::path nights = path("-kept of it");
    static constexpr auto script = "sh " SKEINKEEP_SAMPLES "/nightly/skeinkeep-nightly server '-kept of it'";
};

TEST(Nightly, acceptsWhatComesBackAndRejectsWhatDoesNot) {
    // Values, and a part of what is printed, which is empty if the backup is good. Letters of Latin-1 are
    // beside each value: a tool that takes them for UTF-8 loses the line.
    const std::string text = "  Text \"\xC3\xA9\"\n";
    const std::pair<std::string, std::string> cases[] = {
        {text + "  Flag bool:1\n", "localhost:Flag property to false"},
        {"  Text \"\xC3\xA9\\uD800\"\n", "localhost:Text property to \xE9?"},
        {"  Text \"\xC3\xA9\\u0000.\"\n", "localhost:Text property to \xE9 ."},
        {"  Text \"\xC3\xA9\\r.\"\n", "localhost:Text property to \xE9\n."},
        {"object \"localhost/\xC3\xA9\" IIsWebServer\n  List [\"<a\", \"\xC3\xA9\\u0001\"]\n",
         ": IIS://localhost/\xE9:List has a control character"},
        {"  MimeMap mime(\".\xC3\xA9\" \"a\\tb\")\n", "localhost:MimeMap property to <array>"},
        {"  Text \"<unsupported/>\"\n  List [\"a\", bytes:00FF]\n",
         ": IIS://localhost:List has a value that has no"},
        {"object \"localhost/0\" IIsWebFile\n  IPSecurity 5\n",
         ": IIS://localhost/0:IPSecurity has a value that ends the backup"},
        {"  List [\"\xC3\xA9\\n\", date:2004-11-01T02:30:00, \"\\n\"]\n", ""},
        {text + "  Date date:2004-11-01T02:30:00\n  Count ui4:5\n  Share r8:nan\n", ""}};
    for (const std::string locale : {"export LC_ALL=C; ", ""}) {
        for (const auto& [values, printed] : cases) {
            SCOPED_TRACE(values + locale);
            const std::string metabase = serverWith(values);
            const NightlyFolder folder(metabase);
            const Outcome run = folder.night("2002-02-02.030000", locale);
            EXPECT_EQ(run.exitCode, printed.empty() ? 0 : 1) << run;
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err.empty(), printed.empty()) << run;
            EXPECT_TRUE(contains(run.err, printed)) << run;
            const std::string kept = "2002-02-02.030000" + std::string(printed.empty() ? "" : ".rejected");
            std::map<std::string, std::string> files = {{kept + "/metabase.txt", metabase}};
            files[kept + "/backup.xml"] = backUp(metabase).made;
            if (!printed.empty()) files[kept + "/why"] = run.err;
            EXPECT_EQ(folder.files(), files);
        }
    }
}

TEST(Nightly, reportsEachCauseInASentenceOfItsOwn) {
    const std::string limit = withoutCounts + "ulimit -f ";
    const std::pair<std::string, const char*> cases[] = {
        {"rm server/metabase.txt; ", "The metabase can't be copied: cat: "},
        {"echo Wrong >>server/metabase.txt; ",
         "can't be backed up: Error 0x8007000D (metabase.txt, line 18: "},
        {"rm -r ./-*; ", "/-kept of it can't be read and written."},
        {"flock './-kept of it' ", "Another run is at work in "},
        {"echo 'mkdir -p ../2002-02-02.030000/x' >bin/sync; chmod +x bin/sync; ", "can't be written to "},
        {limit + "4; ", "The backup was cut off after 2048 bytes: the disk of "},
        {limit + "1; ", "The metabase can't be copied"},
        {"PATH=/usr/bin:/bin; ", "The program skeinKeep isn't in the PATH"}};
    for (const auto& [before, sentence] : cases) {
        SCOPED_TRACE(before);
        const NightlyFolder folder(serverWith("  Text \"" + std::string(800, '&') + "\"\n"));
        const Outcome run = folder.night("2002-02-02.030000", before);
        EXPECT_EQ(run.exitCode, 1) << run;
        EXPECT_TRUE(contains(run.err, sentence)) << run;
        EXPECT_TRUE(folder.files().empty());
    }
}

TEST(Nightly, rejectsAServerThatLostMoreThanATenthUntilThatIsAccepted) {
    const auto serverOf = [](int objects) { // two more than these
        std::string text = serverWith("  Text \"\\n<obj name=\"\n");
        for (int i = 0; i < objects; ++i)
            text += "object \"localhost/x" + std::to_string(i) + "\" IIsWebServer\n";
        return text;
    };
    const NightlyFolder folder(serverOf(18));
    EXPECT_EQ(folder.night("2002-02-02.030000"), Outcome());
    folder.addNight("2099-01-01.030000", serverOf(98), backUp(serverOf(98)).made);
    folder.write("server/metabase.txt", serverOf(16));
    EXPECT_EQ(folder.night("2002-02-02.030001"), Outcome());
    folder.write("server/metabase.txt", serverOf(14));
    const Outcome run = folder.night("2002-02-03.030000");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(contains(run.err, "it has 16 objects, 18 were in 2002-02-02.030001.")) << run;
    std::filesystem::rename(folder.nights / "2002-02-03.030000.rejected",
                            folder.nights / "2002-02-03.030000");
    EXPECT_EQ(folder.night("2002-02-04.030000"), Outcome());
}

TEST(Nightly, keepsThirtyNightsAndThreeRejectedOnes) {
    const NightlyFolder folder(serverWith("  Flag bool:1\n"));
    std::set<std::string> expected = {"2002-02-02.030000.rejected", "2002-02-02.030001"};
    for (int day = 10; day < 42; ++day) {
        for (const bool isRejected : {false, true}) {
            const std::string rest =
                "-01-" + std::to_string(day) + ".030000" + (isRejected ? ".rejected" : "");
            folder.addNight("2001" + rest, "", "");
            if (day >= (isRejected ? 40 : 13)) expected.insert("2001" + rest);
            folder.addNight("2099" + rest, "", "");
            expected.insert("2099" + rest);
        }
    }
    EXPECT_EQ(folder.night("2002-02-02.030000").exitCode, 1);
    folder.write("server/metabase.txt", serverWith(""));
    EXPECT_EQ(folder.night("2002-02-02.030001"), Outcome());
    std::set<std::string> names;
    for (const auto& [name, bytes] : folder.files()) names.insert(name.substr(0, name.find('/')));
    EXPECT_EQ(names, expected);
}

TEST(Nightly, makesEachRunOfASecondANightOfItsOwn) {
    const NightlyFolder folder;
    for (int run = 0; run < 3; ++run) EXPECT_EQ(shell(folder, NightlyFolder::script), Outcome());
    EXPECT_EQ(folder.files().size(), 6U);
}

TEST(Nightly, leavesNoHalfNightWhereverItIsKilled) {
    const std::string server = serverWith("");
    const std::string backup = backUp(server).made;
    const NightlyFolder folder(server);
    for (int night = 10; night < 41; ++night)
        folder.addNight("2001-01-01.0300" + std::to_string(night), server, backup);
    folder.fake("rm", "for f; do /bin/rm -f -- \"$f\"/*.txt; done; sleep 0.03; /bin/rm \"$@\""); // slow
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(folder.night("2002-02-02.030009"), Outcome());
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    int finished = 0;
    for (int run = 1; run <= 20; ++run) {
        const std::string delay = std::to_string(seconds.count() * run / 20);
        SCOPED_TRACE(delay);
        // The lock is free when all processes of the run before have ended.
        finished += folder.night("2002-02-02.0301" + std::to_string(run + 9),
                                 "flock ./-* true; timeout -s KILL " + delay + " ") == Outcome();
        size_t count = 0;
        for (const auto& [name, bytes] : folder.files()) {
            if (name.starts_with(".tonight/")) continue;
            EXPECT_EQ(bytes, name.ends_with("/backup.xml") ? backup : server) << name;
            ++count;
        }
        EXPECT_GE(count, 2 * 30U);
        EXPECT_EQ(count % 2, 0U) << "half a night";
        EXPECT_EQ(folder.read("server/metabase.txt"), server);
    }
    EXPECT_LT(finished, 20) << "no run was killed";
    EXPECT_EQ(folder.night("2002-02-03.030000"), Outcome());
    EXPECT_EQ(folder.files().size(), 2 * 30U);
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
