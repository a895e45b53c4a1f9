// The "Error" lines of a run.
#pragma once

#include "com/status.h"

#include <string>
#include <vector>

struct ErrorLine {
    /// The status, as it is printed, and the status's text.
    std::string status;
    std::string text;
    /// The place of the report: the stem of the source and its line.
    std::string stem;
    std::string line;

    std::string place() const { return stem + ":" + line; }
};

/// The "Error" lines in a text, and the line before the first of them, up to it.
struct ErrorChain {
    std::vector<ErrorLine> lines;
    std::string before;
};
ErrorChain errorChain(const std::string& printed);

/// The text with a stem in braces in place of each "Error" line, after the status unless that is `usual`.
std::string folded(const std::string& text, const std::string& usual = "80070005");

/// The system's text of a status, without its line end.
std::string statusText(HRESULT status);

/// A status as an "Error" line prints it.
std::string hex(HRESULT status);
