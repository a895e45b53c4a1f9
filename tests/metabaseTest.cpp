// The live metabase and its file: what can be read, what a change leaves, and who may make one.

#include "platform/automation/safearray.h"
#include "platform/com/runtime.h"
#include "platform/metabase/childEnumerator.h"
#include "platform/metabase/iis.h"
#include "platform/metabase/records.h"
#include "platform/metabase/valueText.h"
#include "platform/platform.h"
#include "tests/support.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::string schema = testData("boxes-schema.txt");
const std::string tree = schema + R"(object "localhost" Box
object "localhost/b" Bin
object "localhost/b/c" Box
  Ports [1, 2]
object "localhost/x" Leaf
)";

/// A working directory with a metabase, which is the live one for as long as this lives.
class Live {
public:
    explicit Live(const std::string& text) {
        installPlatformOnce();
        folder.write("metabase.txt", text);
        std::filesystem::current_path(folder.path());
        CoInitializeEx(nullptr, 0);
    }
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;
    ~Live() {
        leave();
        std::filesystem::current_path("/");
    }
    /// The orderly end of the run.
    void leave() {
        if (!left_) CoUninitialize();
        left_ = true;
    }
    std::string text() const { return folder.read("metabase.txt"); }

    Folder folder;

private:
    static void installPlatformOnce() {
        static const bool installed = (installPlatform(), true);
        (void)installed;
    }
    bool left_ = false;
};

ComPtr<IADs> open(const char16_t* path) {
    ComPtr<IADs> object;
    EXPECT_EQ(bindObject(path, object), S_OK);
    return object;
}

HRESULT put(IADs& object, const char16_t* name, const char16_t* text) {
    return object.Put(Bstr(name), Variant::ofString(Bstr(text)).get());
}

/// A property as the metabase file would write it, with whether it is inherited.
std::string shown(IADs& object, const char16_t* name, ValueForm form = ValueForm::plain) {
    Variant value;
    if (object.GetEx(Bstr(name), value.out()) < 0) return "failed";
    std::string text;
    EXPECT_EQ(writeValue(text, form, value.get()), S_OK);
    ComPtr<IISBaseObject> base;
    query(object, base);
    ComPtr<IDispatch> found;
    base->GetPropertyAttribObj(Bstr(name), found.out());
    ComPtr<IISPropertyAttribute> attribute;
    query(*found, attribute);
    VARIANT_BOOL inherited = VARIANT_FALSE;
    attribute->get_Isinherited(&inherited);
    return text + (inherited != VARIANT_FALSE ? " inherited" : "");
}

