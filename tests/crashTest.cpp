// A restore that is killed, or that the operating system, another restore or an editor interferes with, at
// every moment that there is: what was committed stays, and the next restore completes it.

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
#include <sys/resource.h>
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
    explicit Server(const std::string& text = metabase) : Folder(Place::inMemory) {
        write("metabase.txt", text);
        write("f", backup);
    }
};

/// The restore that nothing interferes with.
struct Undisturbed {
    /// The metabase file with a line for each change.
    std::string metabaseText;
    /// The server's states before the first change and after each.
    std::vector<std::string> states;

    Undisturbed() {
        const Server server;
        // In the place of the file's replacement, so that the file keeps the lines of the changes.
        std::filesystem::create_directory(server.path(".metabase.txt.rewrite"));
        EXPECT_EQ(runHere(server, restoring).exitCode, 0);
        metabaseText = server.read("metabase.txt");
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

/// Writes the first half of what a write is to write, as a full disk or a kill does.
void writeHalf(const SystemCall& call) {
    if (call.name == "write") (void)::write(call.descriptor, call.bytes.data(), call.bytes.size() / 2);
}

TEST(Crash, leavesTheChangesThatWereMadeWhereverItHappens) {
    for (const bool withinWrite : {false, true}) {
        int kills = 0;
        std::string reached;
        for (int number = 1; reached != Folder::noFile; ++number) {
            const Server server;
            const Outcome run = runChild(server, [&] {
                const SystemCallStop stop(number, [&](const SystemCall& call) {
                    server.write("reached", std::string(call.name));
                    if (withinWrite && call.name != "write") return 0;
                    if (withinWrite) writeHalf(call);
                    return std::raise(SIGKILL);
                });
                const int exitCode = runOnStreams(restoring);
                flushAllStreams();
                return exitCode;
            });
            reached = server.read("reached");
            SCOPED_TRACE((withinWrite ? "within " : "before ") + reached + ", call " +
                         std::to_string(number));
            const bool isKill = reached != Folder::noFile && (!withinWrite || reached == "write");
            EXPECT_EQ(run.exitCode, isKill ? -SIGKILL : 0);
            kills += isKill ? 1 : 0;
            expectCompletable(server);
        }
        std::cout << "killed " << (withinWrite ? "within " : "before ") << kills << " calls" << std::endl;
        EXPECT_GT(kills, withinWrite ? 10 : 50);
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

TEST(Restore, keepsWhatAnEditorWritesMeanwhile) {
    for (const bool isReplaced : {false, true}) {
        int detected = 0;
        std::string reached = "the first call";
        for (int number = 1; !reached.empty(); ++number) {
            const Contest contest;
            const auto edit = [&] {
                const std::string name = isReplaced ? "other" : "metabase.txt";
                if (isReplaced) std::filesystem::copy(contest.path("metabase.txt"), contest.path(name));
                std::ofstream(contest.path(name), std::ios::app) << "+set \"localhost/A\" Ports [4711]\n";
                if (isReplaced) std::filesystem::rename(contest.path(name), contest.path("metabase.txt"));
            };
            reached.clear();
            const Outcome run = [&] {
                const SystemCallStop stop(number, [&](const SystemCall& call) {
                    reached = call.name;
                    // An edit between the last look at the file and its replacement can't be detected.
                    if (reached != "rename") edit();
                    return 0;
                });
                return runHere(contest, {"-restore", "-file", "titles"});
            }();
            SCOPED_TRACE((isReplaced ? "replaced, " : "appended, ") + reached + ", call " +
                         std::to_string(number));
            const bool isKept = stateOf(contest).find(">4711<") != std::string::npos;
            EXPECT_EQ(isKept, !reached.empty() && reached != "rename");
            EXPECT_TRUE(run.exitCode == 0 || run.out.find("changed by someone else") != std::string::npos)
                << run;
            detected += run.exitCode != 0 ? 1 : 0;
        }
        EXPECT_GT(detected, 0);
    }
}

} // namespace
