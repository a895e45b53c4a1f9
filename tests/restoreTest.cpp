// A whole restore: the files that it accepts, and failures.

#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/tables.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

/// Expects that a restore and a dry run of the file fail, print these texts, and change nothing.
void expectRefused(const std::string& file, const std::string& out, const std::string& err) {
    const std::string before = metabaseWith("IIsComputer A:IIsWebFile");
    for (const Arguments& options : {Arguments{}, Arguments{"-n"}}) {
        const Restored run = restore(before, file, options);
        EXPECT_EQ(folded(run.out), out);
        EXPECT_EQ(run.err, err);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.metabase, before);
    }
}

TEST(RestoreFiles, thatAreNoBackupChangeNothing) {
    for (const TableCase& test : Table("no-backups.txt", {{"file", "prints"}, {"stderr"}})) {
        SCOPED_TRACE(test);
        expectRefused(test["file"], test["prints"], test.get("stderr", ""));
    }
}

TEST(RestoreFiles, withAStartTagTooLongForTheMessageAreRefused) {
    const std::string tag = "<obj path=\"IIS://localhost\" a=\"" + std::string(8100, 'x') + "\"";
    expectRefused("<x version=\"1\">" + tag + " b=\"" + std::string(200, 'y') +
                      "\" c=\"z\"><children/></obj></x>",
                  "Node " + tag + "> must have exactly one \"props\" child node; it has has 0\n" +
                      "{80004005 restore}{80004005 restore}",
                  "");
}

TEST(RestoreFiles, ofOtherFormsAreReadTheSame) {
    const std::string forms[] = {"<any version=\"1.9\" x=\"y\"><obj name=\"?\" path=\"IIS://localhost\" "
                                 "class=\"?\"><children/><props/></obj></any>",
                                 "<?xml version=\"1.0\" ?>\r\n<metabase version='10'>\r\n<obj "
                                 "path=\"IIS://localhost\">\r\n <children>\r\n </children>\r\n "
                                 "<props></props></obj></metabase>\r\n",
                                 backupFile("")};
    for (const std::string& form : forms) {
        const Restored run =
            restore(metabaseWith("IIsComputer"), form, {"-root", "IIS://nowhere", "-noinherit", "-force"});
        EXPECT_EQ(run.out + run.err, "") << form;
        EXPECT_EQ(run.exitCode, 0) << form;
    }
    const Restored twice =
        restore(metabaseWith("IIsComputer"),
                "<m version=\"1\"><obj path=\"IIS://localhost\"><props/><props><a/></props>"
                "<children/></obj></m>");
    EXPECT_EQ(
        twice.out,
        "Node <obj path=\"IIS://localhost\"> must have exactly one \"props\" child node; it has has 2\n");
    EXPECT_EQ(twice.exitCode, 0);
}

TEST(RestoreFiles, thatCannotBeReadAreNamed) {
    const Folder folder;
    folder.write("metabase.txt", metabaseWith("IIsComputer"));
    std::filesystem::create_directory(folder.path("folder"));
    folder.write("large", "");
    std::filesystem::resize_file(folder.path("large"), std::uintmax_t{1} << 31);
    const std::pair<const char*, const char*> cases[] = {
        {"none", "Unexpected error opening: \"none\": No such file or directory"},
        {"folder", "Unexpected error opening: \"folder\": Is a directory"},
        {"large", "Read 0 bytes from \"large\", expected to read 2147483648"}};
    for (const auto& [name, message] : cases) {
        const Outcome run = runProgram(folder, {"-restore", "-file", name});
        EXPECT_EQ(folded(run.out, "8000FFFF"), std::string("{xmlUtils}") + message + "{restore}");
        EXPECT_EQ(run.exitCode, 2) << name;
    }
}

TEST(Restore, ofTheDeepestTreeNeedsLittleStack) {
    const Folder folder;
    const std::string objects = deepestTree();
    const auto run = [&](const char* mode) {
        const Outcome outcome = runTool(folder, {mode, "-file", "f"}, [] {
            // A sanitizer's frames are several times as large.
            const rlim_t size = (isSanitized ? 6 : 1) << 20;
            const rlimit stack{size, size};
            ::setrlimit(RLIMIT_STACK, &stack);
        });
        EXPECT_EQ(outcome.exitCode, 0);
    };
    folder.write("metabase.txt", metabaseWith(objects));
    run("-backup");
    folder.write("metabase.txt", metabaseWith("IIsWebDirectory"));
    run("-restore");
    EXPECT_EQ(folder.read("metabase.txt"), metabaseWith(objects));
}

TEST(Restore, refusesALiveTreeThatChangesUnderIt) {
    const std::string before = metabaseWith("IIsComputer A:IIsWebFile B:IIsWebFile");
    for (const int enumeration : {1, 2}) {
        SCOPED_TRACE(enumeration);
        FaultPlan plan;
        plan.withoutFirstChild = enumeration;
        const Restored run = restore(before, backupFile(objElement("N", "IIsWebFile")), {}, plan);
        EXPECT_EQ(folded(run.out, "8000FFFF"), "{restoreObj}{restore}{restore}");
        EXPECT_EQ(run.metabase, before);
    }
}

} // namespace
