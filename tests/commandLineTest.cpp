// The command line, the streams and the exit codes.

#include "com/runtime.h"
#include "os/stream.h"
#include "src/skeinKeep.h"
#include "tests/support/servers.h"
#include "text/characters.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

const std::string usageText =
    "Usage: " SKEINKEEP_PROGRAM " -backup -file <backup-file> [-noinherit] [-root <path>]\n"
    "Usage: " SKEINKEEP_PROGRAM " -restore -file <backup-file> [-n] [-force] [-log <log-file>|-]\n"
    "  [-debug <n>]\n";

/// Runs the program with arguments as the shell reads them.
Outcome runLine(const Folder& folder, const std::string& arguments) {
    return runProgram(folder, {}, R"(exec "$0" )" + arguments);
}

TEST(CommandLine, printsTheUsageForAWrongLineAndTouchesNoFile) {
    for (const char* line : {"", "-backup", "-file f", "-backup -backup -file f", "-restore -restore -file f",
                             "-backup -restore -file f", "-backup -file", "-file f -backup -file",
                             "-backup -file f -root", "-backup -file f -log", "-backup -file f -debug",
                             "-backup -file f -nx", "-backup -file f -N", "-backup -file f f"}) {
        const Server server(sampleMetabase(), "as it was");
        EXPECT_EQ(runLine(server, line), (Outcome{1, "", usageText})) << line;
        EXPECT_EQ(server.read("f"), "as it was") << line;
    }
}

TEST(CommandLine, takesOptionsInAnyOrderAndOperandsAsTheyAre) {
    const Server plain(sampleMetabase());
    runLine(plain, "-backup -file f");
    // The last is whether the backup has the whole server.
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"-file f -backup", "f", true},
        {"-file -n -backup", "-n", true},
        {"-file g -backup -file f", "f", true},
        {"-n -n -force -log l -backup -file f", "f", true},
        {"-backup -file f -root ''", "f", true},
        {"-backup -file f -root IIS://localhost/W3SVC/1", "f", false},
        {"-debug 6 -debug 2 -backup -noinherit -file f", "f", false}};
    for (const auto& [line, file, isWhole] : cases) {
        SCOPED_TRACE(line);
        const Server server(sampleMetabase(), "as it was");
        EXPECT_EQ(runLine(server, line), Outcome());
        EXPECT_EQ(server.read("l"), Folder::noFile);
        EXPECT_EQ(server.read(file) == plain.read("f"), isWhole);
    }
}

TEST(CommandLine, readsNumbersAsAtoiDoesAndClampsThem) {
    const std::pair<const char*, std::int32_t> cases[] = {{"+2", 2},
                                                          {" \t\n\v\f\r7x8", 7},
                                                          {"- 1", 0},
                                                          {"2147483647", 2147483647},
                                                          {"2147483648", 2147483647},
                                                          {"-99999999999999999999999", -2147483647 - 1},
                                                          {"\xA0+5", 0}};
    for (const auto& [text, number] : cases) EXPECT_EQ(leadingNumber(std::string_view(text)), number) << text;
}

TEST(CommandLine, failuresAreReportedWithAndWithoutASystemText) {
    const Outcome run = runHere(Folder(), [] {
        reportHr(E_FAIL, "some", 7);
        reportHr(makeStatus(0x87654321), "other", 1234);
        return 0;
    });
    EXPECT_EQ(run.err, "Error 0x80004005 (Unspecified error) at some:7\nError 0x87654321 at other:1234\n");
}

TEST(CommandLine, bothStreamsInOnePlaceKeepTheirOrder) {
    const std::size_t lengths[] = {1, 3000, 70000};
    const Folder folder;
    const Outcome run = runChild(folder, [&] {
        ::dup2(STDOUT_FILENO, STDERR_FILENO);
        for (const std::size_t length : lengths) {
            standardOutput().write("out ");
            standardError().write(std::string(length, '.'));
            standardError().fill('.', length);
            standardError().printed();
        }
        return 0;
    });
    std::string expected;
    for (const std::size_t length : lengths) expected += "out " + std::string(2 * length, '.');
    EXPECT_EQ(run.out, expected);
}

TEST(CommandLine, linesOnATerminalAppearWhenTheyEnd) {
    const Outcome run = runHere(Folder(), [] {
        OutStream lines(STDOUT_FILENO, OutStream::Flush::eachLine);
        for (const char* text : {"part of a ", "line\n", "rest"}) {
            lines.write(text);
            lines.printed();
            if (::write(STDOUT_FILENO, "|", 1) != 1) return 1;
        }
        return 0;
    });
    EXPECT_EQ(run.out, "|part of a line\n||rest");
}

TEST(CommandLine, closedStreamsAndFullDisksChangeNothing) {
    const Server server(sampleMetabase());
    EXPECT_EQ(runProgram(server, {"-backup", "-file", "/dev/full"}).exitCode, 0);
    runProgram(server, {"-backup", "-noinherit", "-file", "open"});
    const std::vector<std::string> backup = {"-backup", "-noinherit", "-debug", "6", "-file", "closed"};
    EXPECT_EQ(runProgram(server, backup, R"(exec "$0" "$@" <&- >&- 2>&-)").exitCode, 0);
    EXPECT_EQ(server.read("closed"), server.read("open"));
    for (const char* line : {R"(exec "$0" "$@" >&- 2>&-)", R"(exec "$0" "$@" >/dev/full)",
                             R"({ sleep 0.1; "$0" "$@"; echo $? >code; } | :; exit $(cat code))"}) {
        SCOPED_TRACE(line);
        server.write("metabase.txt", sampleMetabase() + "+set \"localhost/W3SVC\" DefaultDoc \"x\"\n");
        EXPECT_EQ(runProgram(server, {"-restore", "-debug", "6", "-file", "open"}, line).exitCode, 0);
        EXPECT_EQ(server.metabase(), sampleMetabase());
    }
}

} // namespace
