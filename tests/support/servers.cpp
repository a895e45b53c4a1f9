#include "tests/support/servers.h"

#include <sstream>

const std::string schema = testData("server-schema.txt");

const std::string sweptMetabase = schema + testData("sweep-objects.txt");

std::string metabaseWith(const std::string& objects, const std::string& values) {
    std::istringstream words(objects);
    std::string word;
    words >> word;
    std::string text = schema + "object \"localhost\" " + word + "\n" + values;
    while (words >> word) {
        const std::size_t colon = word.find(':');
        text += "object \"localhost/" + word.substr(0, colon) + "\" " + word.substr(colon + 1) + "\n";
    }
    return text;
}

std::string deepestTree() {
    std::string objects = "IIsWebDirectory";
    std::string path;
    for (int level = 2; level <= 256; ++level)
        objects.append(" ").append(path.append(level > 2 ? "/d" : "d")).append(":IIsWebDirectory");
    return objects;
}

std::string objElement(const std::string& name, const std::string& className, const std::string& children,
                       const std::string& props) {
    return "<obj name=\"" + name + "\" class=\"" + className + "\" path=\"P/" + name + "\"><props>" + props +
           "</props><children>" + children + "</children></obj>";
}

std::string backupFile(const std::string& children, const std::string& props) {
    return "<metabase version=\"1.0.0\"><obj path=\"IIS://localhost\"><props>" + props +
           "</props><children>" + children + "</children></obj></metabase>";
}

const Arguments restoring = {"-restore", "-file", "f"};

std::string stateOf(const Folder& folder) {
    const Outcome run = runHere(folder, {"-backup", "-file", "state"});
    return run.exitCode == 0 ? folder.read("state") : run.out + run.err;
}

ServerRun runOn(const Server& server, const Arguments& arguments, const FaultPlan& plan) {
    const FaultInjection injection(plan);
    const Outcome run = runHere(server, arguments);
    return {run, server.metabase(), server.read("made"), injection.log()};
}

ServerRun restore(const std::string& metabase, const std::string& backup, const Arguments& options,
                  const FaultPlan& plan) {
    Arguments arguments = options;
    arguments.insert(arguments.end(), {"-restore", "-file", "f"});
    return runOn(Server(metabase, backup), arguments, plan);
}

ServerRun backUp(const std::string& metabase, const Arguments& options, const FaultPlan& plan) {
    Arguments arguments = options;
    arguments.insert(arguments.end(), {"-backup", "-file", "made"});
    return runOn(Server(metabase), arguments, plan);
}
