// A metabase file is refused with a reason, or its canonical text reads back the same and a backup gets along
// with it.

#include "metabase/records.h"
#include "tools/fuzz/fuzz.h"

namespace {

/// The canonical text of a file, "" with a reason in `error` for one that is refused.
std::string canonical(const std::string& text, std::string& error) {
    metabase::ObjectTree tree;
    metabase::MetabaseText result;
    if (!metabase::readMetabase(text, tree, result, error)) return "";
    require(result.size <= text.size() && text.starts_with(result.preamble));
    std::string written;
    metabase::writeMetabase(tree, result.preamble, [&](std::string_view piece) { written += piece; });
    return written;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder& folder = workingFolder();
    const std::string text = bytesOf(data, size);
    std::string error;
    const std::string once = canonical(text, error);
    require(once.empty() == !error.empty());
    if (once.empty()) return 0;
    require(canonical(once, error) == once);
    folder.write("metabase.txt", text);
    const int ofText = runOnStreams({"-backup", "-file", "first"});
    require(ofText == 0 || ofText == 2);
    folder.write("metabase.txt", once);
    require(runOnStreams({"-backup", "-file", "second"}) == ofText);
    require(folder.read("first") == folder.read("second"));
    return 0;
}
