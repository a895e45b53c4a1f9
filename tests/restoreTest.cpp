// A whole restore: the files that it accepts, and failures.

#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/tables.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

/// Expects that a restore and a dry run of the file print these texts, and change nothing.
void expectNoChange(const std::string& file, const std::string& out, const std::string& err, int exitCode) {
    const std::string before = metabaseWith("IIsComputer A:IIsWebFile");
    const Arguments ignored = {"-root", "IIS://nowhere", "-noinherit", "-force"};
    for (const Arguments& options : {Arguments{}, Arguments{"-n"}, ignored}) {
        const Restored run = restore(before, file, options);
        EXPECT_EQ(folded(run.out), out);
        EXPECT_EQ(run.err, err);
        EXPECT_EQ(run.exitCode, exitCode);
        EXPECT_EQ(run.metabase, before);
    }
}

TEST(RestoreFiles, ofOtherFormsAreReadTheSameAndNoOthers) {
    for (const TableCase& test : Table("backup-forms.txt", {{"file", "prints"}, {"stderr", "exit"}})) {
        SCOPED_TRACE(test);
        expectNoChange(test["file"], test["prints"], test.get("stderr", ""), test.number("exit", "2"));
    }
}

TEST(RestoreFiles, withAStartTagTooLongForTheMessageAreRefused) {
    const std::string tag = "<obj path=\"IIS://localhost\"";
    for (const std::size_t length : {8190U, 8191U}) {
        const std::string whole = tag + " a=\"" + std::string(length - tag.size() - 5, 'x') + "\"";
        expectNoChange("<x version=\"1\">" + whole + " b=\"\"><children/></obj></x>",
                       "Node " + (length == 8190 ? whole : tag) +
                           "> must have exactly one \"props\" child node; it has has 0\n" +
                           "{80004005 restore}{80004005 restore}",
                       "", 2);
    }
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
    std::string objects = "IIsWebDirectory";
    std::string children;
    std::string path;
    for (int level = 2; level <= 256; ++level) {
        objects.append(" ").append(path.append(level > 2 ? "/d" : "d")).append(":IIsWebDirectory");
        children = objElement("d", "IIsWebDirectory", children);
    }
    // A sanitizer's frames are several times as large.
    const std::string limited =
        isSanitized ? R"(ulimit -s 6144; exec "$0" "$@")" : R"(ulimit -s 1024; exec "$0" "$@")";
    folder.write("metabase.txt", metabaseWith("IIsWebDirectory"));
    folder.write("f", backupFile(children));
    EXPECT_EQ(runProgram(folder, {"-restore", "-file", "f"}, limited).exitCode, 0);
    EXPECT_EQ(folder.read("metabase.txt"), metabaseWith(objects));
    EXPECT_EQ(runProgram(folder, {"-backup", "-file", "f"}, limited).exitCode, 0);
    // One level more can't be created.
    const Restored deeper =
        restore(metabaseWith(objects), backupFile(objElement("d", "IIsWebDirectory", children)));
    EXPECT_NE(deeper.out.find("Error 0x80005000"), std::string::npos) << deeper;
    EXPECT_EQ(deeper.metabase, metabaseWith(objects));
}

TEST(Restore, refusesALiveTreeThatChangesUnderIt) {
    const std::string before = metabaseWith("IIsComputer A:IIsWebFile B:IIsWebFile");
    for (const int enumeration : {1, 2}) {
        SCOPED_TRACE(enumeration);
        const Restored run = restore(before, backupFile(objElement("N", "IIsWebFile")), {},
                                     {.withoutFirstChild = enumeration});
        EXPECT_EQ(folded(run.out, "8000FFFF"), "{restoreObj}{restore}{restore}");
        EXPECT_EQ(run.metabase, before);
    }
}

} // namespace
