// The live metabase and its file: what can be read, what a change leaves, and which changes of others it
// detects.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "directory/iis.h"
#include "metabase/records.h"
#include "tests/support/errorLines.h"
#include "tests/support/servers.h"
#include "tests/support/systemCalls.h"
#include "tests/support/tables.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace std::string_view_literals;

namespace {

const std::string tree = testData("boxes.txt");
const std::string schema = tree.substr(0, tree.find("object"));

/// A server whose metabase is the live one for as long as this lives.
class Live : public Server {
public:
    explicit Live(const std::string& text) : Server(text) {
        preparePlatform();
        EXPECT_EQ(CoInitializeEx(nullptr, 0), S_OK);
    }
    ~Live() { end(); }
    /// The orderly end of the run.
    void end() {
        if (!std::exchange(hasEnded_, true)) CoUninitialize();
    }

private:
    WorkingDirectory inside_{*this};
    bool hasEnded_ = false;
};

template <class T = IADs> ComPtr<T> open(const char16_t* path) {
    ComPtr<T> object;
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
    // What is after the text would end an escape or a string.
    const std::string longer = text + (text.ends_with('\\') ? "n\"" : "00\"");
    if (metabase::readMetabase({longer.data(), text.size()}, read, result, error))
        metabase::writeMetabase(read, result.preamble, [&](std::string_view piece) { written += piece; });
    return written;
}

TEST(Metabase, readsBackWhatItWritesAndRefusesAllElse) {
    const std::map<std::string, std::string> beginnings = {
        {"nothing", ""}, {"the schema", schema}, {"the tree", tree}, {"the sample", sampleMetabase()}};
    for (const TableCase& test :
         readTable("metabase-texts.txt", {{"text"}, {"after", "written"}, {"error", "accepted"}})) {
        SCOPED_TRACE(test);
        std::string error;
        const std::string once =
            canonical(beginnings.at(test.get("after", "the tree")) + test["text"], error);
        EXPECT_EQ(error, test.get("error", ""));
        EXPECT_EQ(once.empty(), test.has("error"));
        EXPECT_TRUE(once.ends_with(test.get("written", ""))) << once;
        EXPECT_EQ(once.empty() ? once : canonical(once, error), once) << error;
    }
    const std::string printed = backUp(tree + "x\n").err;
    EXPECT_TRUE(contains(printed, "(metabase.txt, line 16: expected property")) << printed;
    const Folder folder;
    std::filesystem::create_symlink("none", folder.path("metabase.txt"));
    const std::string dangling = runHere(folder, {"-backup", "-file", "f"}).err;
    EXPECT_TRUE(contains(dangling, "(metabase.txt: is a link to none, which doesn't")) << dangling;
}

TEST(Metabase, showsTheNamesOfClasses) {
    const Live live(tree);
    const auto box = open<IADsClass>(u"IIS://localhost/schema/Box");
    Bstr name;
    EXPECT_TRUE(box->get_Name(name.out()) == S_OK && equal(name, u"Box"));
    EXPECT_TRUE(box->get_Class(name.out()) == S_OK && equal(name, u"Class"));
    EXPECT_TRUE(box->get_ADsPath(name.out()) == S_OK && equal(name, u"IIS://localhost/schema/Box"));
    Variant value;
    for (const HRESULT status :
         {box->get_Parent(name.out()), box->get_Schema(name.out()), box->SetInfo(),
          box->Get(Bstr(u"Title"), value.out()), box->GetEx(Bstr(u"Title"), value.out()),
          box->Put(Bstr(u"Title"), value.get())})
        EXPECT_EQ(status, E_NOTIMPL);
}

TEST(Metabase, keepsItsTopmostObjectAndMakesNoFile) {
    const Live live(schema + "object \"localhost\" Bin\n");
    EXPECT_EQ(open<IADsDeleteOps>(u"IIS://localhost")->DeleteObject(0), E_ADS_BAD_PATHNAME);
    std::filesystem::remove("metabase.txt");
    EXPECT_EQ(change(*open(u"IIS://localhost")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(live.metabase(), Folder::noFile);
}

TEST(Metabase, commitsALineForEachChangeAndEndsCanonical) {
    const std::string head = "# kept\n";
    Live live(head + tree.substr(0, tree.size() - 1));
    const auto box = open(u"IIS://localhost/b/c");
    EXPECT_EQ(put(*box, u"Title", u"a \"b\""), S_OK);
    EXPECT_EQ(put(*box, u"Ports", u"p"), S_OK);
    Variant note;
    EXPECT_EQ(box->Get(Bstr(u"Note"), note.out()) | box->Put(Bstr(u"Note"), note.get()), S_OK);
    EXPECT_EQ(titleOf(*box), u"none");
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(titleOf(*box), u"a \"b\"");
    const auto root = open<IADsContainer>(u"IIS://localhost");
    ComPtr<IDispatch> created;
    EXPECT_EQ(root->Create(Bstr(u"Box"), Bstr(u"a"), created.out()), S_OK);
    EXPECT_EQ(root->Delete(Bstr(u"Bin"), Bstr(u"b")), S_OK);
    const std::string changes =
        "+set \"localhost/b/c\" Title \"a \\\"b\\\"\" Ports \"p\" Note opaque(\"n\")\n"
        "+create \"localhost/a\" Box\n+delete \"localhost/b\"\n";
    EXPECT_EQ(live.metabase(), head + tree + changes);
    live.end();
    const std::string text = live.metabase();
    EXPECT_EQ(text.substr(0, head.size() + 10), head + "metabase 1");
    EXPECT_EQ(text.substr(text.find("object")), "object \"localhost\" Box\nobject \"localhost/a\" Box\n  "
                                                "KeyType \"Box\"\nobject \"localhost/x\" Leaf\n");
}

// A text that was set by a failure that was passed over doesn't appear for a later one of the same status.
TEST(Metabase, refusesWithAStatusAndATextOfItsOwn) {
    const Live live(tree);
    const auto leaf = open(u"IIS://localhost/x");
    const auto top = open(u"IIS://localhost");
    const auto root = open<IADsContainer>(u"IIS://localhost");
    const auto inherited = open<IISBaseObject>(u"IIS://localhost/x");
    const std::string before = live.metabase();
    ComPtr<IADsContainer> none;
    ComPtr<IDispatch> made;
    Bstr name;
    Variant value;
    VARIANT vector{};
    vector.vt = VT_VECTOR;
    SafeArray list(1);
    list[0] = Variant::ofString(Bstr(u"p")).detach();
    const Variant noEntries = Variant::ofArray(list.detach());
    SafeArray objects(1);
    objects[0] = Variant::ofDispatch(top).detach();
    const Variant noMimeTypes = Variant::ofArray(objects.detach());
    LONG second = 1;
    const auto create = [&](const char16_t* className, std::u16string_view objectName) {
        return root->Create(Bstr(className), Bstr(objectName), made.out());
    };
    const std::tuple<HRESULT, const char*, std::function<HRESULT()>> failures[] = {
        {E_ADS_UNKNOWN_OBJECT, "IIS://localhost/none doesn't exist",
         [&] { return bindObject(u"IIS://localhost/none", none); }},
        {E_NOINTERFACE, "No such interface supported", [&] { return query(*leaf, none); }},
        {E_ADS_BAD_PATHNAME, "The topmost object has no parent", [&] { return top->get_Parent(name.out()); }},
        {E_ADS_PROPERTY_NOT_FOUND, "The class Leaf has no property Title",
         [&] { return leaf->GetEx(Bstr(u"Title"), value.out()); }},
        {E_ADS_PROPERTY_NOT_FOUND, "The class Leaf has no property Title",
         [&] { return inherited->GetPropertyAttribObj(Bstr(u"Title"), made.out()); }},
        {E_ADS_PROPERTY_NOT_FOUND, "The class Box has no property None",
         [&] { return put(*top, u"None", u"p"); }},
        {E_ADS_CANT_CONVERT_DATATYPE,
         "A value of this kind can't be stored in MimeMap, which has the type mime: \"\xFC?\\n\"",
         [&] { return put(*top, u"MimeMap", u"\xFC\x20AC\n"); }},
        {E_ADS_CANT_CONVERT_DATATYPE,
         "A value of this kind can't be stored in MimeMap, which has the type mime: \"p\"",
         [&] { return top->Put(Bstr(u"MimeMap"), noEntries.get()); }},
        {E_ADS_CANT_CONVERT_DATATYPE,
         "A value of this kind can't be stored in MimeMap, which has the type mime",
         [&] { return top->Put(Bstr(u"MimeMap"), noMimeTypes.get()); }},
        {E_ADS_UNKNOWN_OBJECT, "IIS://localhost has no child x of the class Box",
         [&] { return root->Delete(Bstr(u"Box"), Bstr(u"x")); }},
        {E_ADS_SCHEMA_VIOLATION, "The schema has no class No", [&] { return create(u"No", u"n"); }},
        {E_ADS_OBJECT_EXISTS, "IIS://localhost/x: the object exists already",
         [&] { return create(u"Box", u"x"); }},
        {E_ADS_BAD_PATHNAME, "IIS://localhost/p/q: this can't be the name of an object",
         [&] { return create(u"Box", u"p/q"); }},
        {DISP_E_BADVARTYPE, "Bad variable type: no value can have type=\"4096\"",
         [&] { return VariantCopy(value.out(), &vector); }},
        {DISP_E_BADVARTYPE, "Bad variable type: no value can have type=\"4096\"",
         [&] { return VariantClear(&vector); }},
        {DISP_E_BADINDEX, "Invalid index: the list has no such dimension",
         [&] { return SafeArrayGetLBound(noEntries->parray, 2, &second); }},
        {DISP_E_BADINDEX, "Invalid index: the list has fewer elements",
         [&] { return SafeArrayGetElement(noEntries->parray, &second, value.out()); }}};
    for (const auto& [status, text, call] : failures) {
        setStatusDetail(status, "an earlier one");
        EXPECT_EQ(call(), status) << text;
        EXPECT_EQ(statusText(status), text);
        EXPECT_FALSE(made || none);
    }
    for (const std::u16string_view wrong :
         {u""sv, u"schema"sv, u"a\n"sv, u"\xDC00"sv, u"\xFFFE"sv, u"a\0"sv, u"\x85"sv})
        EXPECT_EQ(create(u"Box", wrong), E_ADS_BAD_PATHNAME);
    EXPECT_EQ(live.metabase(), before);
}

TEST(Metabase, refusesEachCallOfADeletedObject) {
    const Live live(tree);
    constexpr const char16_t* path = u"IIS://localhost/b";
    const auto object = open(path);
    const auto container = open<IADsContainer>(path);
    const auto deleteOps = open<IADsDeleteOps>(path);
    const auto inherited = open<IISBaseObject>(path);
    const Bstr title(u"Title");
    const OLECHAR* const method = u"GetPropertyAttribObj";
    DISPID id = 0;
    Bstr text;
    Variant value;
    ComPtr<IDispatch> made;
    ComPtr<IUnknown> children;
    EXPECT_EQ(put(*object, u"Title", titleOf(*object).c_str()), S_OK);
    ASSERT_EQ(deleteOps->DeleteObject(0), S_OK);
    const std::string before = live.metabase();
    int call = 0;
    for (const HRESULT status :
         {object->GetIDsOfNames({}, &method, 1, 0, &id), object->get_Name(text.out()),
          object->get_Class(text.out()), object->get_ADsPath(text.out()), object->get_Parent(text.out()),
          object->get_Schema(text.out()), object->SetInfo(), object->Get(title, value.out()),
          object->Put(title, value.get()), container->get__NewEnum(children.out()),
          container->Create(Bstr(u"Box"), Bstr(u"n"), made.out()),
          container->Delete(Bstr(u"Box"), Bstr(u"c")), deleteOps->DeleteObject(0),
          inherited->GetPropertyAttribObj(title, made.out())}) {
        EXPECT_EQ(status, E_ADS_OBJECT_UNBOUND) << "call " << call;
        ++call;
    }
    EXPECT_EQ(statusText(E_ADS_OBJECT_UNBOUND), "IIS://localhost/b has been deleted");
    EXPECT_EQ(live.metabase(), before);
}

TEST(Metabase, detectsEachKindOfEdit) {
    using std::filesystem::last_write_time;
    const auto time = [] { return last_write_time("metabase.txt"); };
    const std::function<void()> edits[] = {[&] { last_write_time("metabase.txt", time() + 1s); },
                                           [&] { last_write_time("metabase.txt", time() + 1ns); },
                                           [&] {
                                               const auto before = time();
                                               std::ofstream("metabase.txt", std::ios::app) << "+";
                                               last_write_time("metabase.txt", before);
                                           },
                                           [&] {
                                               std::filesystem::copy("metabase.txt", "other");
                                               last_write_time("other", time());
                                               std::filesystem::rename("other", "metabase.txt");
                                           }};
    for (const auto& edit : edits) {
        for (const bool isAfterAChange : {false, true}) {
            Live live(tree);
            const auto box = open(u"IIS://localhost/b/c");
            EXPECT_TRUE(!isAfterAChange || change(*box) == S_OK);
            edit();
            const std::string edited = live.metabase();
            EXPECT_EQ(change(*box), HRESULT_FROM_WIN32(ERROR_FILE_INVALID)) << isAfterAChange;
            live.end();
            EXPECT_EQ(live.metabase(), edited) << isAfterAChange;
        }
    }
}

TEST(Metabase, mendsItsEndAfterAChangeThatFailed) {
    const Live live(tree);
    const auto box = open(u"IIS://localhost/b/c");
    int syncs = 0;
    for (const bool isCut : {true, false}) {
        const auto writePart = [&](const SystemCall& call) {
            syncs += call.name == "fsync" ? 1 : 0;
            if (call.name == "write") live.write("metabase.txt", live.metabase() + "+set \"loc");
            return call.name == "write" || (call.name == "ftruncate" && !isCut) ? EIO : 0;
        };
        const SystemCallStop stop(1, writePart, true);
        EXPECT_EQ(change(*box), HRESULT_FROM_WIN32(ERROR_WRITE_FAULT));
    }
    EXPECT_EQ(syncs, 2);
    EXPECT_EQ(change(*box), S_OK);
    EXPECT_EQ(live.metabase(), tree + "+set \"localhost/b/c\" Title \"t\"\n");
}

TEST(Metabase, rewritesTheFileOfALinkWithItsModeAndOwner) {
    Live live(tree);
    std::filesystem::create_directory("real");
    std::filesystem::rename("metabase.txt", "real/it");
    std::filesystem::create_symlink("real/it", "metabase.txt");
    // Only root can give a file away.
    const uid_t owner = ::geteuid() == 0 ? 1 : ::geteuid();
    ASSERT_EQ(::chown("real/it", owner, static_cast<gid_t>(-1)), 0);
    ::chmod("real/it", 04640);
    live.write("real/.it.rewrite", "left by a dead process");
    const auto box = open(u"IIS://localhost/b/c");
    EXPECT_EQ(change(*box), S_OK);
    live.end();
    struct stat info {};
    ASSERT_EQ(::stat("real/it", &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 04640U);
    EXPECT_EQ(info.st_uid, owner);
    EXPECT_TRUE(std::filesystem::is_symlink("metabase.txt"));
    EXPECT_TRUE(contains(live.metabase(), "  Title \"t\"\n"));
    EXPECT_FALSE(contains(live.metabase(), "+"));
    EXPECT_FALSE(std::filesystem::exists("real/.it.rewrite"));
}

} // namespace
