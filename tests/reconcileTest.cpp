// A live tree against a file: the cases of objects and of properties.

#include "tests/restoreSupport.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(RestoreObjects, followTheRulesOfTheirClasses) {
    for (TestCase test : testCases("objects.txt")) {
        const std::string before = live(test["live"]);
        const bool sameWhenDry = !test.contains("dry");
        const int exitCode = test.contains("exit") ? 2 : 0;
        const Restored dry = restore(before, file(test["file"]), {"-n"});
        EXPECT_EQ(folded(dry.out), sameWhenDry ? test["says"] : test["dry"]) << test["live"];
        EXPECT_EQ(dry.metabase, before);
        EXPECT_EQ(dry.exitCode, sameWhenDry ? exitCode : 0) << test["live"];
        const Restored real = restore(before, file(test["file"]));
        EXPECT_EQ(folded(real.out), test["says"]) << test["live"];
        EXPECT_EQ(real.err, "");
        EXPECT_EQ(real.exitCode, exitCode) << test["live"];
        EXPECT_EQ(real.metabase, live(test["left"])) << test["live"];
    }
}

TEST(RestoreObjects, warnOfChildrenBelowALeaf) {
    const std::string warning =
        "WARNING: object \"IIS://localhost/A\" can't have children, but the backup file says it does "
        "have them.\n";
    const std::string inside = file(element("A", "IIsWebFile", element("B", "IIsWebFile")));
    EXPECT_EQ(restore(live("IIsComputer A:IIsWebFile"), inside).err, warning);
    EXPECT_EQ(restore(live("IIsComputer A:IIsWebFile"), inside, {"-debug", "-1"}).err, "");
    EXPECT_EQ(restore(live("IIsComputer A:IIsWebFile"), file(element("A", "IIsWebFile"))).err, "");
}

TEST(RestoreProperties, thatDifferAreWrittenAndNoOthers) {
    const std::string before = live("IIsWebServer");
    const Restored dry = restore(before, file("", allProps), {"-n"});
    EXPECT_EQ(dry.out, allLines);
    EXPECT_EQ(dry.metabase, before);
    const Restored real = restore(before, file("", allProps));
    EXPECT_EQ(real.out, allLines);
    EXPECT_EQ(real.err, "");
    EXPECT_EQ(
        real.metabase,
        live(
            "IIsWebServer",
            "  Title \"new\"\n  Ports [1, \"two\"]\n  MimeMap mime(\".b\" \"b\", \".a\" \"a\")\n  IPSecurity "
            "ipsec(GrantByDefault false, IPGrant [\"9\"], IPDeny [], DomainGrant [], DomainDeny [])\n"));
    const Restored again = restore(real.metabase, file("", allProps), {"-debug", "5"});
    EXPECT_EQ(again.out, "");
    EXPECT_EQ(again.err,
              "Skipping ReadOnly property \"KeyType\"\nSkipping ignored property \"ServerState\"\nSkipping "
              "unsupported property \"AdminACL\"\nSkipping unsupported property \"RelayIpList\"\n");
}

TEST(RestoreProperties, areComparedByTheirOwnRules) {
    for (TestCase test : testCases("properties.txt")) {
        Faults faults;
        faults.call = test["fails"];
        const std::string before =
            live(test.contains("live") ? test["live"] : "IIsWebServer", test["values"]);
        const Restored run = restore(before, file("", test["props"]), {"-n", "-debug", "5"}, faults);
        std::istringstream lines(run.out);
        std::string said;
        for (std::string line; std::getline(lines, line);) {
            const bool missing = line.find("\" is not in backup") != std::string::npos;
            if (!missing || test.contains("all")) said.append(line).append("\n");
        }
        EXPECT_EQ(said, test["says"]) << test["props"];
        EXPECT_EQ(run.err, test["stderr"]) << test["props"];
        EXPECT_EQ(run.exitCode, 0);
    }
}

TEST(RestoreProperties, areNotClearedWhereTheFileLacksThem) {
    const std::string before = live("IIsComputer S:IIsWebServer", "  Title \"up\"\n");
    const Restored run = restore(before, file(element("S", "IIsWebServer")));
    EXPECT_NE(run.out.find("property \"Title\" is not in backup for object \"IIS://localhost/S\"\n"),
              std::string::npos);
    EXPECT_EQ(run.metabase, before);
}

TEST(RestoreProperties, ofANameThatTheClassListsTwiceArePairedOneByOne) {
    const std::string before =
        "metabase 1\n\nproperty X i4 single local 1\n\nclass IIsComputer container nodeleteops (X) "
        "(X)\n\nobject \"localhost\" IIsComputer\n";
    const std::string one = "<prop name=\"X\" type=\"3\">1</prop>";
    EXPECT_EQ(restore(before, file("", one + one)).out, "");
    EXPECT_EQ(restore(before, file("", one)).out,
              "WARNING - property \"X\" is not in backup for object \"IIS://localhost\"\n");
}

TEST(RestoreProperties, thatCannotBeParsedEndTheRun) {
    const std::string before = live("IIsWebServer");
    for (TestCase test : testCases("unparsable-props.txt")) {
        const Restored run = restore(before, file("", test["props"]));
        EXPECT_EQ(folded(run.out, test["status"]), test["says"]) << test["props"];
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.metabase, before);
    }
}

} // namespace