TEST(Metabase, readsBackWhatItWritesAndRefusesAllElse) {
    const std::string fine[] = {sampleMetabase(), tree, "# a\n\n#b\n" + schema,
                                schema + "above\n  Title \"x\"\n" + tree.substr(schema.size()),
                                schema + "object \"localhost\" Box\n  Ports [empty, null, i1:-1, bool:2, "
                                         "bytes:0aFF, cy:1.5, r8:nan, \"\\uD83D\"]\n"};
    for (const std::string& text : fine) {
        std::string once;
        for (const std::string& input : {text, std::string()}) {
            MetabaseTree read;
            MetabaseText result;
            std::string error;
            const std::string source = input.empty() ? once : input;
            ASSERT_TRUE(readMetabase(source, read, result, error)) << error;
            std::string again;
            writeMetabase(read, result.head, [&again](std::string_view piece) { again += piece; });
            EXPECT_TRUE(!input.empty() || again == once) << again;
            once = again;
        }
    }
    const std::pair<std::string, const char*> wrong[] = {
        {"", "line 1: the file ends ahead of its version line"},
        {"# x\n", "line 2: the file ends ahead of its version line"},
        {"\xEF\xBB\xBFmetabase 1\n", "line 1: a byte order mark, which the file can't begin with"},
        {schema + "class \"C\\u0000\" leaf deleteops () ()\n", "line 11: this can't be the name of a class"},
        {"metabase 2\n", "line 1: expected the version line \"metabase 1\""},
        {schema + "# late\n", "line 11: a comment can stand only at the head of the file"},
        {schema + "thing\n",
         "line 11: expected a property, a class, above, an object, a value behind a blank, or a change"},
        {schema + "property Title string single local \"\"\n", "line 11: a property that is defined already"},
        {schema + "property P text single local \"\"\n", "line 11: expected the type of a property"},
        {schema + "property P i4 two local 1\n", "line 11: expected single or list"},
        {schema + "property P mime list local []\n",
         "line 11: expected mime(, the form of this property's values"},
        {schema + "class C container deleteops (No) ()\n", "line 11: a property that isn't defined"},
        {schema + "object \"localhost\" No\n", "line 11: a class that isn't defined"},
        {schema + "object \"other\" Box\n", "line 11: the topmost object is localhost"},
        {schema + "  Title \"x\"\n", "line 11: a value without an object"},
        {tree + "above\n", "line 16: above stands ahead of the objects"},
        {tree + "object \"localhost/no/x\" Box\n",
         "line 16: an object whose parent doesn't stand ahead of it"},
        {tree + "object \"localhost/x/y\" Box\n", "line 16: an object of this class has no children"},
        {tree + "object \"localhost/x\" Box\n", "line 16: the object exists already"},
        {tree + "object \"localhost/schema\" Box\n", "line 16: schema is the place of the classes"},
        {tree + "object \"localhost/b//\" Box\n",
         "line 16: an object whose parent doesn't stand ahead of it"},
        {tree + "object \"localhost/\" Box\n", "line 16: this can't be the name of an object"},
        {tree + "object \"localhost/\\u0007\" Box\n", "line 16: this can't be the name of an object"},
        {tree + "object \"localhost/\\uD800\" Box\n", "line 16: this can't be the name of an object"},
        {tree + "object \"localhost/z\" Box more\n", "line 16: more text than the line can have"},
        {tree + "  Ports 1\n  Ports 2\n", "line 17: a second value for the property"},
        {tree + "  Ports 2147483648\n", "line 16: a number out of its type's range"},
        {tree + "  Ports [1 2]\n", "line 16: expected ']'"},
        {tree + "  Ports bytes:1\n", "line 16: bytes are pairs of hexadecimal digits"},
        {tree + "  Ports \"a\n", "line 16: a string without its closing quote"},
        {tree + "  Ports \"\\x\"\n",
         "line 16: a string with a wrong escape, a control character or no valid UTF-8"},
        {tree + "  Ports \"\xC3(\"\n",
         "line 16: a string with a wrong escape, a control character or no valid UTF-8"},
        {tree + "  Ports \"\xED\xA0\x80\"\n",
         "line 16: a string with a wrong escape, a control character or no valid UTF-8"},
        {tree + "+set \"localhost/no\" Title \"\"\n", "line 16: an object that doesn't exist"},
        {tree + "+delete \"localhost\"\n", "line 16: the topmost object can't be deleted"},
        {tree + "+del \"localhost/b\"\n", "line 16: expected +set, +create or +delete"}};
    for (const auto& [text, message] : wrong) {
        MetabaseTree read;
        MetabaseText result;
        std::string error;
        EXPECT_FALSE(readMetabase(text, read, result, error)) << message;
        EXPECT_EQ(error, message);
    }
    const Folder folder;
    folder.write("metabase.txt", tree + "x\n");
    EXPECT_NE(
        runProgram(folder, {"-backup", "-file", "f"}).err.find("(metabase.txt, line 16: expected a property"),
        std::string::npos);
}

