// What a backup writes, byte for byte, and what it says and leaves when something fails.

#include "platform/automation/safearray.h"
#include "tests/faults.h"
#include "tests/support.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

const std::string exampleMetabase = testData("example-metabase.txt");
const std::string exampleBackup = testData("example-backup.xml");

/// A metabase of one object with one property X of the given value.
std::string oneValue(const std::string& value) {
    return "metabase 1\nproperty X string single local " + value +
           "\nclass IIsComputer container nodeleteops () (X)\nobject \"localhost\" IIsComputer\n";
}

/// What the backup of such a metabase has in its `props`.
std::string propsOf(const std::string& backup) {
    const std::string begin = "    <props>\n      ";
    const std::size_t at = backup.find(begin);
    return at == std::string::npos
               ? backup
               : backup.substr(at + begin.size(), backup.find("    </props>") - at - begin.size());
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
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    // A value that would not be read can't fail the run either.
    const auto failingRead = [] {
        Faults faults;
        faults.onRead = [](const std::u16string& name, VARIANT& value) {
            if (name == u"IPSecurity") VariantClear(&value);
        };
        installFaults(faults);
    };
    const Outcome run =
        runTool(folder, {"-backup", "-noinherit", "-debug", "6", "-file", "f.xml"}, failingRead);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err,
              "Ignoring inherited property \"ExampleNumber\"\nIgnoring inherited property \"ExampleList\"\n"
              "Ignoring inherited property \"IPSecurity\"\n");
    EXPECT_EQ(folder.read("f.xml").find("inherited"), std::string::npos);
}

TEST(Backup, writesEveryValueAsItsTypeAsks) {
    for (TestCase test : testCases("value-lines.txt")) {
        const Folder folder;
        folder.write("metabase.txt", oneValue(test["value"]));
        EXPECT_EQ(runProgram(folder, {"-backup", "-file", "f"}).exitCode, 0);
        EXPECT_EQ(propsOf(folder.read("f")), test["line"] + "\n") << test["value"];
    }
}

TEST(Backup, escapesWhatAnAttributeCannotHold) {
    const Folder folder;
    folder.write(
        "metabase.txt",
        "metabase 1\nproperty \"a<&\\\"'>é€\" string single local \"\"\nproperty MimeMap mime list "
        "local mime(\"<\" \"\\\"&\\\"\")\nclass IIsComputer container nodeleteops () (\"a<&\\\"'>é€\", "
        "MimeMap)\nobject \"localhost\" IIsComputer\nobject \"localhost/R&D <ö> \\\"😀\\\"\" IIsComputer\n");
    EXPECT_EQ(runProgram(folder, {"-backup", "-file", "f"}).exitCode, 0);
    const std::string backup = folder.read("f");
    for (const char* line : {"<prop name=\"a&lt;&amp;&quot;'>\xE9&#8364;\" type=\"8\"></prop>",
                             R"(<mimetype extension="&lt;" type="&quot;&amp;&quot;"/>)",
                             "<obj name=\"R&amp;D &lt;\xF6> &quot;&#128512;&quot;\" class=\"IIsComputer\" "
                             "path=\"IIS://localhost/R&amp;D &lt;\xF6> &quot;&#128512;&quot;\">"}) {
        EXPECT_NE(backup.find(line), std::string::npos) << line;
    }
}

struct FailureCase {
    Faults faults;
    std::string err;
    /// How the file ends.
    std::string tail;
};

Faults fault(const std::string& call, int number = 1) {
    Faults faults;
    faults.call = call;
    faults.number = number;
    return faults;
}

Faults reading(const std::u16string& property, const std::function<void(VARIANT&)>& change) {
    Faults faults;
    faults.onRead = [=](const std::u16string& name, VARIANT& value) {
        if (name == property) change(value);
    };
    return faults;
}

void makeTwoDimensional(VARIANT& value) {
    VariantClear(&value);
    const SAFEARRAYBOUND bounds[] = {{1, 0}, {2, 5}};
    value.vt = VT_ARRAY | VT_VARIANT;
    value.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
}

