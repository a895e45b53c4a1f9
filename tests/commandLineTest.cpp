// The command line, the streams and the exit codes.

#include "com/runtime.h"
#include "os/stream.h"
#include "src/dispUtils.h"
#include "tests/support/errorLines.h"
#include "tests/support/servers.h"

#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace {

const std::string usageText =
    "Usage: skeinKeep -backup -file <backup-file> [-noinherit] [-root <path>]\n"
    "Usage: skeinKeep -restore -file <backup-file> [-n] [-force] [-log <log-file>|-]\n"
    "  [-debug <n>]\n";

TEST(CommandLine, printsTheUsageForAWrongLineAndTouchesNoFile) {
    for (const char* text : {"", "-backup", "-file f", "-backup -backup -file f", "-restore -restore -file f",
                             "-backup -restore -file f", "-backup -file", "-file f -backup -file",
                             "-backup -file f -root", "-backup -file f -log", "-backup -file f -debug",
                             "-backup -file f -nx", "-backup -file f -N", "-backup -file f f"}) {
        std::istringstream words(text);
        const std::vector<std::string> line(std::istream_iterator<std::string>(words), {});
        const Folder folder;
        folder.write("metabase.txt", sampleMetabase());
        const Outcome run = runProgram(folder, line);
        EXPECT_EQ(run.exitCode, 1) << text;
        EXPECT_EQ(run.err, usageText) << text;
        EXPECT_EQ(run.out, "") << text;
        EXPECT_EQ(folder.read("f"), Folder::noFile) << text;
    }
}

TEST(CommandLine, takesOptionsInAnyOrderAndOperandsAsTheyAre) {
    struct Case {
        std::vector<std::string> line;
        std::string file;
        bool complete;
    };
    const Case cases[] = {
        {{"-backup", "-file", "f"}, "f", true},
        {{"-file", "f", "-backup"}, "f", true},
        {{"-file", "-n", "-backup"}, "-n", true},
        {{"-file", "g", "-backup", "-file", "f"}, "f", true},
        {{"-n", "-n", "-force", "-log", "l", "-backup", "-file", "f"}, "f", true},
        {{"-backup", "-file", "f", "-root", ""}, "f", true},
        {{"-backup", "-file", "f", "-root", "IIS://localhost/W3SVC/1"}, "f", false},
        {{"-debug", "6", "-debug", "2", "-backup", "-noinherit", "-file", "f"}, "f", false}};
    for (const Case& test : cases) {
        const Folder folder;
        folder.write("metabase.txt", sampleMetabase());
        SCOPED_TRACE(testing::PrintToString(test.line));
        const Outcome run = runProgram(folder, test.line);
        EXPECT_EQ(run.exitCode, 0) << run;
        EXPECT_EQ(run.out + run.err, "");
        EXPECT_EQ(folder.read("l"), Folder::noFile);
        const Folder plain;
        plain.write("metabase.txt", sampleMetabase());
        runProgram(plain, {"-backup", "-file", "f"});
        EXPECT_EQ(folder.read(test.file) == plain.read("f"), test.complete)
            << testing::PrintToString(test.line);
    }
}

TEST(CommandLine, readsNumbersAsAtoiDoesAndClampsThem) {
    const std::pair<const char*, std::int32_t> cases[] = {{"6", 6},
                                                          {"-1", -1},
                                                          {"+2", 2},
                                                          {" \t\n\v\f\r7x8", 7},
                                                          {"abc", 0},
                                                          {"", 0},
                                                          {"-", 0},
                                                          {"- 1", 0},
                                                          {"2147483647", 2147483647},
                                                          {"2147483648", 2147483647},
                                                          {"-99999999999999999999999", -2147483647 - 1},
                                                          {"\xA0"
                                                           "5",
                                                           0}};
    for (const auto& [text, number] : cases) EXPECT_EQ(leadingNumber(std::string_view(text)), number) << text;
}

TEST(CommandLine, failuresAreReportedWithAndWithoutASystemText) {
    const Folder folder;
    const Outcome run = runTool(folder, {"-backup", "-file", "f"}, [] {
        reportHr(E_FAIL, "some", 7);
        reportHr(makeStatus(0x87654321), "other", 1234);
    });
    const std::string lines =
        "Error 0x80004005 (Unspecified error) at some:7\nError 0x87654321 at other:1234\n";
    EXPECT_EQ(run.err.substr(0, lines.size()), lines);
    EXPECT_EQ(folded(run.err.substr(lines.size()), "80070002"), "{backup}Connecting to IIS via ADSI{backup}");
}

TEST(CommandLine, bothStreamsInOnePlaceKeepTheirOrder) {
    const std::size_t lengths[] = {1, 3000, 70000};
    const Folder folder;
    const Outcome run = runChild(folder, [&] {
        ::dup2(STDOUT_FILENO, STDERR_FILENO);
        for (const std::size_t length : lengths) {
            standardOutput().write("out ");
            standardError().write(std::string(length, '.'));
            standardError().write(std::string(length, '.'));
            standardError().printed();
        }
        return 0;
    });
    std::string expected;
    for (const std::size_t length : lengths) expected += "out " + std::string(2 * length, '.');
    EXPECT_EQ(run.out, expected);
}

TEST(CommandLine, closedStreamsAndFullDisksChangeNothing) {
    const Folder folder;
    folder.write("metabase.txt", sampleMetabase());
    EXPECT_EQ(runProgram(folder, {"-backup", "-file", "/dev/full"}).exitCode, 0);
    runProgram(folder, {"-backup", "-noinherit", "-file", "open"});
    const std::vector<std::string> backup = {"-backup", "-noinherit", "-debug", "6", "-file", "closed"};
    EXPECT_EQ(runProgram(folder, backup, {0, 1, 2}).exitCode, 0);
    EXPECT_EQ(folder.read("closed"), folder.read("open"));
    folder.write("metabase.txt", sampleMetabase() + "+set \"localhost/W3SVC\" DefaultDoc \"x\"\n");
    EXPECT_EQ(runProgram(folder, {"-restore", "-debug", "6", "-file", "open"}, {1, 2}).exitCode, 0);
    EXPECT_EQ(folder.read("metabase.txt"), sampleMetabase());
}

} // namespace
