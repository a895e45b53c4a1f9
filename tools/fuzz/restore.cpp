// A dry run takes any bytes for a backup file and never changes the server, nor does its exit code lie.

#include "tools/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder& folder = workingFolder();
    static const std::string server = testData("server-schema.txt") + R"(object "localhost" IIsWebServer
  Ports ["a", 2, r8:0.5]
object "localhost/D" IIsWebDirectory
object "localhost/D/E" IIsWebFile
object "localhost/V" IIsWebVirtualDir
object "localhost/V/S" IIsWebServer
)";
    static const bool written = (folder.write("metabase.txt", server), true);
    folder.write("f", bytesOf(data, size));
    const int exitCode = runOnStreams({"-restore", "-n", "-file", "f"});
    require(written && (exitCode == 0 || exitCode == 2));
    require(folder.read("metabase.txt") == server);
    return 0;
}
