// Restores on a machine that loses power: their calls are made on a model of the disk too, which lists what a
// loss of power can leave. From there the next restore must be able to continue.

#include "tests/support/servers.h"
#include "tests/support/systemCalls.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <unistd.h>

namespace {

/// The texts of a file: the first is on the disk for certain, the last is what the running system shows.
using DiskFile = std::vector<std::string>;
/// The files of a folder by their names.
using Names = std::map<std::string, std::shared_ptr<DiskFile>>;

struct Disk {
    /// The folder: the first is on the disk for certain, the last is what the running system shows.
    std::vector<Names> folders;
    /// The metabase before the first change and after each.
    std::vector<std::string> changed;
    /// A loss of power cuts the last write off at each so many bytes.
    std::size_t stride;
    /// How many changes a loss of power must leave.
    std::size_t fewest = 0;
    bool isFirstChange = true;
    /// The texts of the metabase that a loss of power can leave, with the fewest and the most changes in
    /// each.
    std::map<std::string, std::pair<std::size_t, std::size_t>> states = {};

    void make(const SystemCall& call);
    void losePower(const std::string& left);
    void losePower();
};

void Disk::make(const SystemCall& call) {
    const auto link = "/proc/self/fd/" + std::to_string(call.descriptor);
    const std::filesystem::path folder = std::filesystem::current_path();
    const std::filesystem::path target = call.name == "syncfs" ? folder / "metabase.txt"
                                         : call.descriptor < 0 ? std::filesystem::path(call.path)
                                                               : std::filesystem::read_symlink(link);
    if (target == folder || call.name == "syncfs") folders.erase(folders.begin(), folders.end() - 1);
    if (target.parent_path() != folder) return;
    Names names = folders.back();
    std::shared_ptr<DiskFile>& file = names[target.filename()];
    if (call.name == "write") {
        if (!file) file = std::make_shared<DiskFile>(1);
        file->push_back(file->back() + std::string(call.bytes));
    }
    if (call.bytes.starts_with('+')) {
        if (std::exchange(isFirstChange, false)) fewest = changed.size() - 1;
        changed.push_back(file->back());
    }
    if (call.name == "ftruncate") file->push_back(file->back().substr(0, std::size_t(call.size)));
    if (contains(call.name, "sync")) file->erase(file->begin(), file->end() - 1);
    if (call.name == "rename") names[std::filesystem::path(call.newPath).filename()] = file;
    if (call.name == "rename" || call.name == "unlink") names.erase(target.filename());
    if (names != folders.back()) folders.push_back(names);
    losePower();
}

void Disk::losePower(const std::string& left) {
    const std::size_t most = changed.size() - 1;
    auto& range = states.try_emplace(left, fewest, most).first->second;
    range = {std::max(range.first, fewest), std::min(range.second, most)};
}

void Disk::losePower() {
    for (const Names& names : folders) {
        const DiskFile& file = *names.at("metabase.txt");
        const std::string& whole = file.back();
        // Of earlier writes and of cuts, the last ones may be missing.
        for (const std::string& earlier : file) {
            losePower(earlier);
            if (earlier.size() > whole.size()) losePower(whole + earlier.substr(whole.size()));
        }
        const std::size_t safe = std::ranges::min(file, {}, &std::string::size).size();
        const std::size_t lastWrite = file.size() > 1 ? file[file.size() - 2].size() : safe;
        for (const std::size_t unit : {stride, std::size_t{512}, std::size_t{4096}}) {
            for (std::size_t at = unit == stride ? lastWrite : safe, next = 0; at < whole.size(); at = next) {
                next = std::min((at / unit + 1) * unit, whole.size());
                const std::string written = whole.substr(0, at);
                losePower(written);
                losePower(written + std::string(whole.size() - at, '\0'));
                losePower(written + std::string(next - at, '\0') + whole.substr(next));
            }
        }
    }
}

TEST(Power, lossLeavesTheFirstChangesOfARestoreAndAllAfterItsEnd) {
    struct Case {
        std::string metabase;
        std::string backup;
        std::size_t stride;
        /// What another run left at the end of the metabase.
        std::string end = "";
        /// The call after which a first run is killed; 0 for no first run.
        int killedAfter = 0;
        /// The call that fails, after the one before it, and whether all after it fail too.
        std::string failing = "";
        bool lasting = false;
    };
    std::string objects = "IIsComputer";
    std::string elements;
    for (const char name : std::string("ABCDEFGHIJKL")) {
        objects.append(" ").append(1, name).append(":IIsWebServer");
        elements += objElement(std::string(1, name), "IIsWebServer", "",
                               "<prop name=\"Title\" type=\"8\">" + std::string(1800, 'a') + "</prop>");
    }
    const std::size_t stride = isSanitized ? 200 : 1;
    const std::string torn = "+set \"localhost\" Title \"" + std::string(900, 'x');
    const std::string swept = testData("sweep-backup.xml");
    std::vector<Case> cases = {
        {metabaseWith(objects), backupFile(elements), 41 * stride},
        {sweptMetabase, swept, stride, torn},
        {sweptMetabase, swept, stride, torn + std::string(1200, '\0') + "y\"\n+delete \"localhost/G\"\n"},
        {sweptMetabase, swept, stride, "", 65}};
    for (const char* failing :
         {"link", "unlink open", "fstat fchmod", "fchmod fsync", "stat rename", "rename open"}) {
        for (const bool lasting : {false, true})
            cases.push_back({sweptMetabase, swept, 50 * stride, "", 0, failing, lasting});
    }
    std::set<std::string> tried;
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << &test - cases.data() << " " << test.failing << test.lasting);
        const Server server(test.metabase + test.end, test.backup);
        const auto file = std::make_shared<DiskFile>(1, server.metabase());
        Disk disk{{{{"metabase.txt", file}}}, {test.metabase}, test.stride};
        const auto restoreWith = [&](const SystemCallAction& fail) {
            disk.isFirstChange = true;
            return runHere(server, [&] {
                const auto act = [&](const SystemCall& call) {
                    const int error = fail(call);
                    if (error == 0) disk.make(call);
                    return error;
                };
                const SystemCallStop stop(1, act, true);
                return runOnStreams(restoring);
            });
        };
        if (test.killedAfter > 0)
            restoreWith([left = test.killedAfter](const auto&) mutable { return left-- > 0 ? 0 : EIO; });
        if (test.failing == "link")
            std::filesystem::create_hard_link(server.path("metabase.txt"), server.path("second"));
        std::string before;
        bool hasFailed = false;
        const Outcome run = restoreWith([&](const SystemCall& call) {
            before += " " + std::string(call.name);
            const bool isTurn = before == test.failing;
            before = call.name;
            const bool fails = isTurn || (hasFailed && test.lasting && call.descriptor != STDERR_FILENO);
            hasFailed = hasFailed || fails;
            return fails ? EIO : 0;
        });
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(hasFailed, contains(test.failing, " "));
        for (const auto& [name, left] : disk.folders.back()) EXPECT_TRUE(left->back() == server.read(name));
        const bool isSynced = !run.err.ends_with("metabase.txt: can't be synchronised to the disk: "
                                                 "Input/output error\n");
        EXPECT_EQ(isSynced, !hasFailed || !test.lasting);
        if (isSynced) disk.fewest = disk.changed.size() - 1;
        disk.losePower();

        std::vector<std::string> expected;
        for (const std::string& text : disk.changed) expected.push_back(stateOf(Server(text)));
        for (const auto& [text, range] : disk.states) {
            const Server left(text, test.backup);
            const auto to = expected.begin() + std::ptrdiff_t(range.second) + 1;
            const std::string found = stateOf(left);
            ASSERT_NE(std::find(expected.begin() + std::ptrdiff_t(range.first), to, found), to)
                << found << text;
            ASSERT_EQ(runHere(left, restoring).exitCode, 0) << text;
            ASSERT_EQ(stateOf(left), expected.back()) << text;
            tried.insert(text);
        }
    }
    std::cout << tried.size() << " states after a loss of power" << std::endl;
    EXPECT_GT(tried.size(), isSanitized ? 300U : 3000U);
}

} // namespace
