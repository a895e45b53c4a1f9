// The "Error" lines of a run.
#pragma once

#include "com/status.h"
#include "tests/support/processes.h"

#include <string>
#include <vector>

struct ErrorLine {
    /// What is printed before it, from the end of the "Error" line before.
    std::string before;
    /// The status, as it is printed, and the status's text.
    std::string status;
    std::string text;
    /// The place of the report, the stem of the source and its line: "restore:17".
    std::string place;

    std::string stem() const { return place.substr(0, place.find(':')); }
};

/// The "Error" lines in a text, and what follows the last of them.
struct ErrorChain {
    std::vector<ErrorLine> lines;
    std::string after;
};
ErrorChain errorChain(const std::string& printed);

/// The text with a stem in braces in place of each "Error" line, after the status unless that is `usual`.
std::string folded(const std::string& text, const std::string& usual = "80070005");

/// A run with both streams folded.
Outcome folded(const Outcome& run, const std::string& usual = "80070005");

/// The system's text of a status, without its line end.
std::string statusText(HRESULT status);

/// A status as an "Error" line prints it.
std::string hex(HRESULT status);
