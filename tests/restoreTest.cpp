// A restore: the files that it accepts, the cases of objects and of properties, and failures.

#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/tables.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace {

/// Expects this outcome of a restore and of a dry run of the file, and an unchanged server.
void expectNoChange(const std::string& file, const Outcome& expected) {
    const std::string before = metabaseWith("IIsComputer A:IIsWebFile");
    const Arguments ignored = {"-root", "IIS://nowhere", "-noinherit", "-force"};
    for (const Arguments& options : {Arguments{}, Arguments{"-n"}, ignored}) {
        const ServerRun run = restore(before, file, options);
        EXPECT_EQ(folded(run), expected);
        EXPECT_EQ(run.metabase, before);
    }
}

TEST(RestoreFiles, ofOtherFormsAreReadTheSameAndNoOthers) {
    for (const TableCase& test : readTable("backup-forms.txt", {{"file", "prints"}, {"stderr", "exit"}})) {
        SCOPED_TRACE(test);
        expectNoChange(test["file"], {test.number("exit", "2"), test["prints"], test.get("stderr", "")});
    }
}

TEST(RestoreFiles, withAStartTagTooLongForTheMessageAreRefused) {
    const std::string tag = "<obj path=\"IIS://localhost\"";
    for (const std::size_t length : {8190U, 8191U}) {
        const std::string whole = tag + " a=\"" + std::string(length - tag.size() - 5, 'x') + "\"";
        const std::string printed = "Node " + (length == 8190 ? whole : tag) +
                                    "> must have exactly one \"props\" child node; it has has 0\n" +
                                    "{80004005 restore}{80004005 restore}";
        expectNoChange("<x version=\"1\">" + whole + " b=\"\"><children/></obj></x>", {2, printed, ""});
    }
}

TEST(RestoreFiles, thatCannotBeReadAreNamed) {
    const Server server(metabaseWith("IIsComputer"));
    std::filesystem::create_directory(server.path("folder"));
    server.write("large", "");
    std::filesystem::resize_file(server.path("large"), std::uintmax_t{1} << 31);
    const std::pair<const char*, const char*> cases[] = {
        {"none", "Unexpected error opening: \"none\": No such file or directory"},
        {"folder", "Unexpected error opening: \"folder\": Is a directory"},
        {"large", "Read 0 bytes from \"large\", expected to read 2147483648"}};
    for (const auto& [name, message] : cases) {
        EXPECT_EQ(folded(runProgram(server, {"-restore", "-file", name}), "8000FFFF"),
                  (Outcome{2, std::string("{xmlUtils}") + message + "{restore}", ""}));
    }
}

TEST(RestoreObjects, followTheRulesOfTheirClasses) {
    for (const TableCase& test : readTable("objects.txt", {{"server", "file", "prints", "after"},
                                                           {"exit", "stderr", "dryPrints", "dryExit"}})) {
        SCOPED_TRACE(test);
        const std::string before = metabaseWith(test["server"]);
        const std::string backup = backupFile(test["file"]);
        // At this level no warning is printed.
        const ServerRun dry = restore(before, backup, {"-n", "-debug", "-1"});
        const int exitCode = test.number("exit", "0");
        const int dryExitCode = test.number("dryExit", test.get("exit", "0").c_str());
        EXPECT_EQ(folded(dry), (Outcome{dryExitCode, test.get("dryPrints", test["prints"]), ""}));
        EXPECT_EQ(dry.metabase, before);
        const ServerRun real = restore(before, backup);
        EXPECT_EQ(folded(real), (Outcome{exitCode, test["prints"], test.get("stderr", "")}));
        EXPECT_EQ(real.metabase, metabaseWith(test["after"]));
    }
}

TEST(RestoreProperties, areComparedByTheirOwnRulesAndWrittenWhereTheyDiffer) {
    for (const TableCase& test :
         readTable("properties.txt",
                   {{"props", "prints"}, {"class", "values", "fails", "missing", "after", "stderr"}})) {
        SCOPED_TRACE(test);
        FaultPlan plan;
        plan.call = test.get("fails", "none");
        const std::string className = test.get("class", "IIsWebServer");
        const std::string before = metabaseWith(className, test.get("values", ""));
        const std::string file = backupFile("", test["props"]);
        const ServerRun dry = restore(before, file, {"-n", "-debug", "5"}, plan);
        std::istringstream lines(dry.out);
        std::string printed;
        for (std::string line; std::getline(lines, line);) {
            const bool isMissing = contains(line, "\" is not in backup");
            if (!isMissing || test.has("missing")) printed.append(line).append("\n");
        }
        EXPECT_EQ(printed, test["prints"]);
        EXPECT_EQ(dry.err, test.get("stderr", ""));
        EXPECT_EQ(dry.metabase, before);
        const ServerRun real = restore(before, file, {}, plan);
        EXPECT_EQ(real.out, dry.out);
        const std::string after = test.has("after") ? metabaseWith(className, test["after"]) : real.metabase;
        EXPECT_EQ(real.metabase, after);
        EXPECT_EQ(dry.exitCode + real.exitCode, 0);
    }
}