TEST(Metabase, looksForAValueOnTheObjectThenAboveItThenAtTheDefault) {
    const Live live(
        schema +
        "above\n  Title \"top\"\nobject \"localhost\" Box\nobject \"localhost/x\" Leaf\n  Ports 1\nobject "
        "\"localhost/y\" Bin\n  Ports 7\nobject \"localhost/y/z\" Box\n  MimeMap mime(\".a\" \"b\")\nobject "
        "\"localhost/y/z/q\" Box\n  Title \"own\"\n");
    const auto deep = open(u"IIS://localhost/y/z/q");
    EXPECT_EQ(shown(*deep, u"Title"), "\"own\"");
    EXPECT_EQ(shown(*deep, u"Ports"), "[]");
    EXPECT_EQ(shown(*deep, u"MimeMap", ValueForm::mimeMap), "mime(\".a\" \"b\") inherited");
    EXPECT_EQ(shown(*deep, u"Note", ValueForm::opaque), "opaque(\"n\")");
    EXPECT_EQ(shown(*open(u"IIS://localhost/y/z"), u"Title"), "\"top\" inherited");
    EXPECT_EQ(shown(*open(u"IIS://localhost/x"), u"Title"), "failed");
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
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_EQ(shown(*box, u"Title"), "\"a \\\"b\\\"\"");

    ComPtr<IADsContainer> root;
    query(*open(u"IIS://localhost"), root);
    ComPtr<IDispatch> created;
    EXPECT_EQ(root->Create(Bstr(u"Box"), Bstr(u"a"), created.out()), S_OK);
    const auto gone = open(u"IIS://localhost/b/c");
    EXPECT_EQ(root->Delete(Bstr(u"Box"), Bstr(u"b")), E_ADS_UNKNOWN_OBJECT);
    EXPECT_EQ(root->Delete(Bstr(u"Bin"), Bstr(u"b")), S_OK);
    Bstr name;
    EXPECT_EQ(gone->get_Name(name.out()), E_ADS_OBJECT_UNBOUND);
    EXPECT_EQ(gone->SetInfo(), E_ADS_OBJECT_UNBOUND);

    const std::pair<std::u16string, HRESULT> refused[] = {
        {u"a", E_ADS_OBJECT_EXISTS},     {u"", E_ADS_BAD_PATHNAME},       {u"p/q", E_ADS_BAD_PATHNAME},
        {u"schema", E_ADS_BAD_PATHNAME}, {u"a\n", E_ADS_BAD_PATHNAME},    {u"\xDC00", E_ADS_BAD_PATHNAME},
        {u"\xFFFE", E_ADS_BAD_PATHNAME}, {{u'a', 0}, E_ADS_BAD_PATHNAME}, {u"\x85", E_ADS_BAD_PATHNAME}};
    for (const auto& [wrong, status] : refused) {
        EXPECT_EQ(root->Create(Bstr(u"Box"), Bstr(wrong), created.out()), status);
    }
    EXPECT_EQ(root->Create(Bstr(u"None"), Bstr(u"n"), created.out()), E_ADS_SCHEMA_VIOLATION);

    const std::string changes = "+set \"localhost/b/c\" Title \"a \\\"b\\\"\" Ports \"p\"\n"
                                "+create \"localhost/a\" Box\n+delete \"localhost/b\"\n";
    EXPECT_EQ(live.text(), head + tree + changes);
    live.leave();
    const std::string text = live.text();
    EXPECT_EQ(text.substr(0, head.size() + 10), head + "metabase 1");
    EXPECT_EQ(text.substr(text.find("object")), "object \"localhost\" Box\nobject \"localhost/a\" Box\n  "
                                                "KeyType \"Box\"\nobject \"localhost/x\" Leaf\n");
}