TEST(Backup, stopsAtTheFirstFailureAndTellsIt) {
    const std::string top = "<obj name=\"localhost\" class=\"IIsComputer\" path=\"IIS://localhost\">\n";
    const std::string child =
        "<obj name=\"MimeMap\" class=\"IIsMimeMap\" path=\"IIS://localhost/MimeMap\">\n";
    const std::string rise = "{backup}{backup}{backup}";
    const std::string inChild = rise + "{backup}";
    const auto clear = [](VARIANT& value) { VariantClear(&value); };
    const auto retype = [](VARTYPE type) {
        return [type](VARIANT& value) {
            VariantClear(&value);
            value.vt = type;
        };
    };
    const FailureCase cases[] = {
        {fault("ADsGetObject"), "{backup}Connecting to IIS via ADSI{backup}",
         "<metabase version=\"1.0.0\">\n"},
        {fault("IADs::get_Name", 2), inChild, "    <children>\n"},
        {fault("ADsGetObject", 2), "{schemaCache}{schemaCache}{backup}" + rise, top + "    <props>\n"},
        {fault("query IADs"), "{backup}QI for IADs on child{backup}{backup}", "    <children>\n"},
        {reading(u"ExampleFlag", retype(VT_CLSID)),
         "{80020008 propDefault}Dumping property ExampleFlag{80020008 backup}Dumping property "
         "ExampleFlag{80020008 "
         "backup}{80020008 backup}{80020008 backup}{80020008 backup}",
         "      <prop name=\"ExampleFlag\" type=\"72\">"},
        {reading(u"IPSecurity", clear),
         "{8000FFFF propIPSec}IPSecurity property should be of type VT_DISPATCH{8000FFFF backup}Dumping "
         "property "
         "IPSecurity{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}",
         "          <prop name=\"IPSecurity\" inherited=\"true\">\n"},
        {reading(u"IPSecurity", retype(VT_DISPATCH)),
         "{80020005 propIPSec}QI for IISIPSecurity on IPSecurity property{80020005 backup}Dumping property "
         "IPSecurity{80020005 backup}{80020005 backup}{80020005 backup}{80020005 backup}{80020005 backup}",
         "          <prop name=\"IPSecurity\" inherited=\"true\">\n"},
        {reading(u"MimeMap", clear),
         "{8000FFFF propMimeMap}MimeMap property should be an array{8000FFFF backup}Dumping property "
         "MimeMap{8000FFFF "
         "backup}{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}",
         child + "        <props>\n"},
        {reading(u"MimeMap", makeTwoDimensional),
         "{8000FFFF propMimeMap}MimeMap property has 2 dimensions (expected 1){8000FFFF backup}Dumping "
         "property "
         "MimeMap{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}{8000FFFF backup}",
         child + "        <props>\n"},
    };
    for (const FailureCase& test : cases) {
        const Folder folder;
        folder.write("metabase.txt", exampleMetabase);
        const Outcome run = runTool(folder, {"-backup", "-file", "f"}, [&] { installFaults(test.faults); });
        EXPECT_EQ(run.exitCode, 2) << test.faults.call;
        EXPECT_EQ(folded(run.err), test.err) << test.faults.call << test.faults.number;
        EXPECT_EQ(run.out, "");
        const std::string backup = folder.read("f");
        EXPECT_TRUE(backup.ends_with(test.tail)) << test.faults.call << test.faults.number << "\n" << backup;
        EXPECT_TRUE(test.faults.onRead || exampleBackup.starts_with(backup)) << backup;
    }
}

TEST(Backup, passesOverWhatIsNoFailure) {
    Faults patient;
    patient.idleAnswers = 999;
    Faults lastWithEnd;
    lastWithEnd.lastWithEnd = true;
    for (const Faults& faults : {patient, lastWithEnd}) {
        const Folder folder;
        folder.write("metabase.txt", exampleMetabase);
        const Outcome run = runTool(folder, {"-backup", "-file", "f"}, [&] { installFaults(faults); });
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(folder.read("f"), exampleBackup);
    }
    // A null string isn't an empty one.
    const Folder nullText;
    nullText.write("metabase.txt", exampleMetabase);
    runTool(nullText, {"-backup", "-file", "f"}, [] {
        installFaults(reading(u"ExampleEmpty", [](VARIANT& value) {
            VariantClear(&value);
            value.vt = VT_BSTR;
        }));
    });
    EXPECT_NE(nullText.read("f").find("name=\"ExampleEmpty\" type=\"8\">&lt;unsupported/&gt;<"),
              std::string::npos);
}

TEST(Backup, givesUpOnAnEnumeratorThatNeverEnds) {
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    Faults faults;
    faults.idleAnswers = 1000;
    const Outcome run = runTool(folder, {"-backup", "-file", "f"}, [&] { installFaults(faults); });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(folded(run.err, "8000FFFF"), "{backup}{backup}{backup}");
}

TEST(Backup, namesWhatHindersItsOutput) {
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    const std::pair<const char*, const char*> cases[] = {
        {"no/f", "Can't open output file \"no/f\": No such file or directory\n"},
        {".", "Can't open output file \".\": Is a directory\n"},
        {"metabase.txt", "Can't open output file \"metabase.txt\": Device or resource busy\n"},
        {"./metabase.txt", "Can't open output file \"./metabase.txt\": Device or resource busy\n"}};
    for (const auto& [name, message] : cases) {
        const Outcome run = runProgram(folder, {"-backup", "-file", name});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.err, message);
        EXPECT_EQ(folder.read("metabase.txt"), exampleMetabase);
    }
}

TEST(Backup, makesNoMetabaseOfItsOutput) {
    const Folder folder;
    EXPECT_EQ(runProgram(folder, {"-backup", "-file", "metabase.txt"}).exitCode, 2);
    EXPECT_EQ(folder.read("metabase.txt"), "<none>");
}

TEST(Backup, saysOfARootThatDoesNotExist) {
    const Folder folder;
    folder.write("metabase.txt", exampleMetabase);
    const std::pair<const char*, const char*> cases[] = {
        {"IIS://localhost/No", "80005004"}, {"IIS://Localhost", "80005004"}, {"iis://localhost", "800401E4"},
        {"IIS://localhost/", "80005004"},   {"IIS://", "80005004"},          {"x", "800401E4"}};
    for (const auto& [root, status] : cases) {
        const Outcome run = runProgram(folder, {"-backup", "-file", "f", "-root", root});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(folded(run.err, status), "{backup}Connecting to IIS via ADSI{backup}") << root;
        EXPECT_EQ(folder.read("f"), "<?xml version=\"1.0\" ?>\n<metabase version=\"1.0.0\">\n");
    }
}

TEST(Backup, isNotEndedBySignals) {
    const Folder folder;
    folder.write("metabase.txt", sampleMetabase());
    const Outcome run = runTool(folder, {"-backup", "-file", "f"}, [] {
        const rlimit limit{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(folder.read("f").size(), 4096U);
}

} // namespace
