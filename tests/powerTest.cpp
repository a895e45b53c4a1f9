// Restores on a machine that loses power: before each call of the operating system the test notes what the
// files hold and what of that is on the disk for certain. From all that a loss of power can leave the next
// restore must continue.

#include "tests/support/servers.h"
#include "tests/support/systemCalls.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What a disk can hold: the first is there for certain, the last is what the running system shows.
template <class T> using Versions = std::vector<T>;

template <class T> void add(Versions<T>& versions, const T& next) {
    if (versions.empty() || versions.back() != next) versions.push_back(next);
}
template <class T> void sync(Versions<T>& versions) { versions.erase(versions.begin(), versions.end() - 1); }

struct Disk {
    const Server& server;
    /// A loss of power cuts the last write off at each so many bytes.
    std::size_t stride;
    /// The metabase before the first change and after each.
    std::vector<std::string> changed;
    /// The numbers of the files by their names, and the texts of the files by their numbers.
    Versions<std::map<std::string, ino_t>> folder = {};
    std::map<ino_t, Versions<std::string>> files = {};
    /// How many changes there must be, and how many there were when the run began.
    std::size_t fewest = 0;
    std::size_t inherited = 0;
    bool isChanging = false;
    /// The texts of the metabase that a loss of power can leave, with the fewest and the most changes in
    /// each.
    std::map<std::string, std::pair<std::size_t, std::size_t>> left = {};

    void look();
    void leave(const std::string& text);
    Outcome restore(const SystemCallAction& fail);
};

void Disk::leave(const std::string& text) {
    const std::size_t most = changed.size() - 1;
    auto& range = left.try_emplace(text, fewest, most).first->second;
    range = {std::max(range.first, fewest), std::min(range.second, most)};
}

/// Notes the state of the files, and what a loss of power would leave now.
void Disk::look() {
    std::map<std::string, ino_t> names;
    for (const auto& entry : std::filesystem::directory_iterator(server.path())) {
        struct stat info {};
        EXPECT_EQ(::stat(entry.path().c_str(), &info), 0);
        names[entry.path().filename()] = info.st_ino;
        add(files[info.st_ino], readBytes(entry.path()));
    }
    add(folder, names);
    if (std::exchange(isChanging, false)) {
        changed.push_back(server.metabase());
        fewest = inherited;
    }
    for (const auto& version : folder) {
        const Versions<std::string>& texts = files[version.at("metabase.txt")];
        const std::string& whole = texts.back();
        // The last writes and cuts may be missing.
        for (const std::string& earlier : texts) {
            leave(earlier);
            if (earlier.size() > whole.size()) leave(whole + earlier.substr(whole.size()));
        }
        const std::size_t safe = std::ranges::min(texts, {}, &std::string::size).size();
        const std::size_t lastWrite = texts.size() > 1 ? texts[texts.size() - 2].size() : safe;
        for (const std::size_t unit : {stride, std::size_t{512}, std::size_t{4096}}) {
            for (std::size_t at = unit == stride ? lastWrite : safe, next = 0; at < whole.size(); at = next) {
                next = std::min((at / unit + 1) * unit, whole.size());
                const std::string written = whole.substr(0, at);
                leave(written);
                leave(written + std::string(whole.size() - at, '\0'));
                leave(written + std::string(next - at, '\0') + whole.substr(next));
            }
        }
    }
}

Outcome Disk::restore(const SystemCallAction& fail) {
    inherited = changed.size() - 1;
    const auto act = [&](const SystemCall& call) {
        look();
        if (const int error = fail(call); error != 0) return error;
        isChanging = call.bytes.starts_with('+');
        struct stat info {};
        if (contains(call.name, "sync") && ::fstat(call.descriptor, &info) == 0) {
            if (S_ISREG(info.st_mode)) sync(files.at(info.st_ino));
            if (S_ISDIR(info.st_mode) || call.name == "syncfs") sync(folder);
        }
        return 0;
    };
    return runHere(server, [&] {
        const SystemCallStop stop(1, act, true);
        return runOnStreams(restoring);
    });
}

TEST(Power, lossLeavesTheFirstChangesOfARestoreAndAllAfterItsEnd) {
    struct Case {
        std::string backup;
        std::size_t stride;
        /// What another run left at the end of the metabase.
        std::string end = {};
        /// The call before which a first run is killed; 0 for no first run.
        int killedBefore = 0;
        /// The call that fails, after the one before it, and whether all after it fail too.
        std::string failing = {};
        bool lasting = false;
    };
    const std::size_t stride = isSanitized ? 200 : 1;
    const std::string swept = testData("sweep-backup.xml");
    const std::string manyPages = std::string(swept).insert(swept.find("new<"), std::string(20'000, 'n'));
    const std::string torn = "+set \"localhost\" Title \"" + std::string(900, 'x');
    std::vector<Case> cases = {
        {manyPages, 71 * stride},
        {swept, stride, torn},
        {swept, stride, torn + std::string(1200, '\0') + "y\"\n+delete \"localhost/G\"\n"},
        {swept, stride, "", 66}};
    for (const char* failing :
         {"link", "unlink open", "fstat fchmod", "fchmod fsync", "stat rename", "rename open"}) {
        for (const bool lasting : {false, true})
            cases.push_back({swept, 50 * stride, "", 0, failing, lasting});
    }
    std::set<std::string> tried;
    for (const Case& test : cases) {
        SCOPED_TRACE(test.failing + (test.lasting ? ", lasting" : "") + test.end.substr(0, 20));
        const SweptServer server(sweptMetabase + test.end);
        server.write("f", test.backup);
        Disk disk{server, test.stride, {sweptMetabase}};
        if (test.killedBefore > 0)
            disk.restore([calls = test.killedBefore](const auto&) mutable { return --calls > 0 ? 0 : EIO; });
        if (test.failing == "link")
            std::filesystem::create_hard_link(server.path("metabase.txt"), server.path("second"));
        std::string calls;
        bool hasFailed = false;
        const Outcome run = disk.restore([&](const SystemCall& call) {
            calls.append(" ").append(call.name);
            const bool fails = contains(test.failing, " ") && calls.ends_with(" " + test.failing);
            hasFailed = hasFailed || fails;
            return fails || (hasFailed && test.lasting && call.descriptor != STDERR_FILENO) ? EIO : 0;
        });
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(hasFailed, contains(test.failing, " "));
        const bool isSynced = !run.err.ends_with("metabase.txt: can't be synchronised to the disk: "
                                                 "Input/output error\n");
        EXPECT_EQ(isSynced, !hasFailed || !test.lasting);
        if (isSynced) disk.fewest = disk.changed.size() - 1;
        disk.look();

        std::vector<std::string> expected;
        for (const std::string& text : disk.changed) expected.push_back(stateOf(SweptServer(text)));
        for (const auto& [text, range] : disk.left) {
            const SweptServer found(text);
            found.write("f", test.backup);
            const auto from = expected.begin() + std::ptrdiff_t(range.first);
            const auto to = expected.begin() + std::ptrdiff_t(range.second) + 1;
            ASSERT_NE(std::find(from, to, stateOf(found)), to) << stateOf(found) << text;
            ASSERT_EQ(runHere(found, restoring).exitCode, 0) << text;
            ASSERT_EQ(stateOf(found), expected.back()) << text;
            tried.insert(text);
        }
    }
    std::cout << tried.size() << " states after a loss of power" << std::endl;
    EXPECT_GT(tried.size(), isSanitized ? 300U : 3000U);
}

} // namespace
