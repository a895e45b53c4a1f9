// A restore that is killed, or that the operating system, another restore or an editor interferes with, at
// every moment that there is: what was committed stays, and the next restore completes it.

#include "src/skeinKeep.h"
#include "tests/support/servers.h"
#include "tests/support/systemCalls.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <span>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::string metabase = testData("sweep-metabase.txt");
const std::string backup = testData("sweep-backup.xml");
const Arguments restoring = {"-restore", "-file", "f"};

/// The state of the server in a folder, whatever the form of its metabase file.
std::string stateOf(const Folder& folder) {
    const Outcome run = runHere(folder, {"-backup", "-file", "state"});
    EXPECT_EQ(run.exitCode, 0) << run;
    return folder.read("state");
}

/// A server and a backup of another one, in a folder of their own.
struct Server : Folder {
    explicit Server(const std::string& text = metabase, const std::string& file = backup)
        : Folder(Place::inMemory) {
        write("metabase.txt", text);
        write("f", file);
    }
    /// The metabase file after a restore that can't rewrite it, and so leaves a line for each change.
    std::string metabaseWithChangeLines() const {
        std::filesystem::create_directory(path(".metabase.txt.rewrite"));
        EXPECT_EQ(runHere(*this, restoring).exitCode, 0);
        return read("metabase.txt");
    }
};

/// The restore that nothing interferes with.
struct Undisturbed {
    std::string metabaseText = Server().metabaseWithChangeLines();
    /// The server's states before the first change and after each.
    std::vector<std::string> states;

    Undisturbed() {
        for (std::size_t end = metabase.size(); end <= metabaseText.size(); ++end) {
            if (metabaseText[end - 1] == '\n') states.push_back(stateOf(Server(metabaseText.substr(0, end))));
        }
    }
};

const Undisturbed& undisturbed() {
    static const Undisturbed instance;
    return instance;
}

/// Expects that the server has the first so many of the changes, and that the next restore makes the others.
void expectCompletable(const Server& server) {
    const auto& states = undisturbed().states;
    EXPECT_NE(std::ranges::find(states, stateOf(server)), states.end()) << server.read("metabase.txt");
    EXPECT_EQ(runHere(server, restoring).exitCode, 0);
    EXPECT_EQ(stateOf(server), states.back());
}

/// The beginnings of the lines that are printed for the changes of the restore, in the order of the changes.
constexpr const char* announcements[] = {
    "Setting IIS://localhost:Title ",
    "Setting IIS://localhost:Ports ",
    "Setting IIS://localhost:MimeMap ",
    "Setting IIS://localhost:IPSecurity ",
    "CREATE OBJECT: IIS://localhost/N ",
    "CREATE OBJECT: IIS://localhost/N/F ",
    "DELETE OBJECT: IIS://localhost/R ",
    "CREATE OBJECT: R ",
    "Setting IIS://localhost/R:Title ",
    // Its two children are deleted before it.
    "DELETE OBJECT: IIS://localhost/D ",
    "DELETE OBJECT: IIS://localhost/D ",
    "DELETE OBJECT: IIS://localhost/D ",
    "DELETE OBJECT: IIS://localhost/G ",
    "DELETE OBJECT: IIS://localhost/V ",
};

/// Expects the whole line of each committed change in what a restore has printed.
void expectLinesOfChanges(const Server& server, const std::string& out) {
    const std::string& allLines = undisturbed().metabaseText;
    ASSERT_EQ(std::ssize(announcements),
              std::count(allLines.begin() + std::ssize(metabase), allLines.end(), '\n'));
    const std::string left = server.read("metabase.txt");
    const std::string& lines = left.starts_with(metabase) ? left : allLines;
    const auto changes = std::count(lines.begin() + std::ssize(metabase), lines.end(), '\n');
    for (const char* line : std::span(announcements).first(static_cast<std::size_t>(changes)))
        EXPECT_NE(out.find('\n', out.find(line)), std::string::npos) << line << "\n" << out;
}

/// Writes the first half of what a write is to write, as a full disk or a kill does.
void writeHalf(const SystemCall& call) {
    if (call.name == "write") (void)::write(call.descriptor, call.bytes.data(), call.bytes.size() / 2);
}

