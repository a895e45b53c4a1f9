// The live metabase and its file: what can be read, what a change leaves, and which changes of others it
// detects.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "directory/iis.h"
#include "metabase/records.h"
#include "metabase/valueSyntax.h"
#include "tests/support/errorLines.h"
#include "tests/support/processes.h"
#include "tests/support/tables.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace std::string_view_literals;

namespace {

const std::string tree = testData("boxes.txt");
const std::string schema = tree.substr(0, tree.find("object"));

/// A folder with a metabase, which is the live one for as long as this lives.
class Live : public Folder {
public:
    explicit Live(const std::string& text) {
        preparePlatform();
        write("metabase.txt", text);
        EXPECT_EQ(CoInitializeEx(nullptr, 0), S_OK);
    }
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;
    ~Live() { end(); }
    /// The orderly end of the run.
    void end() {
        if (!std::exchange(hasEnded_, true)) CoUninitialize();
    }
    std::string text() const { return read("metabase.txt"); }

private:
    WorkingDirectory inside_{*this};
    bool hasEnded_ = false;
};

ComPtr<IADs> open(const char16_t* path) {
    ComPtr<IADs> object;
    EXPECT_EQ(bindObject(path, object), S_OK);
    return object;
}

HRESULT put(IADs& object, const char16_t* name, const char16_t* text) {
    return object.Put(Bstr(name), Variant::ofString(Bstr(text)).get());
}

/// Commits a title.
HRESULT change(IADs& object) { return put(object, u"Title", u"t") == S_OK ? object.SetInfo() : E_FAIL; }

/// The title of an object.
std::u16string titleOf(IADs& object) {
    Variant value;
    EXPECT_EQ(object.Get(Bstr(u"Title"), value.out()), S_OK);
    return value.type() == VT_BSTR ? std::u16string(view(value->bstrVal)) : u"no text";
}

/// The canonical form of a text; empty, with the reason in `error`, for one that is refused.
std::string canonical(const std::string& text, std::string& error) {
    metabase::ObjectTree read;
    metabase::MetabaseText result;
    std::string written;
    if (metabase::readMetabase(text, read, result, error))
        metabase::writeMetabase(read, result.head, [&](std::string_view piece) { written += piece; });
    return written;
}

TEST(Metabase, readsBackWhatItWritesAndRefusesAllElse) {
    const std::map<std::string, std::string> beginnings = {
        {"nothing", ""}, {"the schema", schema}, {"the tree", tree}, {"the sample", sampleMetabase()}};
    for (const TableCase& test : Table("metabase-texts.txt", {{"text"}, {"after", "written", "error"}})) {
        SCOPED_TRACE(test);
        std::string error;
        const std::string once =
            canonical(beginnings.at(test.get("after", "the tree")) + test["text"], error);
        EXPECT_EQ(error, test.get("error", ""));
        EXPECT_EQ(once.empty(), test.has("error"));
        EXPECT_TRUE(once.ends_with(test.get("written", ""))) << once;
        EXPECT_EQ(once.empty() ? once : canonical(once, error), once) << error;
    }
    const Folder folder;
    folder.write("metabase.txt", tree + "x\n");
    const std::string printed = runHere(folder, {"-backup", "-file", "f"}).err;
    EXPECT_NE(printed.find("(metabase.txt, line 16: expected property"), std::string::npos) << printed;
    std::filesystem::remove(folder.path("metabase.txt"));
    std::filesystem::create_symlink("none", folder.path("metabase.txt"));
    const std::string dangling = runHere(folder, {"-backup", "-file", "f"}).err;
    EXPECT_NE(dangling.find("(metabase.txt: is a link to none, which doesn't"), std::string::npos)
        << dangling;
}

TEST(Metabase, showsClassesAndTheirPropertiesAlone) {
    const Live live(tree);
    ComPtr<IADsClass> box;
    ASSERT_EQ(bindObject(u"IIS://localhost/schema/Box", box), S_OK);
    Bstr name;
    Bstr className;
    Bstr path;
    EXPECT_EQ(box->get_Name(name.out()) | box->get_Class(className.out()) | box->get_ADsPath(path.out()),
              S_OK);
    EXPECT_TRUE(equal(name, u"Box") && equal(className, u"Class") &&
                equal(path, u"IIS://localhost/schema/Box"));
    Variant value;
    for (const HRESULT status :
         {box->get_Parent(name.out()), box->get_Schema(name.out()), box->SetInfo(),
          box->Get(Bstr(u"Title"), value.out()), box->GetEx(Bstr(u"Title"), value.out()),
          box->Put(Bstr(u"Title"), value.get())})
        EXPECT_EQ(status, E_NOTIMPL);
    EXPECT_EQ(open(u"IIS://localhost")->get_Parent(name.out()), E_ADS_BAD_PATHNAME);
    ComPtr<IISBaseObject> leaf;
    ASSERT_EQ(query(*open(u"IIS://localhost/x"), leaf), S_OK);
    ComPtr<IDispatch> attributes;
    EXPECT_EQ(leaf->GetPropertyAttribObj(Bstr(u"Title"), attributes.out()), E_ADS_PROPERTY_NOT_FOUND);
    EXPECT_FALSE(attributes);
}

TEST(Metabase, keepsItsTopmostObjectAndMakesNoFile) {
    const Live live(schema + "object \"localhost\" Bin\n");
    ComPtr<IADsDeleteOps> top;
    ASSERT_EQ(query(*open(u"IIS://localhost"), top), S_OK);
    EXPECT_EQ(top->DeleteObject(0), E_ADS_BAD_PATHNAME);
    std::filesystem::remove("metabase.txt");
    EXPECT_EQ(change(*open(u"IIS://localhost")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(live.text(), Folder::noFile);
}

TEST(Metabase, commitsALineForEachChangeAndEndsCanonical) {
    const std::string head = "# kept\n";
    Live live(head + tree.substr(0, tree.size() - 1));
    const auto box = open(u"IIS://localhost/b/c");
    EXPECT_EQ(put(*box, u"Title", u"a \"b\""), S_OK);
    EXPECT_EQ(titleOf(*box), u"none");
    EXPECT_EQ(put(*box, u"Ports", u"p"), S_OK);
    Variant note;
    EXPECT_EQ(box->Get(Bstr(u"Note"), note.out()) | box->Put(Bstr(u"Note"), note.get()), S_OK);
    EXPECT_EQ(put(*box, u"None", u"p"), E_ADS_PROPERTY_NOT_FOUND);
    EXPECT_EQ(put(*box, u"MimeMap", u"p"), E_ADS_CANT_CONVERT_DATATYPE);
    SafeArray noEntries(1);
    noEntries[0] = Variant::ofString(Bstr(u"p")).detach();
    EXPECT_EQ(box->Put(Bstr(u"MimeMap"), Variant::ofArray(noEntries.detach()).get()),
              E_ADS_CANT_CONVERT_DATATYPE);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(titleOf(*box), u"a \"b\"");

    ComPtr<IADsContainer> root;
    EXPECT_EQ(query(*open(u"IIS://localhost"), root), S_OK);
    ComPtr<IDispatch> created;
    EXPECT_EQ(root->Create(Bstr(u"Box"), Bstr(u"a"), created.out()), S_OK);
    const auto deleted = open(u"IIS://localhost/b/c");
    EXPECT_EQ(root->Delete(Bstr(u"Box"), Bstr(u"b")), E_ADS_UNKNOWN_OBJECT);
    EXPECT_EQ(root->Delete(Bstr(u"Bin"), Bstr(u"b")), S_OK);
    Bstr name;
    EXPECT_EQ(deleted->get_Name(name.out()), E_ADS_OBJECT_UNBOUND);
    EXPECT_EQ(deleted->SetInfo(), E_ADS_OBJECT_UNBOUND);

    EXPECT_EQ(root->Create(Bstr(u"Box"), Bstr(u"a"), created.out()), E_ADS_OBJECT_EXISTS);
    for (const std::u16string_view wrong :
         {u""sv, u"p/q"sv, u"schema"sv, u"a\n"sv, u"\xDC00"sv, u"\xFFFE"sv, u"a\0"sv, u"\x85"sv})
        EXPECT_EQ(root->Create(Bstr(u"Box"), Bstr(wrong), created.out()), E_ADS_BAD_PATHNAME);
    EXPECT_EQ(root->Create(Bstr(u"None"), Bstr(u"n"), created.out()), E_ADS_SCHEMA_VIOLATION);

    const std::string changes =
        "+set \"localhost/b/c\" Title \"a \\\"b\\\"\" Ports \"p\" Note opaque(\"n\")\n"
        "+create \"localhost/a\" Box\n+delete \"localhost/b\"\n";
    EXPECT_EQ(live.text(), head + tree + changes);
    live.end();
    const std::string text = live.text();
    EXPECT_EQ(text.substr(0, head.size() + 10), head + "metabase 1");
    EXPECT_EQ(text.substr(text.find("object")), "object \"localhost\" Box\nobject \"localhost/a\" Box\n  "
                                                "KeyType \"Box\"\nobject \"localhost/x\" Leaf\n");
}

// A text that was set by a failure that was passed over doesn't appear for a later one of the same status.
TEST(Metabase, setsTheTextOfEachFailure) {
    const Live live(tree);
    const auto leaf = open(u"IIS://localhost/x");
    const auto box = open(u"IIS://localhost/b/c");
    ComPtr<IADsContainer> root;
    ASSERT_EQ(query(*open(u"IIS://localhost"), root), S_OK);
    ASSERT_EQ(root->Delete(Bstr(u"Bin"), Bstr(u"b")), S_OK);
    ComPtr<IADsContainer> none;
    ComPtr<IDispatch> created;
    Variant value;
    VARIANT vector{};
    vector.vt = VT_VECTOR;
    SafeArray list(1);
    LONG second = 1;
    const std::pair<std::function<HRESULT()>, std::string> failures[] = {
        {[&] { return bindObject(u"IIS://localhost/none", none); }, "IIS://localhost/none doesn't exist"},
        {[&] { return query(*leaf, none); }, "No such interface supported"},
        {[&] { return leaf->GetEx(Bstr(u"Title"), value.out()); }, "The class Leaf has no property Title"},
        {[&] { return put(*open(u"IIS://localhost"), u"MimeMap", u"\xFC\x20AC\n"); },
         "A value of this kind can't be stored in MimeMap, which has the type mime: \"\xFC?\\n\""},
        {[&] { return box->SetInfo(); }, "IIS://localhost/b/c has been deleted"},
        {[&] { return root->Delete(Bstr(u"Box"), Bstr(u"x")); },
         "IIS://localhost has no child x of the class Box"},
        {[&] { return root->Create(Bstr(u"No"), Bstr(u"n"), created.out()); }, "The schema has no class No"},
        {[&] { return root->Create(Bstr(u"Box"), Bstr(u"x"), created.out()); },
         "IIS://localhost/x: the object exists already"},
        {[&] { return VariantCopy(value.out(), &vector); },
         "Bad variable type: no value can have type=\"4096\""},
        {[&] { return VariantClear(&vector); }, "Bad variable type: no value can have type=\"4096\""},
        {[&] { return SafeArrayGetLBound(list.get(), 2, &second); },
         "Invalid index: the list has no such dimension"},
        {[&] { return SafeArrayGetElement(list.get(), &second, value.out()); },
         "Invalid index: the list has fewer elements"}};
    for (const auto& [fail, text] : failures) {
        const HRESULT status = fail();
        setStatusDetail(status, "an earlier one");
        EXPECT_EQ(fail(), status);
        EXPECT_EQ(statusText(status), text);
    }
}

TEST(Metabase, detectsEditsThatLeaveTheSize) {
    const auto touch = [] { std::filesystem::last_write_time("metabase.txt", {}); };
    const auto replaceWithTheSameTime = [] {
        std::filesystem::copy("metabase.txt", "other");
        std::filesystem::last_write_time("other", std::filesystem::last_write_time("metabase.txt"));
        std::filesystem::rename("other", "metabase.txt");
    };
    for (const std::function<void()>& edit : {std::function<void()>(touch), {replaceWithTheSameTime}}) {
        for (const bool isAfterAChange : {false, true}) {
            Live live(tree);
            const auto box = open(u"IIS://localhost/b/c");
            EXPECT_TRUE(!isAfterAChange || change(*box) == S_OK);
            edit();
            const std::string edited = live.text();
            EXPECT_EQ(change(*box), HRESULT_FROM_WIN32(ERROR_FILE_INVALID)) << isAfterAChange;
            live.end();
            EXPECT_EQ(live.text(), edited) << isAfterAChange;
        }
    }
}

TEST(Metabase, rewritesTheFileOfALinkWithItsMode) {
    Live live(tree);
    std::filesystem::create_directory("real");
    std::filesystem::rename("metabase.txt", "real/it");
    std::filesystem::create_symlink("real/it", "metabase.txt");
    ::chmod("real/it", 0640);
    live.write("real/.it.rewrite", "left by a dead process");
    const auto box = open(u"IIS://localhost/b/c");
    EXPECT_EQ(change(*box), S_OK);
    live.end();
    struct stat info {};
    ASSERT_EQ(::stat("real/it", &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
    EXPECT_TRUE(std::filesystem::is_symlink("metabase.txt"));
    EXPECT_NE(live.text().find("  Title \"t\"\n"), std::string::npos);
    EXPECT_EQ(live.text().find('+'), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists("real/.it.rewrite"));
}

} // namespace
