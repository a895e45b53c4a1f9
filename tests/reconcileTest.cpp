// A server against a backup file: the cases of objects and of properties.

#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/tables.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(RestoreObjects, followTheRulesOfTheirClasses) {
    for (const TableCase& test :
         Table("objects.txt", {{"server", "file", "prints", "after"}, {"exit", "dryPrints", "dryExit"}})) {
        SCOPED_TRACE(test);
        const std::string before = metabaseWith(test["server"]);
        const std::string backup = backupFile(test["file"]);
        const int exitCode = test.number("exit", "0");
        const Restored dry = restore(before, backup, {"-n"});
        EXPECT_EQ(folded(dry.out), test.get("dryPrints", test["prints"]));
        EXPECT_EQ(dry.exitCode, test.number("dryExit", test.get("exit", "0").c_str()));
        EXPECT_EQ(dry.metabase, before);
        const Restored real = restore(before, backup);
        EXPECT_EQ(folded(real.out), test["prints"]);
        EXPECT_EQ(real.err, "");
        EXPECT_EQ(real.exitCode, exitCode);
        EXPECT_EQ(real.metabase, metabaseWith(test["after"]));
    }
}

TEST(RestoreObjects, warnOfChildrenBelowALeaf) {
    const std::string server = metabaseWith("IIsComputer A:IIsWebFile");
    const std::string inside = backupFile(objElement("A", "IIsWebFile", objElement("B", "IIsWebFile")));
    EXPECT_EQ(restore(server, inside).err,
              "WARNING: object \"IIS://localhost/A\" can't have children, but the "
              "backup file says it does have them.\n");
    EXPECT_EQ(restore(server, inside, {"-debug", "-1"}).err, "");
}

TEST(RestoreProperties, areComparedByTheirOwnRulesAndWrittenWhereTheyDiffer) {
    for (const TableCase& test :
         Table("properties.txt",
               {{"props", "prints", "stderr"}, {"class", "values", "fails", "missing", "after"}})) {
        SCOPED_TRACE(test);
        FaultPlan plan;
        plan.call = test.get("fails", "none");
        const std::string className = test.get("class", "IIsWebServer");
        const std::string before = metabaseWith(className, test.get("values", ""));
        const std::string file = backupFile("", test["props"]);
        const Restored dry = restore(before, file, {"-n", "-debug", "5"}, plan);
        std::istringstream lines(dry.out);
        std::string printed;
        for (std::string line; std::getline(lines, line);) {
            const bool isMissing = line.find("\" is not in backup") != std::string::npos;
            if (!isMissing || test.has("missing")) printed.append(line).append("\n");
        }
        EXPECT_EQ(printed, test["prints"]);
        EXPECT_EQ(dry.err, test["stderr"]);
        EXPECT_EQ(dry.metabase, before);
        const Restored real = restore(before, file, {}, plan);
        EXPECT_EQ(real.out, dry.out);
        const std::string after = test.has("after") ? metabaseWith(className, test["after"]) : real.metabase;
        EXPECT_EQ(real.metabase, after);
        EXPECT_EQ(dry.exitCode + real.exitCode, 0);
    }
}

// Long maps in another order are paired through an index.
TEST(RestoreProperties, ofLongMapsArePairedEntryByEntry) {
    constexpr int entries = 200;
    std::string live;
    std::string same;
    std::string other;
    for (int i = 0; i < entries; ++i) {
        const std::string name = std::to_string(i % 150);
        live.append(i == 0 ? "" : ", ").append("\"").append(name).append("\" \"t\"");
        const std::string element = "<mimetype extension=\"" + name + "\" type=\"t\"/>";
        same.insert(0, element);
        // One of the pairs that come twice is there once only, another one three times.
        other.insert(0, i == 160 ? "<mimetype extension=\"11\" type=\"t\"/>" : element);
    }
    const std::string before = metabaseWith("IIsWebServer", "  MimeMap mime(" + live + ")\n");
    const auto errOf = [&](const std::string& inside) {
        const std::string prop = "<prop name=\"MimeMap\">" + inside + "</prop>";
        return restore(before, backupFile("", prop), {"-n", "-debug", "5"}).err;
    };
    EXPECT_EQ(errOf(same), "");
    EXPECT_EQ(errOf(other), "MimeMap: Mime Type 10 --> t not in backup.\n");
}

TEST(RestoreProperties, thatCannotBeParsedEndTheRun) {
    const std::string before = metabaseWith("IIsWebServer");
    for (const TableCase& test : Table("unparsable-props.txt", {{"props", "prints"}, {"status", "text"}})) {
        SCOPED_TRACE(test);
        const Restored run = restore(before, backupFile("", test["props"]));
        EXPECT_EQ(folded(run.out, test.get("status", "80004005")), test["prints"]);
        for (const ErrorLine& line : errorChain(run.out).lines)
            EXPECT_EQ(line.text, test.get("text", line.text));
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.metabase, before);
    }
}

} // namespace
