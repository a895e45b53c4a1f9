// A restore that is killed, or that the operating system or another restore gets in the way of, at every
// moment that there is: what was committed stays, and the next restore completes it.

#include "tests/restoreSupport.h"
#include "tests/systemCalls.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

const std::string metabase = testData("sweep-metabase.txt");
const std::string backup = testData("sweep-backup.xml");
const std::vector<std::string> restoring = {"-restore", "-file", "f"};

/// A server and a backup of another one, in a folder of their own.
struct Server : Folder {
    explicit Server(const std::string& text = metabase) {
        write("metabase.txt", text);
        write("f", backup);
    }
    std::string text() const { return read("metabase.txt"); }
    /// What the server holds, whatever the form of its file.
    std::string shown() const {
        EXPECT_EQ(runProgram(*this, {"-backup", "-file", "shown"}).exitCode, 0);
        return read("shown");
    }
    /// The file behind a restore that can't rewrite it, with a line for each change.
    std::string restoredLines() const {
        std::filesystem::create_directory(path(".metabase.txt.rewrite"));
        EXPECT_EQ(runProgram(*this, restoring).exitCode, 0);
        return text();
    }
};

std::string manyObjects(int count) {
    std::string children;
    for (int i = 0; i < count; ++i) {
        children +=
            element(std::to_string(i), "IIsWebServer", "", "<prop name=\"Title\" type=\"8\">new</prop>");
    }
    return file(children);
}

/// The restore that nothing gets in the way of.
struct Undisturbed {
    std::string lines = Server().restoredLines();
    /// What the server holds ahead of the first change and behind each.
    std::vector<std::string> states;

