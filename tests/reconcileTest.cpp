// A live tree against a file: the cases of objects and of properties.

#include "tests/restoreSupport.h"

#include <gtest/gtest.h>

namespace {

std::string createRefusal(const std::string& name, const std::string& className) {
    return "[Can't create object P/" + name + " (" + className + ") -- creates not supported]";
}
std::string deleteRefusal(const std::string& name, const std::string& className) {
    return "[Can't delete object " + name + " (" + className + ") -- deletes not supported]";
}

struct ObjectCase {
    const char* live;
    std::string children;
    std::string real;
    std::string dry;
    /// The live objects after the real run.
    const char* left;
    int exitCode = 0;
};

TEST(RestoreObjects, followTheRulesOfTheirClasses) {
    const std::string fileClass = "IIsWebFile";
    const std::string folderClass = "IIsWebDirectory";
    const ObjectCase cases[] = {
        // The object is missing: new, or not to be created.
        {"IIsComputer", element("D", fileClass), created("P/D", fileClass), created("P/D", fileClass),
         "IIsComputer D:IIsWebFile"},
        {"IIsComputer", element("M", "IIsMimeMap") + element("N", "NoClass") + element("X", "IIsCertMapper"),
         created("P/M", "IIsMimeMap") + createRefusal("M", "IIsMimeMap") + created("P/N", "NoClass") +
             createRefusal("N", "NoClass") + created("P/X", "IIsCertMapper") +
             createRefusal("X", "IIsCertMapper"),
         created("P/M", "IIsMimeMap") + created("P/N", "NoClass") + created("P/X", "IIsCertMapper"),
         "IIsComputer"},
        {"IIsComputer", element("D", folderClass, element("E", fileClass)),
         created("P/D", folderClass) + created("P/E", fileClass), created("P/D", folderClass),
         "IIsComputer D:IIsWebDirectory D/E:IIsWebFile"},
        // The object stands twice in the file.
        {"IIsComputer A:IIsWebFile", element("A", fileClass) + element("A", fileClass),
         "{8000FFFF restoreObj}ERROR: object \"A\" appears more than once in the backup file{8000FFFF "
         "restore}{8000FFFF "
         "restore}",
         "{8000FFFF restoreObj}ERROR: object \"A\" appears more than once in the backup file{8000FFFF "
         "restore}{8000FFFF "
         "restore}",
         "IIsComputer A:IIsWebFile", 2},
        {"IIsComputer", element("A", fileClass) + element("A", fileClass),
         created("P/A", fileClass) + created("P/A", fileClass) +
             "{8000500E objInfo}Error creating object A (IIsWebFile)\n{8000500E restoreObj}{8000500E "
             "restore}{8000500E "
             "restore}",
         created("P/A", fileClass) + created("P/A", fileClass), "IIsComputer A:IIsWebFile", 2},
        // Its class differs.
        {"IIsComputer M:IIsMimeMap", element("M", fileClass),
         deleted("M", "IIsMimeMap") + deleteRefusal("M", "IIsMimeMap") + deleted("M", "IIsMimeMap") +
             deleteRefusal("M", "IIsMimeMap"),
         deleted("M", "IIsMimeMap") + deleteRefusal("M", "IIsMimeMap") + deleted("M", "IIsMimeMap") +
             deleteRefusal("M", "IIsMimeMap"),
         "IIsComputer M:IIsMimeMap"},
        {"IIsComputer A:IIsWebFile", element("A", "IIsMimeMap"),
         deleted("A", fileClass) + created("A", "IIsMimeMap") + createRefusal("A", "IIsMimeMap"),
         deleted("A", fileClass) + created("A", "IIsMimeMap") + createRefusal("A", "IIsMimeMap"),
         "IIsComputer"},
        {"IIsComputer A:IIsWebFile", element("A", folderClass, element("B", fileClass)),
         deleted("A", fileClass) + created("A", folderClass) + created("P/B", fileClass),
         deleted("A", fileClass) + created("A", folderClass), "IIsComputer A:IIsWebDirectory A/B:IIsWebFile"},
        {"IIsComputer L:IISCustomLogModule", element("L", "IIsCustomLogModule"),
         deleted("L", "IISCustomLogModule") + created("L", "IIsCustomLogModule"),
         deleted("L", "IISCustomLogModule") + created("L", "IIsCustomLogModule"),
         "IIsComputer L:IIsCustomLogModule"},
        {"IIsComputer L:IIsCustomLogModule", element("L", "IISCustomLogModule"),
         deleted("L", "IIsCustomLogModule") + created("L", "IISCustomLogModule") +
             createRefusal("L", "IISCustomLogModule"),
         deleted("L", "IIsCustomLogModule") + created("L", "IISCustomLogModule") +
             createRefusal("L", "IISCustomLogModule"),
         "IIsComputer"},
        // The file lacks it. Names that differ in case are two.
        {"IIsComputer A:IIsWebDirectory A/B:IIsWebFile C:IIsMimeMap D:IIsWebVirtualDir D/E:IIsMimeMap", "",
         deleted("A", folderClass) + deleted("C", "IIsMimeMap") + deleteRefusal("C", "IIsMimeMap") +
             deleted("D", "IIsWebVirtualDir"),
         deleted("A", folderClass) + deleted("C", "IIsMimeMap") + deleteRefusal("C", "IIsMimeMap") +
             deleted("D", "IIsWebVirtualDir"),
         "IIsComputer C:IIsMimeMap"},
        {"IIsComputer a:IIsWebFile", element("A", fileClass),
         created("P/A", fileClass) + deleted("a", fileClass),
         created("P/A", fileClass) + deleted("a", fileClass), "IIsComputer A:IIsWebFile"},
        // A replaced, a new, an equal and a superfluous one.
        {"IIsComputer A:IIsWebDirectory B:IIsWebFile C:IIsWebFile",
         element("B", folderClass) + element("D", fileClass) + element("A", folderClass),
         deleted("B", fileClass) + created("B", folderClass) + created("P/D", fileClass) +
             deleted("C", fileClass),
         deleted("B", fileClass) + created("B", folderClass) + created("P/D", fileClass) +
             deleted("C", fileClass),
         "IIsComputer A:IIsWebDirectory B:IIsWebDirectory D:IIsWebFile"},
        // The filters folder right below the service is always there.
        {"IIsWebService", element("Filters", "IIsFilters"),
         created("P/Filters", "IIsFilters") + "{8000FFFF objInfo}Can't create the default IIsFilters object! "
                                              " It should already be there.{8000FFFF "
                                              "restoreObj}{8000FFFF restore}{8000FFFF restore}",
         created("P/Filters", "IIsFilters"), "IIsWebService", 2},
        {"IIsWebService Filters:IIsFilters", "",
         deleted("Filters", "IIsFilters") +
             "{8000FFFF objInfo}Can't delete the default IIsFilters object!  It must be present.{8000FFFF "
             "restoreObj}{8000FFFF restore}{8000FFFF restore}",
         deleted("Filters", "IIsFilters"), "IIsWebService Filters:IIsFilters", 2},
        {"IIsComputer F:IIsFilters G:IIsFilters", element("E", "IIsFilters") + element("G", "IIsFilters"),
         created("P/E", "IIsFilters") + deleted("F", "IIsFilters"),
         created("P/E", "IIsFilters") + deleted("F", "IIsFilters"), "IIsComputer E:IIsFilters G:IIsFilters"},
        // A child that can't be deleted keeps its parent; what went before it stays gone.
        {"IIsComputer A:IIsWebDirectory A/B:IIsWebFile A/C:IIsMimeMap A/D:IIsWebFile", "",
         deleted("A", folderClass) + "{8000FFFF objInfo}Can't delete objects of class: IIsMimeMap{8000FFFF "
                                     "restoreObj}{8000FFFF restore}{8000FFFF "
                                     "restore}",
         deleted("A", folderClass), "IIsComputer A:IIsWebDirectory A/C:IIsMimeMap A/D:IIsWebFile", 2},
        {"IIsComputer A:IIsWebDirectory A/B:Other", "",
         deleted("A", folderClass) + "{8000FFFF objInfo}Unknown object class: Other{8000FFFF "
                                     "restoreObj}{8000FFFF restore}{8000FFFF restore}",
         deleted("A", folderClass), "IIsComputer A:IIsWebDirectory A/B:Other", 2},
        {"IIsComputer A:IIsWebDirectory A/F:IIsFilters A/F/G:IIsWebFile", "", deleted("A", folderClass),
         deleted("A", folderClass), "IIsComputer"},
        // A child of an unknown class ends the run ahead of any change.
        {"IIsComputer A:IIsWebFile B:Other", element("N", fileClass),
         "{8000FFFF restoreObj}Unknown object class: Other{8000FFFF restore}{8000FFFF restore}",
         "{8000FFFF restoreObj}Unknown object class: Other{8000FFFF restore}{8000FFFF restore}",
         "IIsComputer A:IIsWebFile B:Other", 2},
        // What stands among the children must be an element with its three attributes.
        {"IIsComputer A:IIsWebFile", "<!--x-->",
         "{80004002 xmlUtils}{80004002 restoreObj}{80004002 restore}{80004002 restore}",
         "{80004002 xmlUtils}{80004002 restoreObj}{80004002 restore}{80004002 restore}",
         "IIsComputer A:IIsWebFile", 2},
        {"IIsComputer A:IIsWebFile",
         "<thing name=\"A\" class=\"IIsWebFile\" path=\"\"><children/><props/></thing>", "", "",
         "IIsComputer A:IIsWebFile"},
        {"IIsComputer A:IIsWebFile", "<obj name=\"A\" path=\"&amp;\"/>",
         "{80004005 restoreObj}Object node <obj name=\"A\" path=\"&\"> lacks one of the attributes name, "
         "class, path{80004005 "
         "restore}{80004005 restore}",
         "{80004005 restoreObj}Object node <obj name=\"A\" path=\"&\"> lacks one of the attributes name, "
         "class, path{80004005 "
         "restore}{80004005 restore}",
         "IIsComputer A:IIsWebFile", 2},
    };
    for (const ObjectCase& test : cases) {
        const std::string before = live(test.live);
        const Restored dry = restore(before, file(test.children), {"-n"});
        EXPECT_EQ(folded(dry.out), test.dry) << test.live;
        EXPECT_EQ(dry.metabase, before);
        EXPECT_EQ(dry.exitCode, test.real == test.dry ? test.exitCode : 0) << test.live;
        const Restored real = restore(before, file(test.children));
        EXPECT_EQ(folded(real.out), test.real) << test.live;
        EXPECT_EQ(real.err, "");
        EXPECT_EQ(real.exitCode, test.exitCode) << test.live;
        EXPECT_EQ(real.metabase, live(test.left)) << test.live;
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
    const std::string top = "{restoreProp}{restoreProp}{restore}{restore}";
    const std::string rise = "{propInfo}{propInfo}{propDefault}" + top;
    const std::string below = "{propInfo}{propIPSec}{propIPSec}" + top;
    const auto title = [](const std::string& attributes, const std::string& text = "") {
        return "<prop name=\"Title\" " + attributes + ">" + text + "</prop>";
    };
    const auto ipSec = [](const std::string& inside) {
        return "<prop name=\"IPSecurity\">" + inside + "</prop>";
    };
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {title("type=\"x\""), "80004005", "{propInfo}Seemingly invalid integer: x" + rise},
        {title("type=\"\""), "80004005", "{propInfo}Seemingly invalid integer: " + rise},
        {title("type=\"-0\""), "80004005", "{propInfo}Seemingly invalid integer: -0" + rise},
        {title("type=\" 0\""), "80004005", "{propInfo}Seemingly invalid integer:  0" + rise},
        {title("type=\"65536\""), "80004005", "{propInfo}Seemingly invalid integer: 65536" + rise},
        {title("type=\"2147483648\""), "80020008", "{propInfo}" + rise},
        {title("type=\"3\"", "x"), "80020005", "{propInfo}" + rise},
        {title("type=\"9\"", "&lt;unsupported/&gt;"), "80020005", "{propInfo}" + rise},
        {title("type=\"2\"", "99999"), "8002000A", "{propInfo}" + rise},
        {title(""), "80004005", "{propInfo}Value node <prop name=\"Title\"> has no type attribute" + rise},
        {"<proplist name=\"Title\"><prop type=\"8\"/><prop type=\"8\"/><prop type=\"3\"/></proplist>",
         "80020005", "{propInfo}" + rise},
        {"<thing name=\"Title\" type=\"8\"/>", "8000FFFF", "Unknown property node: thing\n" + rise},
        {"text", "80004002", "{propInfo}{restoreProp}{restore}{restore}"},
        {"<prop name=\"MimeMap\"><!-- --></prop>", "",
         "Setting IIS://localhost:MimeMap property to <array>\n{80004002 xmlUtils}{80004002 "
         "propMimeMap}{80004002 "
         "propMimeMap}{80004002 restoreProp}{80004002 restoreProp}{80004002 restore}{80004002 restore}"},
        {ipSec(""), "80004005",
         "{propIPSec}IPSecurity property has no GrantByDefault element{propIPSec}" + top},
        {ipSec("<prop name=\"GrantByDefault\" type=\"11\">true</prop>"), "80004005",
         "{propIPSec}IPSecurity property has no IPDeny element{propIPSec}" + top},
        {ipSec("<prop name=\"GrantByDefault\" type=\"11\">yes</prop>"), "80020005", "{propInfo}" + below},
        {ipSec("<proplist name=\"GrantByDefault\"/>"), "8002000B", "{propIPSec}{propIPSec}" + top},
    };
    for (const auto& [props, status, said] : cases) {
        const std::string before = live("IIsWebServer");
        const Restored run = restore(before, file("", props));
        EXPECT_EQ(folded(run.out, status), said) << props;
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.metabase, before);
    }
    const Restored odd = restore(
        live("IIsWebServer"), file("", title("type=\"8x\" inherited=\"True\"", "t") +
                                           "<prop name=\"Ports\" type=\"65539\" inherited=\"yes\">7</prop>"));
    EXPECT_EQ(odd.out.substr(0, odd.out.find("WARNING")),
              "Unknown value (True) for \"inherited\" property assuming false\nSetting IIS://localhost:Title "
              "property to t\n"
              "Setting IIS://localhost:Ports property to 7\n");
}

} // namespace