TEST(Metabase, storesEveryValueAsItWasGiven) {
    const Live live(tree);
    const auto box = open(u"IIS://localhost/b/c");
    for (const char* text : {"[]", "\"\\u0000\\uDC00\\t\"", "[true, bool:-2, i8:-9223372036854775808]",
                             "bytes:", "date:0.123", "decimal:-0.00", "[hresult:5, null]"}) {
        Variant value;
        ASSERT_TRUE(LineReader(text).value(ValueForm::plain, &value));
        EXPECT_EQ(box->Put(Bstr(u"Title"), value.get()), S_OK);
        EXPECT_EQ(box->SetInfo(), S_OK);
        EXPECT_EQ(shown(*box, u"Title"), text);
    }
    // An object that was read is a copy until it is put back.
    Variant rules;
    ASSERT_EQ(box->Get(Bstr(u"IPSecurity"), rules.out()), S_OK);
    ComPtr<IISIPSecurity> security;
    ASSERT_EQ(query(*rules->pdispVal, security), S_OK);
    security->put_GrantByDefault(VARIANT_FALSE);
    EXPECT_TRUE(shown(*box, u"IPSecurity", ValueForm::ipSecurity).starts_with("ipsec(GrantByDefault true"));
    EXPECT_EQ(box->Put(Bstr(u"IPSecurity"), rules.get()), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    EXPECT_TRUE(shown(*box, u"IPSecurity", ValueForm::ipSecurity).starts_with("ipsec(GrantByDefault false"));
}

TEST(Metabase, enumeratesByNameAsItStoodAtTheBeginning) {
    const Live live(
        schema +
        "object \"localhost\" Box\nobject \"localhost/b\" Bin\nobject \"localhost/\U00020000\" Bin\nobject "
        "\"localhost/\uFF76\" Bin\nobject \"localhost/B\" Bin\n");
    ComPtr<IADsContainer> root;
    query(*open(u"IIS://localhost"), root);
    ChildEnumerator children;
    children.build(*root);
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
    query(*open((u"IIS://" + widePath).c_str()), bottom);
    ComPtr<IDispatch> created;
    EXPECT_EQ(bottom->Create(Bstr(u"Bin"), Bstr(u"e"), created.out()), E_ADS_BAD_PATHNAME);
    EXPECT_EQ(live.text(), deep);
}

TEST(Metabase, hasOneWriterAndNoticesOtherHands) {
    const auto change = [](IADs& object) {
        return put(object, u"Title", u"t") == S_OK ? object.SetInfo() : E_FAIL;
    };
    {
        const Live live(tree);
        const auto box = open(u"IIS://localhost/b/c");
        const int other = ::open("metabase.txt", O_RDONLY);
        ASSERT_EQ(::flock(other, LOCK_EX), 0);
        EXPECT_EQ(change(*box), STATUS_LOCK_VIOLATION);
        EXPECT_EQ(shown(*box, u"Title"), "\"none\"");
        EXPECT_EQ(live.text(), tree);
        ::close(other);
        EXPECT_EQ(change(*box), S_OK);
    }
    const std::pair<const char*, std::function<void(const Live&)>> hands[] = {
        {"appended", [](const Live& live) { live.folder.write("metabase.txt", tree + "\n"); }},
        {"touched", [](const Live&) { std::filesystem::last_write_time("metabase.txt", {}); }},
        {"replaced", [](const Live& live) {
             live.folder.write("other", tree);
             std::filesystem::rename("other", "metabase.txt");
         }}};
    for (const bool between : {false, true}) {
        for (const auto& [what, act] : hands) {
            Live live(tree);
            const auto box = open(u"IIS://localhost/b/c");
            EXPECT_TRUE(!between || change(*box) == S_OK);
            act(live);
            const std::string left = live.text();
            EXPECT_EQ(change(*box), STATUS_FILE_ALTERED) << what << between;
            live.leave();
            EXPECT_EQ(live.text(), left) << what << between;
        }
    }
}

TEST(Metabase, keepsTheFileOfALinkItsModeAndNothingBeside) {
    Live live(tree);
    std::filesystem::create_directory("real");
    std::filesystem::rename("metabase.txt", "real/it");
    std::filesystem::create_symlink("real/it", "metabase.txt");
    ::chmod("real/it", 0640);
    live.folder.write("real/.it.rewrite", "left by a dead process");
    const auto box = open(u"IIS://localhost/b/c");
    EXPECT_EQ(put(*box, u"Title", u"t"), S_OK);
    EXPECT_EQ(box->SetInfo(), S_OK);
    live.leave();
    struct stat info {};
    ASSERT_EQ(::stat("real/it", &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
    EXPECT_TRUE(std::filesystem::is_symlink("metabase.txt"));
    EXPECT_NE(live.text().find("  Title \"t\"\n"), std::string::npos);
    EXPECT_EQ(live.text().find('+'), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists("real/.it.rewrite"));
}

TEST(Metabase, leavesAFileThatNothingChangedUntouched) {
    const Folder folder;
    folder.write("metabase.txt", tree + "+set \"localhost/b/c\" Title \"x\"\n");
    struct stat before {};
    ::stat(folder.path("metabase.txt").c_str(), &before);
    EXPECT_EQ(runProgram(folder, {"-backup", "-file", "f"}).exitCode, 0);
    struct stat after {};
    ::stat(folder.path("metabase.txt").c_str(), &after);
    EXPECT_EQ(std::memcmp(&before.st_mtim, &after.st_mtim, sizeof before.st_mtim), 0);
    EXPECT_EQ(std::memcmp(&before.st_ctim, &after.st_ctim, sizeof before.st_ctim), 0);
}

} // namespace