    Undisturbed() {
        for (std::size_t end = metabase.size(); end <= lines.size(); ++end) {
            if (lines[end - 1] == '\n') states.push_back(Server(lines.substr(0, end)).shown());
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
    EXPECT_NE(std::ranges::find(states, server.shown()), states.end()) << server.text();
    EXPECT_EQ(runProgram(server, restoring).exitCode, 0);
    EXPECT_EQ(server.shown(), states.back());
}

/// Runs a restore that does something at the call of a number. Gives false where there is no such call any
/// more.
bool runStopped(const Server& server, int number, Outcome& run,
                const std::function<int(const SystemCall&)>& act, bool lasting = false) {
    run = runTool(server, restoring, [&] {
        atSystemCall(
            number,
            [&](const SystemCall& call) {
                server.write("reached", std::string(call.name) + std::string(call.bytes.substr(0, 1)));
                return act(call);
            },
            lasting);
    });
    return server.read("reached") != "<none>";
}

/// Has a write done in part, as a full disk or a kill does.
void writeHalf(const SystemCall& call) {
    if (call.name == "write") (void)::write(call.descriptor, call.bytes.data(), call.bytes.size() / 2);
}

TEST(Crash, leavesTheChangesThatWereMadeWhereverItStrikes) {
    int kills[] = {0, 0};
    for (const bool torn : {false, true}) {
        const auto kill = [torn](const SystemCall& call) {
            if (torn && call.name != "write") return 0;
            if (torn) writeHalf(call);
            return std::raise(SIGKILL);
        };
        for (int number = 1;; ++number) {
            const Server server;
            Outcome run;
            if (!runStopped(server, number, run, kill)) break;
            SCOPED_TRACE(server.read("reached") + " " + std::to_string(number));
            EXPECT_TRUE(run.exitCode == -SIGKILL || (torn && run.exitCode == 0)) << run.exitCode;
            kills[torn] += run.exitCode == -SIGKILL;
            expectCompletable(server);
        }
    }
    std::cout << "killed ahead of " << kills[0] << " calls and within " << kills[1] << " writes" << std::endl;
    EXPECT_GT(kills[1], 10);
}

TEST(Crash, canTearTheLastLineAnywhere) {
    for (std::size_t size = metabase.size(); size <= undisturbed().lines.size(); ++size) {
        const Server server(undisturbed().lines.substr(0, size));
        SCOPED_TRACE(size);
        expectCompletable(server);
    }
}

void killAfter(std::chrono::nanoseconds time) {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL;
    timer_t timer{};
    const itimerspec once{{0, 0}, {time.count() / 1'000'000'000, time.count() % 1'000'000'000 + 1}};
    EXPECT_EQ(::timer_create(CLOCK_MONOTONIC, &event, &timer), 0);
    EXPECT_EQ(::timer_settime(timer, 0, &once, nullptr), 0);
}

TEST(Crash, killsARunOfThousandsOfChangesAtAnyTime) {
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    constexpr int objects = 4000;
    const Server whole;
    whole.write("f", manyObjects(objects));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(runTool(whole, restoring).exitCode, 0);
    const auto span = std::chrono::steady_clock::now() - start;
    const Server appended;
    appended.write("f", whole.read("f"));
    const std::string lines = appended.restoredLines();
    int killed = 0;
    constexpr int rounds = 60;
    for (int round = 0; round < rounds; ++round) {
        const Server server;
        server.write("f", whole.read("f"));
        const auto patience = span * (random() % 1200) / 1000;
        killed += runTool(server, restoring, [patience] { killAfter(patience); }).exitCode == -SIGKILL;
        const std::string left = server.text();
        EXPECT_TRUE(left == whole.text() || (left.starts_with(metabase) && lines.starts_with(left)))
            << "seed " << seed;
        EXPECT_EQ(runProgram(server, restoring).exitCode, 0);
        EXPECT_EQ(server.shown(), whole.shown()) << "seed " << seed;
    }
    std::cout << "killed " << killed << " of " << rounds << " runs of " << 2 * objects << " changes, seed "
              << seed << std::endl;
    EXPECT_GT(killed, 0);
}

TEST(SystemFailure, endsTheRunAtTheChangeThatCannotBeMade) {
    const std::pair<int, std::string> errors[] = {
        {ENOSPC, "Error 0x80070070 (metabase.txt: can't be written: No space left on device)"},
        {EROFS, "Error 0x80070005 (metabase.txt: can't be written: Read-only file system)"},
        {EIO, "Error 0x8007001D (metabase.txt: can't be written: Input/output error)"}};
    int failures = 0;
    for (const auto& [error, said] : errors) {
        for (const bool lasting : {false, true}) {
            for (int number = 1;; ++number) {
                const Server server;
                Outcome run;
                const auto fail = [error = error](const SystemCall& call) {
                    writeHalf(call);
                    return error;
                };
                if (!runStopped(server, number, run, fail, lasting)) break;
                const std::string call = server.read("reached");
                SCOPED_TRACE(call + " " + std::to_string(number) + "\n" + run.out);
                ++failures;
                const bool complete = server.shown() == undisturbed().states.back();
                EXPECT_TRUE(run.exitCode == 2 || (run.exitCode == 0 && complete)) << run.exitCode;
                if (call == "write+" && !lasting) {
                    EXPECT_EQ(run.exitCode, 2);
                    EXPECT_NE(run.out.find(said), std::string::npos);
                    EXPECT_TRUE(server.text().ends_with('\n'));
                }
                expectCompletable(server);
            }
        }
    }
    std::cout << failures << " calls of the operating system failed" << std::endl;
    EXPECT_GT(failures, 100);
}

TEST(SystemFailure, keepsToALimitOfTheFilesSize) {
    for (std::size_t limit = metabase.size(); limit < undisturbed().lines.size(); limit += 5) {
        const Server server;
        const Outcome run = runTool(server, restoring, [limit] {
            const rlimit size{limit, limit};
            ::setrlimit(RLIMIT_FSIZE, &size);
        });
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_NE(run.out.find("Error 0x800700DF (metabase.txt: can't be written: File too large)"),
                  std::string::npos);
        expectCompletable(server);
    }
}

TEST(SystemFailure, ofStandardOutputHindersNoChange) {
    for (const bool full : {false, true}) {
        const Server server;
        const Outcome run = runTool(server, restoring, [full] {
            int ends[2] = {-1, -1};
            EXPECT_EQ(::pipe(ends), 0);
            ::close(ends[0]);
            ::dup2(full ? ::open("/dev/full", O_WRONLY) : ends[1], STDOUT_FILENO);
        });
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(server.shown(), undisturbed().states.back());
    }
}

/// Two restores of one server: one sets a property of all objects, the other one another.
struct Contest : Folder {
    explicit Contest(int objects) : objects_(objects) {
        std::string text = testData("server-schema.txt") + "object \"localhost\" IIsComputer\n";
        std::string titles;
        std::string ports;
        for (int i = 0; i < objects; ++i) {
            const std::string name = std::to_string(1000 + i);
            text.append("object \"localhost/").append(name).append("\" IIsWebServer\n");
            titles += element(name, "IIsWebServer", "", "<prop name=\"Title\" type=\"8\">mine</prop>");
            ports += element(name, "IIsWebServer", "", "<prop name=\"Ports\" type=\"3\">4711</prop>");
        }
        write("metabase.txt", text);
        write("titles", file(titles));
        write("ports", file(ports));
    }
    /// Whoever succeeded has made all changes; whoever didn't was told why, and has made none.
    void expectFair(const Outcome& titles, const Outcome& ports) const {
        EXPECT_TRUE(titles.exitCode == 0 || ports.exitCode == 0);
        EXPECT_EQ(runProgram(*this, {"-backup", "-file", "shown"}).exitCode, 0);
        const std::string shown = read("shown");
        const std::string why = "Error 0x80070021 (metabase.txt: another process is changing it)";
        const std::string altered =
            "Error 0x800703EE (metabase.txt: has been changed by someone else since it was read)";
        for (const auto& [run, mark] : {std::pair(titles, ">mine<"), std::pair(ports, ">4711<")}) {
            int found = 0;
            for (std::size_t at = shown.find(mark); at != std::string::npos; at = shown.find(mark, at + 1))
                ++found;
            EXPECT_EQ(found, run.exitCode == 0 ? objects_ : 0);
            EXPECT_TRUE(run.exitCode == 0 || run.out.find(why) != std::string::npos ||
                        run.out.find(altered) != std::string::npos)
                << run.exitCode << run.out;
        }
    }

private:
    int objects_;
};

TEST(TwoRestores, loseNoChangeWhereverTheOneBreaksInUponTheOther) {
    int breaks = 0;
    int refused = 0;
    for (;; ++breaks) {
        const Contest contest(2);
        const Outcome titles = runTool(contest, {"-restore", "-file", "titles"}, [&] {
            atSystemCall(breaks + 1, [&](const SystemCall&) {
                const Outcome run = runProgram(contest, {"-restore", "-file", "ports"});
                contest.write("exit", std::to_string(run.exitCode));
                contest.write("out", run.out);
                return 0;
            });
        });
        if (contest.read("exit") == "<none>") break;
        SCOPED_TRACE(breaks);
        const Outcome ports{std::stoi(contest.read("exit")), contest.read("out"), ""};
        contest.expectFair(titles, ports);
        refused += titles.exitCode + ports.exitCode > 0;
    }
    std::cout << "broken in upon " << breaks << " times, one of the two refused " << refused << " times"
              << std::endl;
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, breaks);
}

TEST(TwoRestores, loseNoChangeWhateverTheTimeBetweenThem) {
    int refused = 0;
    constexpr int pairs = 60;
    for (int pair = 0; pair < pairs; ++pair) {
        const Contest contest(300);
        Outcome ports;
        std::thread second([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(pair * 400));
            ports = runProgram(contest, {"-restore", "-file", "ports"});
        });
        const Outcome titles = runProgram(contest, {"-restore", "-file", "titles"});
        second.join();
        contest.expectFair(titles, ports);
        refused += titles.exitCode + ports.exitCode > 0;
    }
    std::cout << pairs << " pairs, one of the two refused " << refused << " times" << std::endl;
}

