// What a backup writes, byte for byte, and what it prints and leaves when something fails.

#include "automation/safearray.h"
#include "tests/support/errorLines.h"
#include "tests/support/faults.h"
#include "tests/support/processes.h"
#include "tests/support/tables.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

const std::string exampleMetabase = testData("example-metabase.txt");
const std::string exampleBackup = testData("example-backup.xml");

/// A metabase of one object with one property X of the given value.
std::string oneValue(const std::string& value) {
    return "metabase 1\nproperty X string single local " + value +
           "\nclass IIsComputer container nodeleteops () (X)\nobject \"localhost\" IIsComputer\n";
}

struct Backup : Outcome {
    std::string file;
};

Backup backUpWith(const FaultPlan& plan, const Arguments& options = {}) {
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    Arguments arguments = {"-backup", "-file", "f"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const FaultInjection injection(plan);
    const Outcome run = runHere(folder, arguments);
    EXPECT_EQ(run.out, "");
    return {run, folder.read("f")};
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
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    folder.write("f.xml", std::string(100000, 'x'));
    const Outcome run = runProgram(folder, {"-backup", "-file", "f.xml"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(folder.read("f.xml"), exampleBackup);
    EXPECT_EQ(folder.read("metabase.txt"), exampleMetabase);
}

TEST(Backup, leavesInheritedPropertiesOutWhenAsked) {
    // A value that isn't read can't fail the run.
    const Backup run = backUpWith(retyped("IPSecurity", VT_EMPTY), {"-noinherit", "-debug", "6"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err,
              "Ignoring inherited property \"ExampleNumber\"\nIgnoring inherited property \"ExampleList\"\n"
              "Ignoring inherited property \"IPSecurity\"\n");
    EXPECT_EQ(run.file.find("inherited"), std::string::npos);
}

TEST(Backup, writesEveryTypeOfValue) {
    for (const TableCase& test : Table("value-lines.txt", {{"value", "line"}})) {
        const Folder folder;
        folder.write("metabase.txt", oneValue(test["value"]));
        EXPECT_EQ(runHere(folder, {"-backup", "-file", "f"}).exitCode, 0) << test;
        const std::string backup = folder.read("f");
        EXPECT_NE(backup.find("<props>\n      " + test["line"] + "\n    </props>"), std::string::npos)
            << test << "\n"
            << backup;
    }
}

TEST(Backup, stopsAtAPropertyOfAnotherType) {
    for (const TableCase& test :
         Table("retyped-properties.txt", {{"read", "as", "status", "prints", "fileEnd"}})) {
        SCOPED_TRACE(test);
        const Backup run = backUpWith(retyped(test["read"], static_cast<VARTYPE>(test.number("as"))));
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(folded(run.err, test["status"]), test["prints"]);
        EXPECT_TRUE(run.file.ends_with(test["fileEnd"])) << run.file;
    }
}

TEST(Backup, passesOverAnswersThatAreNoFailureUnlessTheyNeverEnd) {
    FaultPlan patient;
    patient.emptyAnswers = 999;
    EXPECT_EQ(backUpWith(patient).file, exampleBackup);
    patient.lastWithEnd = true;
    EXPECT_EQ(backUpWith(patient).file, exampleBackup);
    // A null string isn't an empty one.
    const std::string nullText = backUpWith(retyped("ExampleEmpty", VT_BSTR)).file;
    EXPECT_NE(nullText.find("name=\"ExampleEmpty\" type=\"8\">&lt;unsupported/&gt;<"), std::string::npos);
    patient.emptyAnswers = 1000;
    const Backup endless = backUpWith(patient);
    EXPECT_EQ(endless.exitCode, 2);
    EXPECT_EQ(folded(endless.err, "8000FFFF"), "{backup}{backup}{backup}");
}

TEST(Backup, namesTheFileThatCannotBeOpened) {
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    const std::pair<const char*, const char*> cases[] = {
        {"no/f", "Can't open output file \"no/f\": No such file or directory\n"},
        {".", "Can't open output file \".\": Is a directory\n"},
        {"metabase.txt", "Can't open output file \"metabase.txt\": Device or resource busy\n"},
        {"./metabase.txt", "Can't open output file \"./metabase.txt\": Device or resource busy\n"}};
    for (const auto& [name, message] : cases) {
        const Outcome run = runProgram(folder, {"-backup", "-file", name});
        EXPECT_EQ(run.exitCode, 2) << name;
        EXPECT_EQ(run.err, message);
        EXPECT_EQ(folder.read("metabase.txt"), exampleMetabase) << name;
    }
    const Folder empty;
    EXPECT_EQ(runProgram(empty, {"-backup", "-file", "metabase.txt"}).exitCode, 2);
    EXPECT_EQ(empty.read("metabase.txt"), Folder::noFile);
    const Outcome none = runProgram(empty, {"-backup", "-file", "f"});
    const std::string reason = "Error 0x80070002 (There is no metabase.txt in the working directory.) at ";
    EXPECT_TRUE(none.err.starts_with(reason)) << none;
}

TEST(Backup, reportsARootThatDoesNotExist) {
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    const std::pair<const char*, const char*> cases[] = {
        {"IIS://localhost/No", "80005004"}, {"IIS://Localhost", "80005004"}, {"iis://localhost", "800401E4"},
        {"IIS://localhost/", "80005004"},   {"IIS://", "80005004"},          {"x", "800401E4"}};
    for (const auto& [root, status] : cases) {
        const Outcome run = runProgram(folder, {"-backup", "-file", "f", "-root", root});
        EXPECT_EQ(run.exitCode, 2) << root;
        EXPECT_EQ(folded(run.err, status), "{backup}Connecting to IIS via ADSI{backup}") << root;
        EXPECT_EQ(folder.read("f"), "<?xml version=\"1.0\" ?>\n<metabase version=\"1.0.0\">\n") << root;
    }
}

} // namespace
