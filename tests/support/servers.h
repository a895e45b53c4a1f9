// Small servers, backup files for them, and restores of them.
#pragma once

#include "tests/support/faults.h"
#include "tests/support/processes.h"

/// The metabase of an object `localhost` of a class, and of objects below it: "IIsComputer A:IIsWebDirectory
/// A/B:IIsWebFile". `values` are the lines of localhost's values.
std::string metabaseWith(const std::string& objects, const std::string& values = "");

/// The objects of the deepest tree that there is: 256 levels.
std::string deepestTree();

/// An `obj` element below the topmost one.
std::string objElement(const std::string& name, const std::string& className,
                       const std::string& children = "", const std::string& props = "");

/// A backup file of localhost.
std::string backupFile(const std::string& children, const std::string& props = "");

struct Restored : Outcome {
    /// The file metabase.txt after the run.
    std::string metabase;
};

/// Restores a backup file on a server, under a plan of faults.
Restored restore(const std::string& metabase, const std::string& backup, const Arguments& options = {},
                 const FaultPlan& plan = {});