TEST(TwoRestores, keepWhatAnEditorAppendsMeanwhile) {
    const std::string edit = "+set \"localhost/1001\" Ports [4711]\n";
    int noticed = 0;
    bool isDone = false;
    for (int number = 1; !isDone; ++number) {
        const Contest contest(2);
        const Outcome run = runTool(contest, {"-restore", "-file", "titles"}, [&] {
            atSystemCall(number, [&](const SystemCall& call) {
                // Nobody can tell what comes between the last look at the file and its replacement.
                if (call.name != "rename") std::ofstream(contest.path("metabase.txt"), std::ios::app) << edit;
                contest.write("call", std::string(call.name));
                return 0;
            });
        });
        const std::string call = contest.read("call");
        isDone = call == "<none>";
        SCOPED_TRACE(std::to_string(number) + " " + call);
        EXPECT_EQ(runProgram(contest, {"-backup", "-file", "shown"}).exitCode, 0);
        const bool isKept = contest.read("shown").find(">4711<") != std::string::npos;
        EXPECT_EQ(isKept, !isDone && call != "rename");
        EXPECT_TRUE(run.exitCode == 0 || run.out.find("changed by someone else") != std::string::npos)
            << run.out;
        noticed += run.exitCode != 0;
    }
    EXPECT_GT(noticed, 0);
}

} // namespace
