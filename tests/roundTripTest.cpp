// A whole tree comes back through a backup file.

#include "tests/support/seed.h"
#include "tests/support/servers.h"
#include "tools/generator/randomMetabase.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

/// A backup without what a restore doesn't bring back: whether a value is inherited, and the properties that
/// are never restored.
std::string restorablePart(std::string backup) {
    for (const char* name : {"KeyType", "ServerState", "AdminACL", "RelayIpList"})
        backup = without(backup, std::string("<prop name=\"") + name + "\" type", '\n');
    return without(backup, " inherited=\"true\"", '>');
}

/// Backs a server up and brings another one into line with it.
void expectRoundTrip(const Folder& folder, const std::string& server, const std::string& other) {
    const auto run = [&](const Arguments& arguments) {
        const Outcome outcome = runHere(folder, arguments);
        EXPECT_EQ(outcome.exitCode, 0) << testing::PrintToString(arguments) << outcome;
    };
    folder.write("metabase.txt", server);
    run({"-backup", "-file", "before"});
    folder.write("metabase.txt", other);
    run({"-restore", "-n", "-file", "before"});
    EXPECT_EQ(folder.read("metabase.txt"), other) << "changed by the dry run";
    run({"-restore", "-file", "before"});
    run({"-backup", "-file", "after"});
    EXPECT_EQ(restorablePart(folder.read("after")), restorablePart(folder.read("before")));
    const std::filesystem::path metabase = folder.path("metabase.txt");
    std::filesystem::last_write_time(metabase, {});
    run({"-restore", "-file", "before"});
    EXPECT_EQ(std::filesystem::last_write_time(metabase), std::filesystem::file_time_type())
        << "changed by a second restore";
}

TEST(RoundTrip, ofEveryTreeThroughABackupBringsAnotherTreeIntoLine) {
    Random random(seed());
    const Folder folder(Folder::Place::inMemory);
    for (int number = 0; number < 2000 && !HasFailure(); ++number) {
        RandomMetabase server(random);
        const std::string first = server.tree();
        const std::string second = server.tree();
        SCOPED_TRACE(testing::Message() << "case " << number << "\n" << first << "\n" << second);
        expectRoundTrip(folder, first, second);
    }
}

} // namespace
