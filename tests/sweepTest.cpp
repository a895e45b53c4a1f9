// Every call to the outside fails, in turn: the program says so in good order, and the server has exactly the
// changes that were made before.

#include "tests/faults.h"
#include "tests/support.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <set>

namespace {

using Names = std::set<std::string>;

const std::string metabase = testData("sweep-metabase.txt");
const std::string backup = testData("sweep-backup.xml");

/// What is run: on a small server with something for every handler, against a file that differs from it
/// everywhere.
struct Scenario {
    const char* name;
    std::vector<std::string> arguments;

    friend std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
        return out << scenario.name;
    }
};

const Scenario scenarios[] = {{"backup", {"-backup", "-file", "made"}},
                              {"restore", {"-restore", "-debug", "5", "-file", "f"}},
                              {"dry run", {"-restore", "-n", "-debug", "5", "-file", "f"}},
                              {"failing restore", {"-restore", "-file", "none"}}};

struct Swept : Outcome {
    std::string metabase;
    std::string made;
    CallLog log;

    /// The stems of the "Error" lines, their statuses, and the line that stands ahead of them.
    std::vector<std::string> chain;
    Names statuses;
    std::string lineAhead;
};

Swept run(const Scenario& scenario, const Faults& faults) {
    const Folder folder;
    folder.write("metabase.txt", metabase);
    folder.write("f", backup);
    // In the place of the file's replacement, so that the file keeps the lines of the changes.
    std::filesystem::create_directory(folder.path(".metabase.txt.rewrite"));
    Swept run{
        runTool(folder, scenario.arguments, [&] { installFaults(faults); }), {}, {}, callLog(), {}, {}, {}};
    run.metabase = folder.read("metabase.txt");
    run.made = folder.read("made");
    const std::string text = folded(run.out + run.err, "none");
    for (std::size_t at = text.find('{'); at != std::string::npos; at = text.find('{', at + 1)) {
        const std::size_t blank = text.find(' ', at);
        run.statuses.insert(text.substr(at + 1, blank - at - 1));
        run.chain.push_back(text.substr(blank + 1, text.find('}', blank) - blank - 1));
    }
    const std::string said = text.substr(0, text.find('{'));
    run.lineAhead = said.substr(said.rfind('\n') + 1);
    return run;
}

/// Whose failures each of the sources reports once more.
const std::map<std::string, Names> reports = {
    {"backup", {"backup", "schemaCache", "propDefault", "propIPSec", "propMimeMap"}},
    {"dispUtils", {"dispUtils"}},
    {"objInfo", {"objInfo"}},
    {"propDefault", {"propInfo", "propDefault"}},
    {"propInfo", {"propInfo", "xmlUtils"}},
    {"propIPSec", {"propIPSec", "propInfo", "propDefault", "dispUtils"}},
    {"propMimeMap", {"propMimeMap", "xmlUtils"}},
    {"restore", {"restore", "restoreObj", "restoreProp", "xmlUtils"}},
    {"restoreObj", {"restore", "objInfo", "xmlUtils"}},
    {"restoreProp",
     {"restoreProp", "schemaCache", "propDefault", "propIPSec", "propMimeMap", "propInfo", "dispUtils"}},
    {"schemaCache", {"schemaCache"}},
    {"xmlUtils", {"xmlUtils"}}};

bool isInOrder(const std::vector<std::string>& chain) {
    const auto wrong = [](const std::string& below, const std::string& above) {
        return !reports.contains(above) || !reports.at(above).contains(below);
    };
    return !chain.empty() && std::ranges::adjacent_find(chain, wrong) == chain.end() &&
           Names{"backup", "restore", "skeinKeep"}.contains(chain.back());
}

/// Whether the run goes on where the call fails: nobody asks for its result, or something stands in for it.
bool isPassedOver(const Swept& run) {
    static const Names never = {"query IISBaseObject", "IISBaseObject::GetPropertyAttribObj",
                                "query IISPropertyAttribute", "IISPropertyAttribute::get_Isinherited",
                                "VarBstrCmp"};
    static const Names objects = {"IADsContainer::Create", "IADsContainer::Delete",
                                  "IADsDeleteOps::DeleteObject"};
    const std::string call = run.log.failed;
    const auto says = [&](const char* text) { return run.out.find(text) != std::string::npos; };
    const auto isOf = [](const char* stem) {
        return [=](const std::string& other) { return other == stem; };
    };
    return never.contains(call) || (call == "IADs::SetInfo" && objects.contains(run.log.before)) ||
           (call == "ADsFreeEnumerator" && (run.chain.empty() || run.chain[0] != "restoreObj")) ||
           (call == "IADs::get_ADsPath" && says("\"<unknown name: get_ADsPath failed>\"")) ||
           (call == "IADs::get_ADsPath" && says("DELETE OBJECT: <unknown name: get_ADsPath failed> (")) ||
           (call == "IADs::get_Class" && says(" (class <unknown class: get_Class failed>)\n")) ||
           says("Node <can't get tag.... :-(> must have") ||
           (run.lineAhead.starts_with("Setting ") && std::ranges::all_of(run.chain, isOf("dispUtils")));
}

std::string hex(HRESULT status) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(status));
    return digits;
}

std::string without(std::string text, const std::string& part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part))
        text.erase(at, part.size());
    return text;
}