/// Runs a restore that `end` may end at the call of a number. Returns the call's name, which is empty if
/// there are not so many calls, and what the run left.
std::pair<std::string, Outcome> endAt(const Server& server, int number, const SystemCallAction& end) {
    const Outcome run = runChild(server, [&] {
        const SystemCallStop stop(number, [&](const SystemCall& call) {
            server.write("reached", std::string(call.name));
            return end(call);
        });
        const int exitCode = runOnStreams(restoring);
        flushAllStreams();
        return exitCode;
    });
    const std::string reached = server.read("reached");
    return {reached == Folder::noFile ? "" : reached, run};
}

TEST(Crash, leavesTheChangesThatWereMadeWhereverItHappens) {
    struct Ending {
        const char* name;
        int exitCode;
        int fewest;
        SystemCallAction end;
    };
    const Ending endings[] = {
        {"killed before", -SIGKILL, 50, [](const auto&) { return std::raise(SIGKILL); }},
        {"killed within", -SIGKILL, 10,
         [](const SystemCall& call) {
             if (call.name != "write") return 0;
             writeHalf(call);
             return std::raise(SIGKILL);
         }},
        {"out of memory before", 2, 50, [](const auto&) -> int { endOutOfMemory(); }}};
    for (const Ending& ending : endings) {
        int ended = 0;
        for (int number = 1;; ++number) {
            const Server server;
            const auto [call, run] = endAt(server, number, ending.end);
            if (call.empty()) break;
            SCOPED_TRACE(ending.name + (" " + call) + ", call " + std::to_string(number));
            if (run.exitCode != 0) {
                EXPECT_EQ(run.exitCode, ending.exitCode);
                ++ended;
            }
            expectLinesOfChanges(server, run.out);
            expectCompletable(server);
        }
        std::cout << ending.name << " " << ended << " calls" << std::endl;
        EXPECT_GT(ended, ending.fewest);
    }
}

TEST(Crash, canTearTheLastLineAnywhere) {
    const std::string& whole = undisturbed().metabaseText;
    for (std::size_t size = metabase.size(); size <= whole.size(); ++size) {
        const Server server(whole.substr(0, size));
        SCOPED_TRACE("cut off after " + std::to_string(size) + " bytes");
        expectCompletable(server);
    }
}

/// The error that every call fails with, and what a change that can't be written is reported with.
class SystemFailure : public testing::TestWithParam<std::pair<int, const char*>> {};

TEST_P(SystemFailure, endsTheRunAtTheChangeThatCannotBeMade) {
    int failures = 0;
    for (const bool lasting : {false, true}) {
        for (int number = 1;; ++number) {
            const Server server;
            std::string reached;
            const Outcome run = [&] {
                const SystemCallStop stop(
                    number,
                    [&](const SystemCall& call) {
                        if (reached.empty())
                            reached = std::string(call.name) + std::string(call.bytes.substr(0, 1));
                        writeHalf(call);
                        return GetParam().first;
                    },
                    lasting);
                return runHere(server, restoring);
            }();
            if (reached.empty()) break;
            SCOPED_TRACE(reached + ", call " + std::to_string(number));
            ++failures;
            const bool isComplete = stateOf(server) == undisturbed().states.back();
            EXPECT_TRUE(run.exitCode == 2 || (run.exitCode == 0 && isComplete)) << run;
            // A file for the replacement is removed, unless the system goes on failing.
            const std::string left = server.read(".metabase.txt.rewrite");
            EXPECT_EQ(lasting ? Folder::noFile : left, Folder::noFile);
            if (reached == "write+" && !lasting) {
                EXPECT_EQ(run.exitCode, 2);
                EXPECT_NE(run.out.find(GetParam().second), std::string::npos) << run;
                EXPECT_TRUE(server.read("metabase.txt").ends_with('\n'));
            }
            expectCompletable(server);
        }
    }
    std::cout << failures << " calls of the operating system failed" << std::endl;
    EXPECT_GT(failures, 100);
}

INSTANTIATE_TEST_SUITE_P(
    , SystemFailure,
    testing::Values(
        std::pair(ENOSPC, "Error 0x80070070 (metabase.txt: can't be written: No space left on device)"),
        std::pair(EROFS, "Error 0x80070005 (metabase.txt: can't be written: Read-only file system)"),
        std::pair(EIO, "Error 0x8007001D (metabase.txt: can't be written: Input/output error)")),
    [](const auto& test) { return strerrorname_np(test.param.first); });

/// The limit of a file's size, for as long as this lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_{};
};

