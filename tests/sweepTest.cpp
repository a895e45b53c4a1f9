// Every call to the outside fails, in turn (see support/faults.h): the program reports it at every level that
// it passes through, and the server has exactly the changes that were made before.

#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/systemCalls.h"
#include "tests/support/tables.h"

#include <algorithm>
#include <cerrno>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

namespace {

using Names = std::set<std::string>;

/// The name and the arguments of a run of the program on the server of the sweeps.
using Scenario = std::pair<std::string, Arguments>;
const Scenario scenarios[] = {{"backup", {"-backup", "-file", "made"}},
                              {"restore", {"-restore", "-debug", "5", "-file", "f"}},
                              {"dryRun", {"-restore", "-n", "-debug", "5", "-file", "f"}},
                              {"failingRestore", {"-restore", "-file", "none"}}};

const Names changesAtOnce = {"IADsContainer::Create", "IADsContainer::Delete", "IADsDeleteOps::DeleteObject"};

struct SweptRun : ServerRun {
    ErrorChain errors = errorChain(out + err);
};

SweptRun runWith(const Scenario& scenario, const FaultPlan& plan) {
    const SweptServer server;
    server.keepLinesOfChanges();
    return {runOn(server, scenario.second, plan)};
}

/// What is printed from the first "Error" line on, folded. The context texts come with it.
std::string printedChain(const SweptRun& run) {
    const std::string text =
        folded(contains(run.out, "Error 0x") ? run.out : run.err, run.errors.lines.at(0).status);
    return text.substr(text.find('{'));
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

/// Whether a chain is that of a row, with the levels above the object.
bool isChainOf(const TableCase& row, const SweptRun& run, const std::string& chain) {
    const std::string levels = row.get("levels", "restore");
    std::string above = levels == "none"     ? ""
                        : levels == "backup" ? "{backup}"
                                             : "*({restoreObj}{restore}){restore}";
    if (levels == "backup") {
        // One line for each open object, and one of the driver.
        std::size_t open = countOf(run.made, "<obj ") - countOf(run.made, "</obj>");
        for (; open > 0; --open) above += "{backup}";
    }
    return ::fnmatch((row["prints"] + above).c_str(), chain.c_str(), FNM_NOESCAPE | FNM_EXTMATCH) == 0;
}

/// Expects one chain that a function which makes the call prints, with the status of the fault.
void expectChain(const SweptRun& run, HRESULT status) {
    static const auto rows = readTable("sweep-chains.txt", {{"function", "calls", "prints"}, {"levels"}});
    static const Names withoutStatus = {"MultiByteToWideChar", "SafeArrayCreate"};
    const std::string call(run.log.failed);
    const std::string chain = printedChain(run);
    const bool isKnown = std::ranges::any_of(rows, [&](const TableCase& row) {
        return contains(", " + row["calls"] + ",", ", " + call + ",") && isChainOf(row, run, chain);
    });
    EXPECT_TRUE(isKnown) << "no function that calls " << call << " prints this: " << chain;
    for (const ErrorLine& line : run.errors.lines)
        EXPECT_EQ(line.status, hex(withoutStatus.contains(call) ? E_UNEXPECTED : status));
}

/// What each place of the sources reports: the failure of a call, or one that another place has reported
/// before. A level that doesn't report becomes visible as a place that does both.
using ReportPlaces = std::map<std::string, Names>;

void addReports(ReportPlaces& places, const SweptRun& run) {
    std::string below(run.log.failed);
    for (const ErrorLine& line : run.errors.lines) {
        places[line.place].insert(below);
        below = "a report of " + line.stem();
    }
}

void expectOneKindEach(const ReportPlaces& places) {
    // The failure to read an attribute is first reported by the caller, that to convert it by xmlUtils.
    const Names attribute = {"IXMLDOMElement::getAttribute", "a report of xmlUtils"};
    // The failure to bind the topmost object is first reported by the driver.
    const Names driver = {"ADsGetObject", "a report of restore"};
    for (const auto& [place, kinds] : places) {
        const auto reports = std::ranges::count_if(
            kinds, [](const std::string& kind) { return kind.starts_with("a report of "); });
        EXPECT_TRUE(reports == 0 || reports == std::ssize(kinds) || kinds == attribute || kinds == driver)
            << place << " reports " << testing::PrintToString(kinds);
    }
}

/// Whether the run continues after the failed call: its result doesn't count, or a text takes its place.
bool isPassedOver(const SweptRun& run) {
    const std::string call(run.log.failed);
    const ErrorLine first = run.errors.lines.empty() ? ErrorLine() : run.errors.lines[0];
    const std::string stem = first.stem();
    const bool isReportedOnce = run.errors.lines.size() == 1;
    const auto prints = [&](const char* text) { return contains(run.out, text); };
    return contains(call, "IISBaseObject") || call == "VarBstrCmp" ||
           contains(call, "IISPropertyAttribute") || call == "FormatMessageA" ||
           (call == "IADs::SetInfo" && changesAtOnce.contains(std::string(run.log.before))) ||
           (call == "ADsFreeEnumerator" && stem != "restoreObj" &&
            (run.made != Folder::noFile || contains(run.metabase, "+delete"))) ||
           (call == "IADs::get_ADsPath" && prints("\"<unknown name: get_ADsPath failed>\"")) ||
           (call == "IADs::get_ADsPath" && prints("DELETE OBJECT: <unknown name: get_ADsPath failed> (")) ||
           (call == "IADs::get_Class" && prints(" (class <unknown class: get_Class failed>)\n")) ||
           (isReportedOnce && stem == "xmlUtils" && prints("Node <can't get tag.... :-(> must have")) ||
           (isReportedOnce && stem == "dispUtils" &&
            first.before.substr(first.before.rfind('\n') + 1).starts_with("Setting "));
}

/// What was written is all that the run without a failure writes or, where the run failed, the beginning of
/// it.
void expectBeginning(const SweptRun& run, const SweptRun& good) {
    const std::string made = without(run.made, " inherited=\"true\"", '>');
    const std::string whole = without(good.made, " inherited=\"true\"", '>');
    EXPECT_TRUE(good.metabase.starts_with(run.metabase) && run.metabase.ends_with('\n')) << run.metabase;
    EXPECT_TRUE(made == Folder::noFile || whole.starts_with(made)) << made;
    if (run.exitCode == 0) {
        EXPECT_EQ(run.metabase, good.metabase);
        EXPECT_EQ(made, whole);
    }
}

/// Expects that the run fails with the status, or that it passes over the call and is else as `good`.
void expectEnd(const SweptRun& run, const SweptRun& good, HRESULT status) {
    expectBeginning(run, good);
    if (!isPassedOver(run)) {
        EXPECT_EQ(run.exitCode, 2);
        ASSERT_FALSE(run.errors.lines.empty());
        expectChain(run, status);
        return;
    }
    EXPECT_EQ(run.exitCode, good.exitCode);
    // A status without a text is printed without one.
    const auto textless = std::ranges::count(run.errors.lines, "", &ErrorLine::text);
    EXPECT_EQ(textless, run.log.failed == "FormatMessageA" ? 1 : 0);
    EXPECT_LE(run.errors.lines.size(), good.errors.lines.size() + 1);
}

class Sweep : public testing::TestWithParam<Scenario> {
protected:
    /// Runs the scenario with the fault at each call in turn, and has each run checked.
    template <class Check> void sweep(FaultPlan plan, Check check) const {
        // A conversion that returns S_OK and converts nothing leaves a value of another type than its caller
        // reads: no caller can survive that.
        const bool isDeadly = plan.status == S_OK && !plan.made;
        plan.number = 0;
        for (const std::string_view call : good_.log.counted) {
            ++plan.number;
            if (isDeadly && call == "VariantChangeType") continue;
            const SweptRun run = runWith(GetParam(), plan);
            SCOPED_TRACE("call " + std::to_string(plan.number) + ", " + std::string(run.log.failed));
            check(run);
            if (testing::Test::HasFailure()) {
                ADD_FAILURE() << static_cast<const Outcome&>(run);
                return;
            }
        }
        std::cout << plan.number << " runs" << std::endl;
    }

    static FaultPlan everyCall(HRESULT status = E_ACCESSDENIED, bool made = false) {
        return {.call = "*", .status = status, .made = made};
    }

    const SweptRun good_ = runWith(GetParam(), {.call = "*", .number = 0});
};

TEST_P(Sweep, aFailureEndsTheRunAndIsReportedAtEachLevel) {
    ReportPlaces places;
    std::size_t done = 0;
    sweep(everyCall(), [&](const SweptRun& run) {
        expectEnd(run, good_, E_ACCESSDENIED);
        if (isPassedOver(run)) return;
        addReports(places, run);
        EXPECT_LE(std::exchange(done, run.metabase.size()), run.metabase.size());
    });
    expectOneKindEach(places);
}

TEST_P(Sweep, aLastingFailureEndsTheRunAtTheFirstCallThatCounts) {
    std::vector<bool> passes;
    sweep(everyCall(), [&](const SweptRun& run) { passes.push_back(isPassedOver(run)); });
    auto first = passes.begin();
    sweep({.call = "*", .lasting = true}, [&](const SweptRun& run) {
        const bool isPassed = std::find(first++, passes.end(), false) == passes.end();
        EXPECT_EQ(run.exitCode, isPassed ? good_.exitCode : 2);
        expectBeginning(run, good_);
    });
}

TEST_P(Sweep, aMissingInterfaceIsNoFailureWhereItSaysThatThereIsNothingToDo) {
    sweep(everyCall(E_NOINTERFACE), [&](const SweptRun& run) {
        const bool isCreate = contains(run.out, "Getting IADsContainer interface");
        if (run.log.failed == "query IADsContainer" && !isCreate) {
            // No children: nothing is done below the object, and nothing else is different.
            EXPECT_EQ(run.exitCode, 0);
            EXPECT_LE(run.metabase.size(), good_.metabase.size());
            EXPECT_LE(run.made.size(), good_.made.size());
        } else if (run.log.failed == "query IADsDeleteOps") {
            EXPECT_EQ(run.out, good_.out);
            EXPECT_EQ(without(run.metabase, "+delete \"localhost/V/W\"\n", '+'), good_.metabase);
        } else {
            expectEnd(run, good_, E_NOINTERFACE);
        }
    });
}

TEST_P(Sweep, anUnknownNameIsNoFailureWhereTheAttributesAreAskedFor) {
    sweep(everyCall(DISP_E_UNKNOWNNAME), [&](const SweptRun& run) {
        if (run.log.failed != "IDispatch::GetIDsOfNames") return expectEnd(run, good_, DISP_E_UNKNOWNNAME);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.made, good_.made);
    });
}

TEST_P(Sweep, anotherSuccessThanZeroChangesNothing) {
    sweep(everyCall(S_FALSE, true), [&](const SweptRun& run) {
        // The two calls where 1 has a meaning.
        if (run.log.failed == "IXMLDOMElement::getAttribute" || run.log.failed == "ADsEnumerateNext") return;
        EXPECT_EQ(run, static_cast<const Outcome&>(good_));
        EXPECT_EQ(run.made, good_.made);
        EXPECT_EQ(run.metabase, good_.metabase);
    });
}

TEST_P(Sweep, aSuccessThatDeliversNothingIsSurvived) {
    sweep(everyCall(S_OK), [&](const SweptRun& run) {
        EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 2);
        EXPECT_TRUE(run.metabase.starts_with(sweptMetabase));
    });
}

