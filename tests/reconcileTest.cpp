// A live tree against a file: the cases of objects and of properties.

#include "tests/restoreSupport.h"

#include <gtest/gtest.h>

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

TEST(RestoreProperties, ofTheTwoObjectsAreComparedPartByPart) {
    const std::string values = "  MimeMap mime(\".a\" \"a\", \".a\" \"a\", \".b\" \"b\")\n";
    const auto entry = [](const std::string& attributes) { return "<mimetype " + attributes + "/>"; };
    const std::string a = entry("extension=\".a\" type=\"a\"");
    const std::string b = entry("extension=\".b\" type=\"b\"");
    const auto withMap = [](const std::string& inside) {
        return file("", "<prop name=\"MimeMap\">" + inside + "</prop>");
    };
    const std::pair<std::string, std::string> maps[] = {
        {a + b + a, ""},
        {b + a + a, ""},
        {a + b, "none"},
        {a + b + b, ".a --> a"},
        {a + a + entry("extension=\".B\" type=\"b\""), ".b --> b"},
        {a + a + entry("extension=\".b\""), ".b --> b"}};
    for (const auto& [inside, said] : maps) {
        const Restored run = restore(live("IIsWebServer", values), withMap(inside), {"-n", "-debug", "5"});
        EXPECT_EQ(run.out.find("MimeMap property to <array>") != std::string::npos, !said.empty()) << inside;
        const bool named = said.find("-->") != std::string::npos;
        EXPECT_EQ(run.err, named ? "MimeMap: Mime Type " + said + " not in backup.\n" : "") << inside;
        EXPECT_EQ(restore(live("IIsWebServer", values), withMap(inside), {"-n"}).err, "");
    }
    const std::string rules[] = {
        R"(<prop name="GrantByDefault" type="8">true</prop><proplist name="IPGrant"/>)"
        R"(<proplist name="IPDeny"><prop type="8">1</prop><prop type="8">2</prop></proplist>)",
        R"(<prop name="GrantByDefault" type="8">true</prop><proplist name="IPGrant"/>)"
        R"(<proplist name="IPDeny"><prop type="8">2</prop><prop type="8">1</prop></proplist>)",
        R"(<prop name="GrantByDefault" type="3">0</prop><proplist name="IPGrant"/>)"
        R"(<proplist name="IPDeny"><prop type="8">1</prop><prop type="8">2</prop></proplist>)"};
    for (const std::string& inside : rules) {
        const Restored run = restore(live("IIsWebServer"),
                                     file("", "<prop name=\"IPSecurity\"><proplist name=\"DomainDeny\"/>" +
                                                  inside + "<proplist name=\"DomainGrant\"/></prop>"),
                                     {"-n"});
        EXPECT_EQ(run.out.find("IPSecurity property to <array>") != std::string::npos, &inside != &rules[0])
            << inside;
    }
}

TEST(RestoreProperties, onOneSideOnlyAreWarnedAbout) {
    const auto notInSchema = [](const std::string& name) {
        return "WARNING - property \"" + name +
               "\" listed in backup but not in schema for object \"IIS://localhost\"\n";
    };
    const auto notInBackup = [](const std::string& name) {
        return "WARNING - property \"" + name + "\" is not in backup for object \"IIS://localhost\"\n";
    };
    const std::string props = R"(<prop name="title" type="zzz"/><prop name="Title" type="8">none</prop><prop/>
<prop name="Title" type="8">second</prop><prop name="AdminACL"/><thing name="MimeMap"/>)";
    Faults noPath;
    noPath.call = "IADs::get_ADsPath";
    const Restored run = restore(live("IIsWebServer"), file("", props));
    EXPECT_EQ(run.out, notInSchema("title") + notInSchema("") + notInSchema("Title") +
                           notInBackup("KeyType") + notInBackup("Ports") + notInBackup("ServerState") +
                           notInBackup("RelayIpList") + notInBackup("IPSecurity"));
    EXPECT_EQ(run.exitCode, 0);
    const Restored pathless =
        restore(live("IIsComputer"), file("", "<p name=\"a\"/><p name=\"b\"/>"), {}, noPath);
    EXPECT_EQ(pathless.out, "WARNING - property \"a\" listed in backup but not in schema for object "
                            "\"<unknown name: get_ADsPath failed>\"\n"
                            "WARNING - property \"b\" listed in backup but not in schema for object "
                            "\"<unknown name: get_ADsPath failed>\"\n");
    const Restored leftOut =
        restore(live("IIsComputer", "  Title \"up\"\n") + "object \"localhost/S\" IIsWebServer\n",
                file(element("S", "IIsWebServer")));
    EXPECT_NE(
        leftOut.out.find("WARNING - property \"Title\" is not in backup for object \"IIS://localhost/S\"\n"),
        std::string::npos);
    EXPECT_EQ(leftOut.metabase.find("  Title \"none\""), std::string::npos);
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
    const Restored odd =
        restore(live("IIsWebServer"),
                file("", std::string("<prop name=\"Title\" type=\"8x\" inherited=\"True\">t</prop>") +
                             "<prop name=\"Ports\" type=\"65539\" inherited=\"yes\">7</prop>"));
    EXPECT_EQ(odd.out.substr(0, odd.out.find("WARNING")),
              "Unknown value (True) for \"inherited\" property assuming false\nSetting IIS://localhost:Title "
              "property to t\n"
              "Setting IIS://localhost:Ports property to 7\n");
}

} // namespace