TEST(Restore, keepsToALimitOfTheFilesSize) {
    for (std::size_t limit = metabase.size(); limit < undisturbed().metabaseText.size(); limit += 5) {
        SCOPED_TRACE("limit " + std::to_string(limit));
        const Server server;
        const Outcome run = [&] {
            const FileSizeLimit limited(limit);
            return runHere(server, restoring);
        }();
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_NE(run.out.find("Error 0x800700DF (metabase.txt: can't be written: File too large)"),
                  std::string::npos)
            << run;
        expectCompletable(server);
    }
}

TEST(Restore, continuesAWriteThatASignalInterrupts) {
    const Server server;
    const auto everySecond = [isSecond = true](const SystemCall& call) mutable {
        if (call.name == "write") isSecond = !isSecond;
        return call.name == "write" && !isSecond ? EINTR : 0;
    };
    const Outcome run = [&] {
        const SystemCallStop stop(1, everySecond, true);
        return runHere(server, restoring);
    }();
    EXPECT_EQ(run.exitCode, 0) << run;
    EXPECT_EQ(stateOf(server), undisturbed().states.back());
}

TEST(Crash, aFileThatCannotBeCutOffIsReported) {
    const Server server(metabase + "+set \"localhost\" Tit");
    server.write("made", "");
    const SystemCallStop stop(
        1, [](const SystemCall& call) { return call.name == "ftruncate" ? EIO : 0; }, true);
    const std::string torn = runHere(server, restoring).out;
    EXPECT_NE(torn.find("(metabase.txt: can't be written: Input/output error)"), std::string::npos) << torn;
    EXPECT_EQ(runHere(server, {"-backup", "-file", "made"}).err,
              "Can't open output file \"made\": Input/output error\n");
}

/// What the descriptor of a sync leads to.
std::string syncTarget(const SystemCall& call, ino_t metabaseFile) {
    struct stat info {};
    EXPECT_EQ(::fstat(call.descriptor, &info), 0);
    if (call.name == "syncfs") return " file system";
    return S_ISDIR(info.st_mode) ? " folder" : info.st_ino == metabaseFile ? " metabase" : " new";
}

TEST(Restore, endsWithItsChangesOnTheDisk) {
    struct Case {
        /// The call that fails, after the one before it.
        std::string failing;
        std::string synced;
    };
    const Case cases[] = {{"none", " new folder"},
                          {"a second name", " metabase"},
                          {"unlink open", " metabase"},
                          {"fstat fchmod", " metabase"},
                          {"fchmod fsync", " metabase"},
                          {"stat rename", " new metabase"},
                          {"rename open", " new file system"}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.failing);
        const Server server;
        if (test.failing == "a second name")
            std::filesystem::create_hard_link(server.path("metabase.txt"), server.path("second"));
        struct stat info {};
        ASSERT_EQ(::stat(server.path("metabase.txt").c_str(), &info), 0);
        std::string before;
        std::string synced;
        const SystemCallStop stop(
            1,
            [&](const SystemCall& call) {
                const std::string calls = before + " " + std::string(call.name);
                before = call.name;
                if (calls == test.failing) return EIO;
                // What is written after a sync needs another one.
                if (call.bytes.starts_with('+')) synced.clear();
                if (call.name.find("sync") != std::string::npos) synced += syncTarget(call, info.st_ino);
                return 0;
            },
            true);
        EXPECT_EQ(runHere(server, restoring).exitCode, 0);
        EXPECT_EQ(synced, test.synced);
    }
}

TEST(OutOfMemory, endsTheRunWithAMessageAndKeepsItsChanges) {
    if (isSanitized) GTEST_SKIP() << "a sanitizer reserves the address space";
    const std::string before = metabaseWith("IIsWebDirectory");
    const std::string after = metabaseWith(deepestTree());
    const Server deep(after);
    ASSERT_EQ(runHere(deep, {"-backup", "-file", "f"}).exitCode, 0);
    const std::string file = deep.read("f");
    const std::string lines = Server(before, file).metabaseWithChangeLines();
    const std::pair<std::string, std::string> runs[] = {
        {"-backup -file b", after}, {"-restore -n -file f", before}, {"-restore -file f", before}};
    for (const auto& [options, metabaseText] : runs) {
        int ended = 0;
        for (int limit = 5000, exitCode = 2; exitCode != 0; limit += 20) {
            SCOPED_TRACE(options + " within " + std::to_string(limit) + " KB");
            const Server server(metabaseText, file);
            const Outcome run =
                runProgram(server, {}, "ulimit -v " + std::to_string(limit) + R"(; exec "$0" )" + options);
            exitCode = run.exitCode;
            // Below the least that the program can be loaded with, the loader fails.
            if (exitCode == 127 && ended == 0) continue;
            ended += exitCode == 2 ? 1 : 0;
            ASSERT_EQ(run.err, exitCode == 0 ? "" : "Out of memory\n") << exitCode;
            const std::string left = server.read("metabase.txt");
            if (options != "-restore -file f") {
                EXPECT_EQ(left, metabaseText);
            } else {
                EXPECT_TRUE(exitCode == 0 ? left == after
                                          : left.starts_with(before) && lines.starts_with(left));
            }
        }
        std::cout << options << " ran out of memory " << ended << " times" << std::endl;
        EXPECT_GT(ended, 10);
    }
}

