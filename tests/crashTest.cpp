// A restore that is killed, or that the operating system, another restore or an editor interferes with, at
// every moment that there is: what was committed stays, and the next restore completes it.

#include "com/memory.h"
#include "src/skeinKeep.h"
#include "tests/support/fronts.h"
#include "tests/support/servers.h"
#include "tests/support/systemCalls.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <new>
#include <unistd.h>

namespace {

/// How many allocations it takes until all fail; 0 for none that does. Calls of realloc are counted.
int allocationsLeft = 0;
int reallocations = 0;

bool failsToAllocate() { return allocationsLeft == 1 || (allocationsLeft > 0 && --allocationsLeft == 1); }

} // namespace

extern "C" {
WRAP(void*, realloc, (void* block, std::size_t size)) {
    ++reallocations;
    return failsToAllocate() ? nullptr : real_realloc(block, size);
}
}

#ifndef SKEINKEEP_SANITIZED
void* operator new(std::size_t size) {
    void* block = failsToAllocate() ? nullptr : std::malloc(size);
    if (block == nullptr) memory::exhausted();
    return block;
}
#endif

namespace {

/// The metabase file after a restore that leaves a line for each change.
std::string restoreIntoLines(const Server& server, std::string* out = nullptr) {
    server.keepLinesOfChanges();
    const Outcome run = runHere(server, restoring);
    EXPECT_EQ(run.exitCode, 0) << run;
    if (out != nullptr) *out = run.out;
    return server.metabase();
}

/// The restore that nothing interferes with.
struct Undisturbed {
    std::string out;
    std::string metabaseText = restoreIntoLines(SweptServer(), &out);
    /// The server's states before the first change and after each.
    std::vector<std::string> states;

