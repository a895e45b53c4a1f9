#include "tests/support/servers.h"

#include <sstream>

namespace {

const std::string schema = testData("server-schema.txt");

} // namespace

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

Restored restore(const std::string& metabase, const std::string& backup, const Arguments& options,
                 const FaultPlan& plan) {
    const Folder folder(Folder::Place::inMemory);
    folder.write("metabase.txt", metabase);
    folder.write("f", backup);
    Arguments arguments = options;
    arguments.insert(arguments.end(), {"-restore", "-file", "f"});
    const FaultInjection injection(plan);
    const Outcome run = runHere(folder, arguments);
    return {run, folder.read("metabase.txt")};
}
