// What a backup writes, byte for byte, and what it prints and leaves when something fails.

#include "automation/safearray.h"
#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/tables.h"

#include <gtest/gtest.h>

namespace {

const std::string exampleMetabase = testData("example-metabase.txt");
const std::string exampleBackup = testData("example-backup.xml");

/// A metabase of one object with one property X of the given value.
std::string oneValue(const std::string& value) {
    return "metabase 1\nproperty X string single local " + value +
           "\nclass IIsComputer container nodeleteops () (X)\nobject \"localhost\" IIsComputer\n";
}

/// A property is read as another type: without data, or as an array of two dimensions.
FaultPlan retyped(const std::string& property, VARTYPE type) {
    FaultPlan plan;
    plan.onRead = [=](const std::u16string& name, VARIANT& value) {
        if (name != std::u16string(property.begin(), property.end())) return;
        (void)VariantClear(&value);
        value.vt = type;
        const SAFEARRAYBOUND bounds[] = {{1, 0}, {2, 5}};
        if ((type & VT_ARRAY) != 0) value.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
    };
    return plan;
}

TEST(Backup, writesTheExampleByteForByte) {
    const Server server(exampleMetabase, std::string(100000, 'x'));
    EXPECT_EQ(runProgram(server, {"-backup", "-file", "f"}), Outcome());
    EXPECT_EQ(server.read("f"), exampleBackup);
    EXPECT_EQ(server.metabase(), exampleMetabase);
}

TEST(Backup, leavesInheritedPropertiesOutWhenAsked) {
    // A value that isn't read can't fail the run.
    const ServerRun run =
        backUp(exampleMetabase, {"-noinherit", "-debug", "6"}, retyped("IPSecurity", VT_EMPTY));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err,
              "Ignoring inherited property \"ExampleNumber\"\nIgnoring inherited property \"ExampleList\"\n"
              "Ignoring inherited property \"IPSecurity\"\n");
    EXPECT_FALSE(contains(run.made, "inherited"));
}

TEST(Backup, writesEveryTypeOfValue) {
    for (const TableCase& test : readTable("value-lines.txt", {{"value", "line"}})) {
        const std::string made = backUp(oneValue(test["value"])).made;
        EXPECT_TRUE(contains(made, "<props>\n      " + test["line"] + "\n    </props>")) << test << "\n"
                                                                                         << made;
    }
    const std::string longText(10'000, 'x');
    EXPECT_TRUE(contains(backUp(oneValue('"' + longText + '"')).made, '>' + longText + '<'));
}

TEST(Backup, stopsAtAPropertyOfAnotherType) {
    for (const TableCase& test :
         readTable("retyped-properties.txt", {{"read", "as", "status", "prints", "fileEnd"}})) {
        SCOPED_TRACE(test);
        const ServerRun run =
            backUp(exampleMetabase, {}, retyped(test["read"], static_cast<VARTYPE>(test.number("as"))));
        EXPECT_EQ(folded(run, test["status"]), (Outcome{2, "", test["prints"]}));
        EXPECT_TRUE(run.made.ends_with(test["fileEnd"])) << run.made;
    }
}

TEST(Backup, passesOverAnswersThatAreNoFailureUnlessTheyNeverEnd) {
    FaultPlan patient;
    patient.emptyAnswers = 999;
    EXPECT_EQ(backUp(exampleMetabase, {}, patient).made, exampleBackup);
    patient.lastWithEnd = true;
    EXPECT_EQ(backUp(exampleMetabase, {}, patient).made, exampleBackup);
    // A null string isn't an empty one.
    const std::string nullText = backUp(exampleMetabase, {}, retyped("ExampleEmpty", VT_BSTR)).made;
    EXPECT_TRUE(contains(nullText, "name=\"ExampleEmpty\" type=\"8\">&lt;unsupported/&gt;<"));
    patient.emptyAnswers = 1000;
    EXPECT_EQ(folded(backUp(exampleMetabase, {}, patient), "8000FFFF"),
              (Outcome{2, "", "{backup}{backup}{backup}"}));
}

TEST(Backup, namesTheFileThatCannotBeOpened) {
    const Server server(exampleMetabase);
    const std::pair<const char*, const char*> cases[] = {
        {"no/f", "Can't open output file \"no/f\": No such file or directory\n"},
        {".", "Can't open output file \".\": Is a directory\n"},
        {"metabase.txt", "Can't open output file \"metabase.txt\": Device or resource busy\n"},
        {"./metabase.txt", "Can't open output file \"./metabase.txt\": Device or resource busy\n"}};
    for (const auto& [name, message] : cases) {
        EXPECT_EQ(runProgram(server, {"-backup", "-file", name}), (Outcome{2, "", message})) << name;
        EXPECT_EQ(server.metabase(), exampleMetabase) << name;
    }
    const Folder empty;
    EXPECT_EQ(runProgram(empty, {"-backup", "-file", "metabase.txt"}).exitCode, 2);
    EXPECT_EQ(empty.read("metabase.txt"), Folder::noFile);
    const Outcome none = runProgram(empty, {"-backup", "-file", "f"});
    const std::string reason = "Error 0x80070002 (There is no metabase.txt in the working directory.) at ";
    EXPECT_TRUE(none.err.starts_with(reason)) << none;
}

TEST(Backup, reportsARootThatDoesNotExist) {
    const std::pair<const char*, const char*> cases[] = {
        {"IIS://localhost/No", "80005004"}, {"IIS://Localhost", "80005004"}, {"iis://localhost", "800401E4"},
        {"IIS://localhost/", "80005004"},   {"IIS://", "80005004"},          {"x", "800401E4"}};
    for (const auto& [root, status] : cases) {
        const ServerRun run = backUp(exampleMetabase, {"-root", root});
        EXPECT_EQ(folded(run, status), (Outcome{2, "", "{backup}Connecting to IIS via ADSI{backup}"}))
            << root;
        EXPECT_EQ(run.made, "<?xml version=\"1.0\" ?>\n<metabase version=\"1.0.0\">\n") << root;
    }
}

} // namespace