/// A server and two backup files: one sets a property of both objects, the other another one.
struct Contest : Folder {
    Contest() : Folder(Place::inMemory) {
        const auto bothWith = [](const std::string& prop) {
            return backupFile(objElement("A", "IIsWebServer", "", prop) +
                              objElement("B", "IIsWebServer", "", prop));
        };
        write("metabase.txt", metabaseWith("IIsComputer A:IIsWebServer B:IIsWebServer"));
        write("titles", bothWith("<prop name=\"Title\" type=\"8\">mine</prop>"));
        write("ports", bothWith("<prop name=\"Ports\" type=\"3\">4711</prop>"));
    }
    /// A restore that succeeded has made all its changes; one that failed has reported why and made none.
    void expectAllOrNothing(const Outcome& titles, const Outcome& ports) const {
        EXPECT_TRUE(titles.exitCode == 0 || ports.exitCode == 0);
        const std::string state = stateOf(*this);
        const std::string isLocked = "Error 0x80070021 (metabase.txt: another process is changing it)";
        const std::string isAltered =
            "Error 0x800703EE (metabase.txt: has been changed by someone else since it was read)";
        for (const auto& [run, mark] : {std::pair(titles, ">mine<"), std::pair(ports, ">4711<")}) {
            const bool isFirst = state.find(mark) != std::string::npos;
            const bool isBoth = state.find(mark) != state.rfind(mark);
            EXPECT_TRUE(run.exitCode == 0 ? isBoth : !isFirst) << mark << "\n" << state;
            EXPECT_TRUE(run.exitCode == 0 || run.out.find(isLocked) != std::string::npos ||
                        run.out.find(isAltered) != std::string::npos)
                << mark << "\n"
                << run;
        }
    }
};

TEST(TwoRestores, loseNoChangeWhereverOneInterruptsTheOther) {
    int interruptions = 0;
    int refused = 0;
    for (;; ++interruptions) {
        const Contest contest;
        Outcome ports;
        bool isInterrupted = false;
        const Outcome titles = [&] {
            const SystemCallStop stop(interruptions + 1, [&](const SystemCall&) {
                isInterrupted = true;
                ports = runProgram(contest, {"-restore", "-file", "ports"});
                return 0;
            });
            return runHere(contest, {"-restore", "-file", "titles"});
        }();
        if (!isInterrupted) break;
        SCOPED_TRACE("at call " + std::to_string(interruptions + 1));
        contest.expectAllOrNothing(titles, ports);
        refused += titles.exitCode + ports.exitCode > 0 ? 1 : 0;
    }
    std::cout << "interrupted " << interruptions << " times, one of the two refused " << refused << " times"
              << std::endl;
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, interruptions);
}

TEST(Restore, keepsWhatAnEditorAppendsMeanwhile) {
    int detected = 0;
    std::string reached = "the first call";
    for (int number = 1; !reached.empty(); ++number) {
        const Contest contest;
        reached.clear();
        const Outcome run = [&] {
            const SystemCallStop stop(number, [&](const SystemCall& call) {
                reached = call.name;
                // An edit between the last look at the file and its replacement can't be detected.
                if (reached != "rename") {
                    std::ofstream(contest.path("metabase.txt"), std::ios::app)
                        << "+set \"localhost/A\" Ports [4711]\n";
                }
                return 0;
            });
            return runHere(contest, {"-restore", "-file", "titles"});
        }();
        SCOPED_TRACE(reached + ", call " + std::to_string(number));
        const bool isKept = stateOf(contest).find(">4711<") != std::string::npos;
        EXPECT_EQ(isKept, !reached.empty() && reached != "rename");
        EXPECT_TRUE(run.exitCode == 0 || run.out.find("changed by someone else") != std::string::npos) << run;
        detected += run.exitCode != 0 ? 1 : 0;
    }
    EXPECT_GT(detected, 0);
}

} // namespace
