// Folders, files and runs of the program, as a user has them.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Whether everything is built with sanitizers, which take time and memory of their own.
#ifdef SKEINKEEP_SANITIZED
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// A new folder that goes with its owner.
class Folder {
public:
    /// In memory, where the system offers that, is the place for thousands of changes to small files.
    enum class Place { onDisk, inMemory };

    explicit Folder(Place place = Place::onDisk);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    std::string path(const std::string& name = "") const { return path_ + "/" + name; }
    void write(const std::string& name, const std::string& bytes) const;
    /// The bytes of a file, "<none>" if there is none.
    std::string read(const std::string& name) const;

private:
    std::string path_;
};

struct Outcome {
    int exitCode = 0;
    std::string out;
    std::string err;
    /// The most memory that the process ever held.
    std::size_t peakBytes = 0;
};

/// Runs `body` in a process of its own in a folder; what it returns is the exit code.
Outcome runChild(const Folder& folder, const std::function<int()>& body);

/// Runs the built program in a folder, with some of its standard streams closed.
Outcome runProgram(const Folder& folder, std::vector<std::string> arguments,
                   const std::vector<int>& closed = {});

/// Runs the entry point in a process of its own in a folder, after `prepare`, which may put other providers
/// in place.
Outcome runTool(
    const Folder& folder, std::vector<std::string> arguments, const std::function<void()>& prepare = [] {});

/// Runs the entry point in this process, on the settings and the platform that every run begins with, and
/// gives the exit code.
int runHere(std::vector<std::string> arguments);

/// The text with each "Error" line as the stem in braces, with the status ahead of it unless that is `usual`.
std::string folded(const std::string& text, const std::string& usual = "80070005");

/// The bytes of the sample metabase, and of a file in tests/data.
std::string sampleMetabase();
std::string testData(const std::string& name);

/// The cases of a file in tests/data: lines of a key and a text, in which \n and \xNN are escapes. A blank
/// line ends a case, and lines that begin with # are comments.
using TestCase = std::map<std::string, std::string>;
std::vector<TestCase> testCases(const std::string& name);
