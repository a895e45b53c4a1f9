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

/// A folder with the metabase of a server and a backup file `f`.
struct Server : Folder {
    explicit Server(const std::string& text, const std::string& backup = "") : Folder(Place::inMemory) {
        write("metabase.txt", text);
        write("f", backup);
    }
    std::string metabase() const { return read("metabase.txt"); }
    /// Puts a folder in the place of the file's replacement, so that a run leaves a line for each change.
    void keepLinesOfChanges() const { std::filesystem::create_directory(path(".metabase.txt.rewrite")); }
};

/// A small server with something for every handler, and a backup file that differs from it everywhere.
extern const std::string sweptMetabase;
struct SweptServer : Server {
    explicit SweptServer(const std::string& text = sweptMetabase)
        : Server(text, testData("sweep-backup.xml")) {}
};

/// The command line that restores the backup file `f`.
extern const Arguments restoring;

/// The state of the server in a folder, whatever the form of its metabase file; the reason, if a backup
/// fails.
std::string stateOf(const Folder& folder);

/// What a run on a server left, with the metabase and the backup file `made`.
struct ServerRun : Outcome {
    std::string metabase;
    std::string made;
    CallLog log;
};

/// Runs of the program in this process, under a plan of faults: any, a restore of a backup file, and a
/// backup.
ServerRun runOn(const Server& server, const Arguments& arguments, const FaultPlan& plan);
ServerRun restore(const std::string& metabase, const std::string& backup, const Arguments& options = {},
                  const FaultPlan& plan = {});
ServerRun backUp(const std::string& metabase, const Arguments& options = {}, const FaultPlan& plan = {});
