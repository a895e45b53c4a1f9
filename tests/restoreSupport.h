// A small server, backup files for it, and restores of them.
#pragma once

#include "tests/faults.h"
#include "tests/support.h"

/// The metabase of objects below localhost, whose class is given first: "IIsComputer A:IIsWebDirectory
/// A/B:IIsWebFile". `values` are those of localhost.
std::string live(const std::string& objects, const std::string& values = "");

/// An `obj` element below the topmost one.
std::string element(const std::string& name, const std::string& className, const std::string& inside = "",
                    const std::string& props = "");

/// A backup file of localhost.
std::string file(const std::string& children, const std::string& props = "");

struct Restored : Outcome {
    std::string metabase;
};

Restored restore(const std::string& metabase, const std::string& xml, std::vector<std::string> options = {},
                 const Faults& faults = {});

/// A backup without what a restore doesn't bring back: whether a value is inherited, and the flagged
/// properties.
std::string comparable(const std::string& backup);

/// The `props` of an IIsWebServer with every kind of property, and the lines of a restore of it.
extern const std::string allProps;
extern const std::string allLines;
