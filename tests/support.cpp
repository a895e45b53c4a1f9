#include "tests/support.h"

#include "platform.h"
#include "src/skeinKeep.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return in ? text.str() : "<none>";
}

/// The arguments as main gets them, behind the program's name.
std::vector<char*> pointersTo(std::vector<std::string>& arguments) {
    arguments.insert(arguments.begin(), "skeinKeep");
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return pointers;
}

int runPrepared(std::vector<char*> pointers, const std::function<void()>& prepare) {
    static const bool installed = (installPlatform(), true);
    (void)installed;
    prepare();
    runSettings = RunSettings{};
    return skeinKeepMain(static_cast<int>(pointers.size()) - 1, pointers.data());
}

} // namespace

Folder::Folder(Place place) {
    const bool inMemory = place == Place::inMemory && std::filesystem::is_directory("/dev/shm");
    std::string name = (inMemory ? "/dev/shm" : std::filesystem::temp_directory_path()) / "skeinKeepXXXXXX";
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
}

Folder::~Folder() { std::filesystem::remove_all(path_); }

void Folder::write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
}

std::string Folder::read(const std::string& name) const { return readBytes(path(name)); }

Outcome runChild(const Folder& folder, const std::function<int()>& body) {
    const Folder streams;
    const pid_t child = ::fork();
    if (child == 0) {
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        ::dup2(::open(streams.path("out").c_str(), flags, 0600), STDOUT_FILENO);
        ::dup2(::open(streams.path("err").c_str(), flags, 0600), STDERR_FILENO);
        if (::chdir(folder.path().c_str()) != 0) std::_Exit(99);
        std::exit(body());
    }
    int status = 0;
    rusage used{};
    ::wait4(child, &status, 0, &used);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), readBytes(streams.path("out")),
            readBytes(streams.path("err")), static_cast<std::size_t>(used.ru_maxrss) * 1024};
}

Outcome runProgram(const Folder& folder, std::vector<std::string> arguments, const std::vector<int>& closed) {
    const std::vector<char*> pointers = pointersTo(arguments);
    return runChild(folder, [&] {
        for (const int descriptor : closed) ::close(descriptor);
        ::execv(SKEINKEEP_PROGRAM, pointers.data());
        return 98;
    });
}

Outcome runTool(const Folder& folder, std::vector<std::string> arguments,
                const std::function<void()>& prepare) {
    const std::vector<char*> pointers = pointersTo(arguments);
    return runChild(folder, [&] { return runPrepared(pointers, prepare); });
}

int runHere(std::vector<std::string> arguments) {
    return runPrepared(pointersTo(arguments), [] {});
}

std::string folded(const std::string& text, const std::string& usual) {
    const std::string begin = "Error 0x";
    std::string result;
    std::size_t at = 0;
    for (std::size_t error = text.find(begin); error != std::string::npos; error = text.find(begin, at)) {
        result += text.substr(at, error - at);
        const std::size_t end = text.find('\n', error);
        const std::string line = text.substr(error + begin.size(), end - error - begin.size());
        const std::string status = line.substr(0, line.find(' '));
        const std::size_t stem = line.rfind(" at ") + 4;
        result.append("{").append(status == usual ? "" : status + " ");
        result.append(line, stem, line.rfind(':') - stem).append("}");
        at = end + 1;
    }
    return result + text.substr(at);
}

std::string unescaped(std::string text) {
    for (std::size_t at = text.find('\\'); at != std::string::npos; at = text.find('\\', at + 1)) {
        const char kind = text[at + 1];
        if (kind == 'x') {
            text.replace(at, 4, 1, static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
        } else {
            text.replace(at, 2, 1, kind == 'n' ? '\n' : kind == 'r' ? '\r' : kind == 't' ? '\t' : kind);
        }
    }
    return text;
}

std::vector<TestCase> testCases(const std::string& name) {
    std::istringstream lines(testData(name));
    std::vector<TestCase> cases;
    TestCase test;
    for (std::string line; std::getline(lines, line) || !test.empty(); line.clear()) {
        if (line.starts_with('#')) continue;
        const std::size_t blank = line.find(' ');
        if (!line.empty()) test[line.substr(0, blank)] = unescaped(line.substr(blank + 1));
        if (line.empty() && !test.empty()) cases.push_back(std::exchange(test, {}));
    }
    if (cases.size() < 2) std::abort();
    return cases;
}

std::string sampleMetabase() { return readBytes(SKEINKEEP_SAMPLES "/metabase.txt"); }

std::string testData(const std::string& name) { return readBytes(SKEINKEEP_TEST_DATA "/" + name); }