// Long maps in another order are paired through an index.
TEST(RestoreProperties, ofLongMapsArePairedEntryByEntry) {
    std::string live;
    std::string same;
    std::string other;
    for (int i = 0; i < 200; ++i) {
        const std::string name = std::to_string(i % 150);
        live.append(i == 0 ? "\"" : ", \"").append(name).append("\" \"t\"");
        const std::string element = "<mimetype extension=\"" + name + "\" type=\"t\"/>";
        same.insert(0, element);
        // One of the pairs that come twice is there once only, another one three times.
        other.insert(0, i == 160 ? "<mimetype extension=\"11\" type=\"t\"/>" : element);
    }
    const std::pair<std::string, const char*> cases[] = {
        {same, ""}, {other, "MimeMap: Mime Type 10 --> t not in backup.\n"}};
    for (const auto& [entries, printed] : cases) {
        const std::string file = backupFile("", "<prop name=\"MimeMap\">" + entries + "</prop>");
        const std::string server = metabaseWith("IIsWebServer", "  MimeMap mime(" + live + ")\n");
        EXPECT_EQ(restore(server, file, {"-n", "-debug", "5"}).err, printed);
    }
}

TEST(RestoreProperties, thatCannotBeParsedEndTheRun) {
    const std::string before = metabaseWith("IIsWebServer");
    for (const TableCase& test :
         readTable("unparsable-props.txt", {{"props", "prints"}, {"status", "text"}})) {
        SCOPED_TRACE(test);
        const ServerRun run = restore(before, backupFile("", test["props"]));
        EXPECT_EQ(folded(run, test.get("status", "80004005")), (Outcome{2, test["prints"], ""}));
        for (const ErrorLine& line : errorChain(run.out).lines)
            EXPECT_EQ(line.text, test.get("text", line.text));
        EXPECT_EQ(run.metabase, before);
    }
}

TEST(Restore, ofTheDeepestTreeNeedsLittleStack) {
    const std::string deepest = metabaseWith(deepestTree());
    std::string children;
    for (int level = 2; level <= 256; ++level) children = objElement("d", "IIsWebDirectory", children);
    // A sanitizer's frames are several times as large.
    const std::string limited =
        isSanitized ? R"(ulimit -s 6144; exec "$0" "$@")" : R"(ulimit -s 1024; exec "$0" "$@")";
    const Server server(metabaseWith("IIsWebDirectory"), backupFile(children));
    EXPECT_EQ(runProgram(server, {"-restore", "-file", "f"}, limited).exitCode, 0);
    EXPECT_EQ(server.metabase(), deepest);
    EXPECT_EQ(runProgram(server, {"-backup", "-file", "f"}, limited).exitCode, 0);
    // One level more can't be created.
    const ServerRun deeper = restore(deepest, backupFile(objElement("d", "IIsWebDirectory", children)));
    EXPECT_TRUE(contains(deeper.out, ": the tree has more than 256 levels)")) << deeper;
    EXPECT_EQ(deeper.metabase, deepest);
}

TEST(Restore, refusesALiveTreeThatChangesUnderIt) {
    const std::string before = metabaseWith("IIsComputer A:IIsWebFile B:IIsWebFile");
    for (const int enumeration : {1, 2}) {
        SCOPED_TRACE(enumeration);
        const ServerRun run = restore(before, backupFile(objElement("N", "IIsWebFile")), {},
                                      {.withoutFirstChild = enumeration});
        const std::string text = "The live children changed while they were read; run the restore again";
        EXPECT_EQ(folded(run, "8000FFFF"), (Outcome{2, "{restoreObj}" + text + "{restore}{restore}", ""}));
        EXPECT_EQ(run.metabase, before);
    }
}

} // namespace