/// What was written is all that the run without a failure writes, or, where the run failed, the beginning of
/// it.
void expectBeginning(const Swept& run, const Swept& good) {
    const std::string made = without(run.made, " inherited=\"true\"");
    const std::string whole = without(good.made, " inherited=\"true\"");
    EXPECT_TRUE(good.metabase.starts_with(run.metabase) && run.metabase.ends_with('\n')) << run.metabase;
    EXPECT_TRUE(made == "<none>" || whole.starts_with(made)) << made;
    EXPECT_TRUE(run.exitCode != 0 || (run.metabase == good.metabase && made == whole));
}

void expectFailure(const Swept& run, const Swept& good, HRESULT status) {
    static const Names withoutStatus = {"MultiByteToWideChar", "SafeArrayCreate", "FormatMessageA"};
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(isInOrder(run.chain)) << testing::PrintToString(run.chain);
    EXPECT_EQ(run.statuses, Names{hex(withoutStatus.contains(run.log.failed) ? E_UNEXPECTED : status)});
    expectBeginning(run, good);
}

class Sweep : public testing::TestWithParam<Scenario> {
protected:
    /// Runs the scenario with the fault at each call in turn, and has each run looked at.
    template <class Look> void sweep(Faults faults, const char* what, Look look) const {
        faults.call = "*";
        for (faults.number = 1;; ++faults.number) {
            const Swept swept = run(GetParam(), faults);
            if (swept.log.calls < faults.number) break;
            SCOPED_TRACE(std::to_string(faults.number) + " " + swept.log.failed + "\n" + swept.out +
                         swept.err);
            look(swept);
        }
        std::cout << GetParam().name << ": " << faults.number - 1 << " calls, " << what << std::endl;
        EXPECT_GT(faults.number, 1);
    }

    const Swept good_ = run(GetParam(), {});
};

TEST_P(Sweep, endsAtAFailureAndKeepsWhatWasDone) {
    std::vector<bool> passes;
    std::size_t done = 0;
    sweep({}, "each failed once", [&](const Swept& swept) {
        passes.push_back(isPassedOver(swept));
        if (passes.back()) {
            EXPECT_EQ(swept.exitCode, good_.exitCode);
            expectBeginning(swept, good_);
        } else {
            expectFailure(swept, good_, E_ACCESSDENIED);
            EXPECT_LE(std::exchange(done, swept.metabase.size()), swept.metabase.size());
        }
    });
    Faults lasting;
    lasting.lasting = true;
    std::size_t number = 0;
    sweep(lasting, "failed from each on", [&](const Swept& swept) {
        const bool passed = std::find(passes.begin() + static_cast<std::ptrdiff_t>(number++), passes.end(),
                                      false) == passes.end();
        EXPECT_EQ(swept.exitCode, passed ? good_.exitCode : 2);
        expectBeginning(swept, good_);
    });
}

TEST_P(Sweep, takesTheStatusesThatHaveAMeaningForWhatTheySay) {
    Faults faults;
    for (const HRESULT status : {E_NOINTERFACE, DISP_E_UNKNOWNNAME}) {
        faults.status = status;
        sweep(faults, hex(status).c_str(), [&](const Swept& swept) {
            const std::string call = swept.log.failed;
            const bool create = swept.out.find("Getting IADsContainer interface") != std::string::npos;
            if (status == E_NOINTERFACE && call == "query IADsContainer" && !create) {
                // No children: nothing is done below the object, and nothing else is different.
                EXPECT_EQ(swept.exitCode, 0);
                EXPECT_LE(swept.metabase.size(), good_.metabase.size());
                EXPECT_LE(swept.made.size(), good_.made.size());
            } else if (status == E_NOINTERFACE && call == "query IADsDeleteOps") {
                EXPECT_EQ(swept.out, good_.out);
                EXPECT_EQ(without(swept.metabase, "+delete \"localhost/V/W\"\n"), good_.metabase);
            } else if (status == DISP_E_UNKNOWNNAME && call == "IDispatch::GetIDsOfNames") {
                EXPECT_EQ(swept.exitCode, 0);
                EXPECT_EQ(swept.made, good_.made);
            } else if (!isPassedOver(swept)) {
                expectFailure(swept, good_, status);
            } else {
                EXPECT_EQ(swept.exitCode, good_.exitCode);
            }
        });
    }
    // Any other success than 0 is one; only two calls mean something by it.
    faults.status = S_FALSE;
    faults.made = true;
    sweep(faults, "answered 1", [&](const Swept& swept) {
        const std::string call = swept.log.failed;
        if (call == "IXMLDOMElement::getAttribute" || call == "ADsEnumerateNext") return;
        EXPECT_EQ(swept.exitCode, good_.exitCode);
        EXPECT_EQ(swept.out + swept.err + swept.made + swept.metabase,
                  good_.out + good_.err + good_.made + good_.metabase);
    });
    // A success that delivers nothing is survived, though a conversion must have been made.
    faults.status = S_OK;
    faults.made = false;
    sweep(faults, "delivered nothing", [&](const Swept& swept) {
        EXPECT_TRUE(swept.exitCode == 0 || swept.exitCode == 2 ||
                    swept.log.failed == std::string("VariantChangeType"))
            << swept.exitCode;
        EXPECT_TRUE(swept.metabase.starts_with(metabase));
    });
}

INSTANTIATE_TEST_SUITE_P(, Sweep, testing::ValuesIn(scenarios),
                         [](const auto& test) { return without(test.param.name, " "); });

} // namespace