    Undisturbed() {
        for (std::size_t end = sweptMetabase.size(); end <= metabaseText.size(); ++end) {
            if (metabaseText[end - 1] == '\n')
                states.push_back(stateOf(SweptServer(metabaseText.substr(0, end))));
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
    EXPECT_NE(std::ranges::find(states, stateOf(server)), states.end()) << server.metabase();
    EXPECT_EQ(runHere(server, restoring).exitCode, 0);
    EXPECT_EQ(stateOf(server), states.back());
}

/// The number of the line that a restore prints for each of its changes, after 0 for none: four properties
/// and two objects; the replaced object R and its property; then D with two children, G and V are deleted.
constexpr std::ptrdiff_t linesOfChanges[] = {0, 2, 3, 4, 5, 9, 10, 12, 13, 15, 23, 23, 23, 24, 26};

/// Expects the whole line of each committed change in what a restore has printed.
void expectLinesOfChanges(const Server& server, const std::string& out) {
    ASSERT_EQ(std::size(linesOfChanges), undisturbed().states.size());
    const std::string left = server.metabase();
    const auto changes = left.starts_with(sweptMetabase)
                             ? std::count(left.begin() + std::ssize(sweptMetabase), left.end(), '\n')
                             : std::ssize(linesOfChanges) - 1;
    EXPECT_GE(std::ranges::count(out, '\n'), linesOfChanges[changes]) << out;
    EXPECT_TRUE(undisturbed().out.starts_with(out)) << out;
}

/// Writes the first half of what a write is to write, as a full disk or a kill does.
void writeHalf(const SystemCall& call) {
    if (call.name == "write") (void)::write(call.descriptor, call.bytes.data(), call.bytes.size() / 2);
}

using Runner = Outcome (*)(const Folder&, const std::function<int()>&);

/// Restores `f` in a folder, with `act` before the call of a number and, if `lasting`, before all later ones.
Outcome restoreWith(const Folder& folder, int number, const SystemCallAction& act, bool lasting = false,
                    Runner run = runHere) {
    return run(folder, [&] {
        const SystemCallStop stop(number, act, lasting);
        return runOnStreams(restoring);
    });
}

/// Restores new servers, with `act` (of the server and the call) before the first call, then before the
/// second one, and so on. After each restore calls `check` with the server, the outcome, and the name of the
/// call with the first byte that it was to write. Returns the number of calls.
template <class NewServer, class Act, class Check>
int atEachCall(Act act, Check check, bool lasting = false, Runner run = runHere) {
    for (int number = 1;; ++number) {
        const NewServer server;
        const SystemCallAction actHere = [&](const SystemCall& call) -> int {
            if (server.read("reached") == Folder::noFile)
                server.write("reached", std::string(call.name) + std::string(call.bytes.substr(0, 1)));
            return act(server, call);
        };
        const Outcome left = restoreWith(server, number, actHere, lasting, run);
        const std::string reached = server.read("reached");
        if (reached == Folder::noFile) return number - 1;
        SCOPED_TRACE(reached + ", call " + std::to_string(number));
        check(server, left, reached);
    }
}

TEST(Crash, leavesTheChangesThatWereMadeWhereverItHappens) {
    for (const bool within : {false, true}) {
        SCOPED_TRACE(within);
        int killed = 0;
        const auto kill = [&](const Server&, const SystemCall& call) {
            if (within && call.name != "write") return 0;
            if (within) writeHalf(call);
            return std::raise(SIGKILL);
        };
        const auto check = [&](const Server& server, const Outcome& run, const std::string&) {
            EXPECT_TRUE(run.exitCode == 0 || run.exitCode == -SIGKILL) << run.exitCode;
            killed += run.exitCode != 0 ? 1 : 0;
            expectLinesOfChanges(server, run.out);
            expectCompletable(server);
        };
        atEachCall<SweptServer>(kill, check, false, runChild);
        std::cout << "killed " << (within ? "within " : "before ") << killed << " calls" << std::endl;
        EXPECT_GT(killed, within ? 10 : 50);
    }
}

TEST(Restore, endsAtTheChangeThatTheSystemCannotMake) {
    const std::pair<int, const char*> errors[] = {
        {ENOSPC, "Error 0x80070070 (metabase.txt: can't be written: No space left on device)"},
        {EROFS, "Error 0x80070005 (metabase.txt: can't be written: Read-only file system)"},
        {EIO, "Error 0x8007001D (metabase.txt: can't be written: Input/output error)"},
        {EFBIG, "Error 0x800700DF (metabase.txt: can't be written: File too large)"}};
    int failures = 0;
    for (const auto& [error, message] : errors) {
        for (const bool lasting : {false, true}) {
            SCOPED_TRACE(message);
            const auto fail = [error = error](const Server&, const SystemCall& call) {
                writeHalf(call);
                return error;
            };
            const auto check = [&, message = message](const Server& server, const Outcome& run,
                                                      const std::string& reached) {
                const bool isComplete = stateOf(server) == undisturbed().states.back();
                EXPECT_TRUE(run.exitCode == 2 || (run.exitCode == 0 && isComplete)) << run;
                // A file for the replacement is removed, unless the system continues to fail.
                EXPECT_TRUE(lasting || server.read(".metabase.txt.rewrite") == Folder::noFile);
                if (reached == "write+" && !lasting) {
                    EXPECT_EQ(run.exitCode, 2);
                    EXPECT_TRUE(contains(run.out, message)) << run;
                    EXPECT_TRUE(server.metabase().ends_with('\n'));
                }
                expectCompletable(server);
            };
            failures += atEachCall<SweptServer>(fail, check, lasting);
        }
    }
    std::cout << failures << " calls of the operating system failed" << std::endl;
    EXPECT_GT(failures, 400);
}

TEST(Restore, keepsToALimitOfTheFilesSize) {
    for (std::size_t limit = sweptMetabase.size(); limit < undisturbed().metabaseText.size(); limit += 5) {
        SCOPED_TRACE("limit " + std::to_string(limit));
        const SweptServer server;
        const Outcome run =
            runProgram(server, restoring,
                       withoutCounts + "exec prlimit --fsize=" + std::to_string(limit) + R"( "$0" "$@")");
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(contains(run.out, "can't be written: File too large")) << run;
        expectCompletable(server);
    }
}

TEST(Restore, continuesAWriteThatASignalInterrupts) {
    const SweptServer server;
    const auto everySecond = [isSecond = true](const SystemCall& call) mutable {
        if (call.name == "write") isSecond = !isSecond;
        return call.name == "write" && !isSecond ? EINTR : 0;
    };
    EXPECT_EQ(restoreWith(server, 1, everySecond, true).exitCode, 0);
    EXPECT_EQ(stateOf(server), undisturbed().states.back());
}

TEST(Crash, aFileThatCannotBeCutOffOrSynchronisedIsReported) {
    const std::string text = sweptMetabase + "+set \"localhost\" Tit";
    for (const char* failing : {"ftruncate", "fsync"}) {
        const SweptServer server(text);
        server.write("made", "");
        const SystemCallStop stop(
            1, [&](const SystemCall& call) { return call.name == failing ? EIO : 0; }, true);
        const std::string torn = runHere(server, restoring).out;
        EXPECT_TRUE(contains(torn, "(metabase.txt: can't be written: Input/output error)")) << torn;
        EXPECT_TRUE(text.starts_with(server.metabase()));
        EXPECT_EQ(runHere(server, {"-backup", "-file", "made"}).err,
                  failing == std::string("ftruncate")
                      ? "Can't open output file \"made\": Input/output error\n"
                      : "");
    }
}

// The file that is locked for the first change isn't the one that was read, which is back at its path
// afterwards.
TEST(Crash, aFileThatIsExchangedWhileItIsLockedIsNotChanged) {
    const SweptServer server;
    server.write("other", sweptMetabase);
    const auto exchange = [&] {
        std::filesystem::rename(server.path("metabase.txt"), server.path("third"));
        std::filesystem::rename(server.path("other"), server.path("metabase.txt"));
        std::filesystem::rename(server.path("third"), server.path("other"));
    };
    int calls = 0;
    int lockNumber = 0;
    restoreWith(
        SweptServer(), 1,
        [&](const SystemCall& call) {
            ++calls;
            if (call.name == "flock") lockNumber = calls;
            return 0;
        },
        true);
    const auto exchangeTwice = [&](const SystemCall& call) {
        if (call.name == "open" || call.name == "stat") exchange();
        return 0;
    };
    const Outcome run = restoreWith(server, lockNumber - 1, exchangeTwice, true);
    EXPECT_TRUE(contains(run.out, "has been changed by someone else")) << run;
    EXPECT_EQ(server.metabase() + server.read("other"), sweptMetabase + sweptMetabase);
}

TEST(OutOfMemory, atAnyAllocationEndsTheRunWithAMessageAndKeepsItsChanges) {
    if (isSanitized) GTEST_SKIP() << "a sanitizer has allocators of its own";
    for (const Arguments& arguments :
         {Arguments{"-backup", "-file", "made"}, Arguments{"-restore", "-n", "-file", "f"}, restoring}) {
        int number = 0;
        for (int exitCode = 2; exitCode == 2; ++number) {
            const SweptServer server;
            const Outcome run = runChild(server, [&] {
                preparePlatform();
                std::set_new_handler(endOutOfMemory);
                memory::freeLists = {};
                allocationsLeft = number + 2;
                return runOnStreams(arguments);
            });
            exitCode = run.exitCode;
            ASSERT_TRUE(exitCode == 0 || (exitCode == 2 && run.err.ends_with("Out of memory\n"))) << run;
            EXPECT_TRUE(arguments == restoring || server.metabase() == sweptMetabase);
            if (arguments == restoring) expectCompletable(server);
        }
        std::cout << arguments[0] << " ran out of memory " << number - 1 << " times" << std::endl;
        EXPECT_GT(number, 100);
    }
    EXPECT_GT(reallocations, 0);
}

// The deepest tree needs a stack that the system may not be able to grow.
TEST(OutOfMemory, forTheStackEndsTheRunWithAMessage) {
    if (isSanitized) GTEST_SKIP() << "a sanitizer reserves the address space";
    const Server server(metabaseWith("IIsWebDirectory"), backUp(metabaseWith(deepestTree())).made);
    int ended = 0;
    for (int limit = 5000, exitCode = 2; exitCode != 0; limit += 20) {
        SCOPED_TRACE("within " + std::to_string(limit) + " KB");
        const Outcome run =
            runProgram(server, {}, "ulimit -v " + std::to_string(limit) + R"(; exec "$0" -restore -file f)");
        exitCode = run.exitCode;
        // Below the least that the program can be loaded with, the loader fails.
        if (exitCode == 127 && ended == 0) continue;
        ended += exitCode == 2 ? 1 : 0;
        ASSERT_EQ(run.err, exitCode == 0 ? "" : "Out of memory\n") << exitCode;
    }
    std::cout << "ran out of memory " << ended << " times" << std::endl;
    EXPECT_GT(ended, 10);
}

/// A server and two backup files: one sets a property of both objects, the other another one.
struct Contest : Server {
    Contest()
        : Server(metabaseWith("IIsComputer A:IIsWebServer B:IIsWebServer"),
                 bothWith("<prop name=\"Title\" type=\"8\">mine</prop>")) {
        write("ports", bothWith("<prop name=\"Ports\" type=\"3\">4711</prop>"));
    }
    static std::string bothWith(const std::string& prop) {
        return backupFile(objElement("A", "IIsWebServer", "", prop) +
                          objElement("B", "IIsWebServer", "", prop));
    }
};

/// A restore that succeeded has made all its changes; one that failed has reported why and made none.
void expectAllOrNothing(const Outcome& run, const std::string& state, const std::string& mark) {
    SCOPED_TRACE(testing::Message() << mark << "\n" << state << run);
    if (run.exitCode == 0) {
        EXPECT_NE(state.find(mark), state.rfind(mark));
        return;
    }
    EXPECT_FALSE(contains(state, mark));
    EXPECT_TRUE(
        contains(run.out, "Error 0x80070021 (metabase.txt: another process is changing it)") ||
        contains(run.out,
                 "Error 0x800703EE (metabase.txt: has been changed by someone else since it was read)"));
}

TEST(TwoRestores, loseNoChangeWhereverOneInterruptsTheOther) {
    int refused = 0;
    Outcome ports;
    const auto restorePorts = [&](const Contest& contest, const SystemCall&) {
        ports = runProgram(contest, {"-restore", "-file", "ports"});
        return 0;
    };
    const auto check = [&](const Contest& contest, const Outcome& titles, const std::string&) {
        EXPECT_TRUE(titles.exitCode == 0 || ports.exitCode == 0);
        expectAllOrNothing(titles, stateOf(contest), ">mine<");
        expectAllOrNothing(ports, stateOf(contest), ">4711<");
        refused += titles.exitCode + ports.exitCode > 0 ? 1 : 0;
    };
    const int interruptions = atEachCall<Contest>(restorePorts, check);
    std::cout << "interrupted " << interruptions << " times, one of the two refused " << refused << " times"
              << std::endl;
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, interruptions);
}

TEST(Restore, keepsWhatAnEditorAppendsMeanwhile) {
    int detected = 0;
    const auto edit = [](const Contest& contest, const SystemCall& call) {
        // An edit between the last look at the file and its replacement can't be detected.
        if (call.name != "rename") {
            std::ofstream(contest.path("metabase.txt"), std::ios::app)
                << "+set \"localhost/A\" Ports [4711]\n";
        }
        return 0;
    };
    const auto check = [&](const Contest& contest, const Outcome& run, const std::string& reached) {
        EXPECT_EQ(contains(stateOf(contest), ">4711<"), reached != "rename");
        EXPECT_TRUE(run.exitCode == 0 || contains(run.out, "changed by someone else")) << run;
        // What is edited while the file is synchronised before the first change prevents it.
        EXPECT_TRUE(reached != "fsync" || run.exitCode == 0 || !contains(stateOf(contest), ">mine<"));
        detected += run.exitCode != 0 ? 1 : 0;
    };
    atEachCall<Contest>(edit, check);
    EXPECT_GT(detected, 0);
}

TEST(Backup, leavesAMetabaseThatIsCreatedMeanwhile) {
    for (const auto& [name, number] : {std::pair("metabase.txt", 1), {"link", 1}, {"link", 2}}) {
        const Folder folder;
        std::filesystem::create_symlink("metabase.txt", folder.path("link"));
        const auto createBeforeOpen = [&, left = number](const SystemCall& call) mutable {
            if (call.name == "open" && --left == 0) folder.write("metabase.txt", sampleMetabase());
            return 0;
        };
        const SystemCallStop stop(1, createBeforeOpen, true);
        EXPECT_EQ(runHere(folder, {"-backup", "-file", name}).exitCode, 2);
        EXPECT_TRUE(folder.read("metabase.txt") == sampleMetabase()) << name << " " << number;
    }
}

} // namespace