// A function that only its own object file calls isn't wrapped: there the linker resolves the call itself.
TEST(Calls, thatAreWrappedAllComeToTheirWrappers) {
    Names reached;
    const auto watch = [&, previous = std::string()](const SystemCall& call) mutable {
        reached.emplace(call.name);
        // Without its folder a new file is synchronised with the whole file system.
        return std::exchange(previous, call.name) == "rename" && call.name == "open" ? EIO : 0;
    };
    for (const Scenario& scenario : scenarios) {
        const SystemCallStop stop(1, watch, true);
        const ServerRun run = runOn(SweptServer(), scenario.second, {.call = "*", .number = 0});
        reached.insert(run.log.counted.begin(), run.log.counted.end());
    }
    std::istringstream wrapped(SKEINKEEP_WRAPPED);
    for (std::string name; wrapped >> name;) EXPECT_TRUE(reached.contains(name)) << name;
}

TEST(Calls, readTheSchemaOfEachClassOnce) {
    const SweptRun run = runWith(scenarios[0], {.call = "*", .number = 0});
    Names classes;
    for (std::size_t at = 0; (at = run.made.find(" class=", at)) != std::string::npos; ++at)
        classes.insert(run.made.substr(at, run.made.find(" path=", at) - at));
    EXPECT_GT(classes.size(), 3U);
    EXPECT_EQ(std::ranges::count(run.log.counted, "IADsClass::get_MandatoryProperties"), std::ssize(classes));
}

// A provider may keep a change until the object that made it is committed.
TEST(Calls, thatChangeAreFollowedByACommit) {
    const auto calls = runWith(scenarios[1], {.call = "*", .number = 0}).log.counted;
    Names changed;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (!changesAtOnce.contains(std::string(calls[i]))) continue;
        changed.emplace(calls[i]);
        EXPECT_EQ(calls.at(i + 1), "IADs::SetInfo") << calls[i];
    }
    EXPECT_EQ(changed, changesAtOnce);
}

INSTANTIATE_TEST_SUITE_P(, Sweep, testing::ValuesIn(scenarios),
                         [](const auto& test) { return test.param.first; });

} // namespace
