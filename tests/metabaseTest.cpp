// The live metabase and its file: what can be read, what a change leaves, and which changes of others it
// detects.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "directory/childEnumerator.h"
#include "directory/iis.h"
#include "metabase/records.h"
#include "metabase/valueSyntax.h"
#include "tests/support/errorLines.h"
#include "tests/support/processes.h"
#include "tests/support/tables.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace std::string_view_literals;

namespace {

const std::string tree = testData("boxes.txt");
const std::string schema = tree.substr(0, tree.find("object"));

/// A working directory with a metabase, which is the live one for as long as this lives.
class Live {
public:
    explicit Live(const std::string& text) {
        preparePlatform();
        folder.write("metabase.txt", text);
        std::filesystem::current_path(folder.path());
        EXPECT_EQ(CoInitializeEx(nullptr, 0), S_OK);
    }
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;
    ~Live() {
        end();
        std::filesystem::current_path(before_);
    }
    /// The orderly end of the run.
    void end() {
        if (!hasEnded_) CoUninitialize();
        hasEnded_ = true;
    }
    std::string text() const { return folder.read("metabase.txt"); }

    Folder folder;

private:
    std::filesystem::path before_ = std::filesystem::current_path();
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

/// A property as the metabase file would write it, with whether it is inherited.
std::string shown(IADs& object, const char16_t* name, metabase::ValueForm form = metabase::ValueForm::plain) {
    Variant value;
    if (object.GetEx(Bstr(name), value.out()) < 0) return "failed";
    std::string text;
    EXPECT_EQ(metabase::formatValue(text, form, value.get()), S_OK);
    ComPtr<IISBaseObject> base;
    EXPECT_EQ(query(object, base), S_OK);
    ComPtr<IDispatch> found;
    EXPECT_EQ(base->GetPropertyAttribObj(Bstr(name), found.out()), S_OK);
    ComPtr<IISPropertyAttribute> attribute;
    EXPECT_EQ(query(*found, attribute), S_OK);
    VARIANT_BOOL inherited = VARIANT_FALSE;
    EXPECT_EQ(attribute->get_Isinherited(&inherited), S_OK);
    return text + (inherited != VARIANT_FALSE ? " inherited" : "");
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
    for (const TableCase& test :
         Table("metabase-texts.txt", {{"after", "text"}, {}, {"error", "accepted"}})) {
        SCOPED_TRACE(test);
        ASSERT_TRUE(beginnings.contains(test["after"]));
        std::string error;
        const std::string once = canonical(beginnings.at(test["after"]) + test["text"], error);
        EXPECT_EQ(error, test.get("error", ""));
        EXPECT_EQ(once.empty(), test.has("error"));
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

TEST(Metabase, showsTheValueOfTheObjectOrOneAboveItOrTheDefault) {
    const Live live(
        schema +
        "above\n  Title \"top\"\nobject \"localhost\" Box\nobject \"localhost/x\" Leaf\n  Ports 1\nobject "
        "\"localhost/y\" Bin\n  Ports 7\nobject \"localhost/y/z\" Box\n  MimeMap mime(\".a\" \"b\")\nobject "
        "\"localhost/y/z/q\" Box\n  Title \"own\"\n");
    const auto deep = open(u"IIS://localhost/y/z/q");
    EXPECT_EQ(shown(*deep, u"Title"), "\"own\"");
    EXPECT_EQ(shown(*deep, u"Ports"), "[]");
    EXPECT_EQ(shown(*deep, u"MimeMap", metabase::ValueForm::mimeMap), "mime(\".a\" \"b\") inherited");
    EXPECT_EQ(shown(*deep, u"Note", metabase::ValueForm::opaque), "opaque(\"n\")");
    EXPECT_EQ(shown(*open(u"IIS://localhost/y/z"), u"Title"), "\"top\" inherited");
    EXPECT_EQ(shown(*open(u"IIS://localhost/x"), u"Title"), "failed");
    ComPtr<IISBaseObject> leaf;
    EXPECT_EQ(query(*open(u"IIS://localhost/x"), leaf), S_OK);
    ComPtr<IDispatch> attributes;
    EXPECT_EQ(leaf->GetPropertyAttribObj(Bstr(u"Title"), attributes.out()), E_ADS_PROPERTY_NOT_FOUND);
    EXPECT_FALSE(attributes);
}

TEST(Metabase, showsClassesAndSingleValues) {
    const Live live(tree);
    ComPtr<IADsClass> box;
    ASSERT_EQ(bindObject(u"IIS://localhost/schema/Box", box), S_OK);
    const std::pair<HRESULT (IADs::*)(BSTR*), std::u16string_view> texts[] = {
        {&IADs::get_Name, u"Box"},
        {&IADs::get_Class, u"Class"},
        {&IADs::get_ADsPath, u"IIS://localhost/schema/Box"}};
    for (const auto& [get, expected] : texts) {
        Bstr text;
        EXPECT_EQ((box.get()->*get)(text.out()), S_OK);
        EXPECT_EQ(view(text), expected);
    }
    Bstr none;
    Variant value;
    EXPECT_EQ(box->get_Parent(none.out()), E_NOTIMPL);
    EXPECT_EQ(box->get_Schema(none.out()), E_NOTIMPL);
    EXPECT_EQ(box->Get(Bstr(u"Title"), value.out()), E_NOTIMPL);
    EXPECT_EQ(box->GetEx(Bstr(u"Title"), value.out()), E_NOTIMPL);
    EXPECT_EQ(box->Put(Bstr(u"Title"), value.get()), E_NOTIMPL);
    EXPECT_EQ(box->SetInfo(), E_NOTIMPL);
    EXPECT_EQ(open(u"IIS://localhost")->get_Parent(none.out()), E_ADS_BAD_PATHNAME);
    EXPECT_EQ(open(u"IIS://localhost/b/c")->Get(Bstr(u"Title"), value.out()), S_OK);
    ASSERT_EQ(value.type(), VT_BSTR);
    EXPECT_EQ(view(value->bstrVal), u"none");
}

TEST(Metabase, commitsALineForEachChangeAndEndsCanonical) {
    const std::string head = "# kept\n";
    Live live(head + tree.substr(0, tree.size() - 1));
    const auto box = open(u"IIS://localhost/b/c");
    EXPECT_EQ(put(*box, u"Title", u"a \"b\""), S_OK);
    EXPECT_EQ(shown(*box, u"Title"), "\"none\"");
    EXPECT_EQ(put(*box, u"Ports", u"p"), S_OK);
    EXPECT_EQ(put(*box, u"None", u"p"), E_ADS_PROPERTY_NOT_FOUND);
    EXPECT_EQ(put(*box, u"MimeMap", u"p"), E_ADS_CANT_CONVERT_DATATYPE);
    SafeArray noEntries(1);
    noEntries[0] = Variant::ofString(Bstr(u"p")).detach();
    EXPECT_EQ(box->Put(Bstr(u"MimeMap"), Variant::ofArray(noEntries.detach()).get()),
              E_ADS_CANT_CONVERT_DATATYPE);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(shown(*box, u"Title"), "\"a \\\"b\\\"\"");

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

    const std::string changes = "+set \"localhost/b/c\" Title \"a \\\"b\\\"\" Ports \"p\"\n"
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
    const LONG second = 1;
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
        {[&] { return SafeArrayGetElement(list.get(), &second, value.out()); },
         "Invalid index: the list has fewer elements"}};
    for (const auto& [fail, text] : failures) {
        const HRESULT status = fail();
        setStatusDetail(status, "an earlier one");
        EXPECT_EQ(fail(), status);
        EXPECT_EQ(statusText(status), text);
    }
}

TEST(Metabase, readsACopyOfAnObjectThatPutWritesBack) {
    const Live live(tree);
    const auto box = open(u"IIS://localhost/b/c");
    Variant rules;
    ASSERT_EQ(box->Get(Bstr(u"IPSecurity"), rules.out()), S_OK);
    ComPtr<IISIPSecurity> security;
    ASSERT_EQ(query(*rules->pdispVal, security), S_OK);
    EXPECT_EQ(security->put_GrantByDefault(VARIANT_FALSE), S_OK);
    EXPECT_TRUE(
        shown(*box, u"IPSecurity", metabase::ValueForm::ipSecurity).starts_with("ipsec(GrantByDefault true"));
    EXPECT_EQ(box->Put(Bstr(u"IPSecurity"), rules.get()), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_TRUE(shown(*box, u"IPSecurity", metabase::ValueForm::ipSecurity)
                    .starts_with("ipsec(GrantByDefault false"));
}

TEST(Metabase, enumeratesTheChildrenThatItHadAtTheBeginningByName) {
    const Live live(
        schema +
        "object \"localhost\" Box\nobject \"localhost/b\" Bin\nobject \"localhost/\U00020000\" Bin\nobject "
        "\"localhost/\uFF76\" Bin\nobject \"localhost/B\" Bin\n");
    ComPtr<IADsContainer> root;
    EXPECT_EQ(query(*open(u"IIS://localhost"), root), S_OK);
    ChildEnumerator children;
    EXPECT_EQ(children.build(*root), S_OK);
    std::u16string names;
    for (Variant child; children.next(child) == S_OK;) {
        ComPtr<IADs> object;
        ASSERT_EQ(query(*child->pdispVal, object), S_OK);
        Bstr name;
        ASSERT_EQ(object->get_Name(name.out()), S_OK);
        names += view(name);
        ComPtr<IADsDeleteOps> deleteOps;
        ASSERT_EQ(query(*object, deleteOps), S_OK);
        EXPECT_EQ(deleteOps->DeleteObject(0), S_OK);
    }
    EXPECT_EQ(names, u"Bb\U00020000\uFF76");
}

TEST(Metabase, refusesTreesThatAreTooDeep) {
    std::string deep = schema + "object \"localhost\" Bin\n";
    std::string path = "localhost";
    for (int level = 2; level <= 256; ++level) deep += "object \"" + (path += "/d") + "\" Bin\n";
    const Live live(deep);
    std::u16string widePath(path.begin(), path.end());
    ComPtr<IADsContainer> bottom;
    EXPECT_EQ(query(*open((u"IIS://" + widePath).c_str()), bottom), S_OK);
    ComPtr<IDispatch> created;
    EXPECT_EQ(bottom->Create(Bstr(u"Bin"), Bstr(u"e"), created.out()), E_ADS_BAD_PATHNAME);
    EXPECT_EQ(live.text(), deep);
}

TEST(Metabase, detectsConcurrentEdits) {
    const std::pair<const char*, std::function<void(const Live&)>> edits[] = {
        {"appended", [](const Live& live) { live.folder.write("metabase.txt", tree + "\n"); }},
        {"touched", [](const Live&) { std::filesystem::last_write_time("metabase.txt", {}); }},
        {"replaced", [](const Live& live) {
             live.folder.write("other", tree);
             std::filesystem::rename("other", "metabase.txt");
         }}};
    for (const bool between : {false, true}) {
        for (const auto& [what, act] : edits) {
            Live live(tree);
            const auto box = open(u"IIS://localhost/b/c");
            EXPECT_TRUE(!between || change(*box) == S_OK);
            act(live);
            const std::string edited = live.text();
            EXPECT_EQ(change(*box), HRESULT_FROM_WIN32(ERROR_FILE_INVALID)) << what << between;
            live.end();
            EXPECT_EQ(live.text(), edited) << what << between;
        }
    }
}

TEST(Metabase, rewritesTheFileOfALinkWithItsMode) {
    Live live(tree);
    std::filesystem::create_directory("real");
    std::filesystem::rename("metabase.txt", "real/it");
    std::filesystem::create_symlink("real/it", "metabase.txt");
    ::chmod("real/it", 0640);
    live.folder.write("real/.it.rewrite", "left by a dead process");
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

TEST(Metabase, doesNotTouchAFileWithoutChanges) {
    const Folder folder;
    const std::string text = tree + "+set \"localhost/b/c\" Title \"x\"\n";
    folder.write("metabase.txt", text);
    std::filesystem::last_write_time(folder.path("metabase.txt"), {});
    EXPECT_EQ(runHere(folder, {"-backup", "-file", "f"}).exitCode, 0);
    EXPECT_EQ(std::filesystem::last_write_time(folder.path("metabase.txt")),
              std::filesystem::file_time_type());
    EXPECT_EQ(folder.read("metabase.txt"), text);
}

} // namespace
