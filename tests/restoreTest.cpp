// A whole restore: the files that it takes, every failure, and the way there and back.

#include "tests/restoreSupport.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

TEST(RestoreFiles, thatAreNoBackupChangeNothing) {
    const std::string before = live("IIsComputer A:IIsWebFile");
    std::vector<TestCase> cases = testCases("no-backups.txt");
    const std::string attribute = "<obj path=\"IIS://localhost\" a=\"" + std::string(8100, 'x') + "\"";
    cases.push_back(
        {{"file", "<x version=\"1\">" + attribute + " b=\"" + std::string(200, 'y') +
                      "\" c=\"z\"><children/></obj></x>"},
         {"says", "Node " + attribute + "> must have exactly one \"props\" child node; it has has 0\n" +
                      "{80004005 restore}{80004005 restore}"}});
    for (TestCase& test : cases) {
        for (const std::vector<std::string>& options : {std::vector<std::string>{}, {"-n"}}) {
            const Restored run = restore(before, test["file"], options);
            EXPECT_EQ(folded(run.out), test["says"]) << test["file"].substr(0, 100);
            EXPECT_EQ(run.err, test["stderr"]);
            EXPECT_EQ(run.exitCode, 2);
            EXPECT_EQ(run.metabase, before);
        }
    }
}

TEST(RestoreFiles, ofOtherFormsAreReadTheSame) {
    const std::string forms[] = {"<any version=\"1.9\" x=\"y\"><obj name=\"?\" path=\"IIS://localhost\" "
                                 "class=\"?\"><children/><props/></obj></any>",
                                 "<?xml version=\"1.0\" ?>\r\n<metabase version='10'>\r\n<obj "
                                 "path=\"IIS://localhost\">\r\n <children>\r\n </children>\r\n "
                                 "<props></props></obj></metabase>\r\n",
                                 file("")};
    for (const std::string& form : forms) {
        const Restored run =
            restore(live("IIsComputer"), form, {"-root", "IIS://nowhere", "-noinherit", "-force"});
        EXPECT_EQ(run.out + run.err, "");
        EXPECT_EQ(run.exitCode, 0);
    }
    const Restored twice = restore(
        live("IIsComputer"), "<m version=\"1\"><obj path=\"IIS://localhost\"><props/><props><a/></props>"
                             "<children/></obj></m>");
    EXPECT_EQ(
        twice.out,
        "Node <obj path=\"IIS://localhost\"> must have exactly one \"props\" child node; it has has 2\n");
    EXPECT_EQ(twice.exitCode, 0);
}

TEST(RestoreFiles, thatCannotBeReadAreNamed) {
    const Folder folder;
    folder.write("metabase.txt", live("IIsComputer"));
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
        EXPECT_EQ(run.exitCode, 2);
    }
}

TEST(Restore, stopsAtTheFirstFailureAndTellsIt) {
    const std::string before = live("IIsWebServer D:IIsWebDirectory D/E:IIsWebFile");
    for (TestCase test : testCases("restore-faults.txt")) {
        Faults faults;
        faults.call = test["call"];
        faults.number = test.contains("number") ? std::stoi(test["number"]) : 1;
        const Restored run = restore(before, file(element("N", "IIsWebFile"), allProps), {}, faults);
        EXPECT_EQ(folded(run.out + run.err), test["says"]) << test["call"] << test["number"];
        EXPECT_EQ(run.exitCode, 2) << test["call"] << test["number"];
    }
}

TEST(Restore, ofTheDeepestTreeNeedsLittleStack) {
    const Folder folder;
    std::string objects = "IIsWebDirectory";
    std::string path;
    for (int level = 2; level <= 256; ++level)
        objects.append(" ").append(path.append(level > 2 ? "/d" : "d")).append(":IIsWebDirectory");
    const auto run = [&](const char* mode) {
        const Outcome outcome = runTool(folder, {mode, "-file", "f"}, [] {
            // A sanitizer's frames are several times as large.
            const rlim_t size = (isSanitized ? 6 : 1) << 20;
            const rlimit stack{size, size};
            ::setrlimit(RLIMIT_STACK, &stack);
        });
        EXPECT_EQ(outcome.exitCode, 0);
    };
    folder.write("metabase.txt", live(objects));
    run("-backup");
    folder.write("metabase.txt", live("IIsWebDirectory"));
    run("-restore");
    EXPECT_EQ(folder.read("metabase.txt"), live(objects));
}

TEST(Restore, refusesALiveTreeThatChangesUnderIt) {
    const std::string before = live("IIsComputer A:IIsWebFile B:IIsWebFile");
    for (const int enumeration : {1, 2}) {
        Faults faults;
        faults.poorEnumeration = enumeration;
        const Restored run = restore(before, file(element("N", "IIsWebFile")), {}, faults);
        EXPECT_EQ(folded(run.out, "8000FFFF"), "{restoreObj}{restore}{restore}");
        EXPECT_EQ(run.metabase, before);
    }
}

} // namespace
