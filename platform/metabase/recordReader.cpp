#include "records.h"
#include "valueSyntax.h"

#include <limits>

namespace {

/// Reads the lines of a metabase file one after the other into a tree.
class RecordReader {
public:
    explicit RecordReader(MetabaseTree& tree) : tree_(tree) {}

    /// Takes a line without its line end.
    bool record(std::string_view line);
    bool isHead() const { return !versionSeen_; }
    std::string& error() { return error_; }

private:
    bool fail(std::string_view message) {
        error_ = message;
        return false;
    }
    /// Passes on what the line reader has to say.
    bool failLine() { return fail(line_.error()); }

    bool headLine(std::string_view line);
    bool property();
    bool propertyName(PropertyId& property);
    bool expectedProperty(PropertyId& property);
    bool namedProperty(PropertyId& property);
    bool propertyValue(PropertyId property, std::string_view& text);
    bool propertyList(std::vector<PropertyId>& list);
    bool classRecord();
    bool className(const ClassDefinition*& definition);
    bool above();
    bool object();
    bool addObject(Node*& node);
    bool existing(Node*& node);
    bool value();
    bool change();
    bool oneOf(std::string_view yes, std::string_view no, bool& answer);

    MetabaseTree& tree_;
    LineReader line_;
    Node* current_ = nullptr;
    PropertyId lastProperty_ = 0;
    /// For each property the one that followed it last. Objects of a class have theirs in one order.
    std::vector<PropertyId> followers_;
    bool versionSeen_ = false;
    std::string error_;
};

bool RecordReader::record(std::string_view line) {
    if (line.size() > std::numeric_limits<std::uint32_t>::max()) return fail("a line too long");
    line_.start(line);
    if (!versionSeen_) return headLine(line);
    if (line_.atEnd()) return true;
    line_.start(line);

    const char first = line.front();
    bool understood = false;
    if (first == ' ' || first == '\t') {
        understood = value();
    } else if (first == '+') {
        current_ = nullptr;
        understood = change();
    } else if (first == '#') {
        return fail("a comment can stand only at the head of the file");
    } else {
        const std::string_view kind = line_.word();
        if (kind == "object") {
            understood = object();
        } else if (kind == "property") {
            understood = property();
        } else if (kind == "class") {
            understood = classRecord();
        } else if (kind == "above") {
            understood = above();
        } else {
            return fail(
                "expected a property, a class, above, an object, a value behind a blank, or a change");
        }
    }
    return understood && (line_.atEnd() || fail("more text than the line can have"));
}

bool RecordReader::headLine(std::string_view line) {
    if (line_.atEnd() || line.front() == '#') return true;
    if (line.starts_with("\xEF\xBB\xBF")) return fail("a byte order mark, which the file can't begin with");
    versionSeen_ = line_.word() == "metabase" && line_.word() == "1" && line_.atEnd();
    return versionSeen_ || fail("expected the version line \"metabase 1\"");
}

bool RecordReader::oneOf(std::string_view yes, std::string_view no, bool& answer) {
    const std::string_view word = line_.word();
    answer = word == yes;
    return answer || word == no || fail("expected " + std::string(yes) + " or " + std::string(no));
}

bool RecordReader::property() {
    PropertyDefinition definition;
    std::u16string_view read;
    if (!line_.name(read)) return failLine();
    if (read.empty()) return fail("a property without a name");
    const std::u16string name(read);
    definition.name = name;
    definition.typeWord = line_.word();
    if (!findForm(definition.typeWord, definition.form)) return fail("expected the type of a property");
    if (!oneOf("single", "list", definition.single)) return false;
    if (!oneOf("inheritable", "local", definition.inheritable)) return false;
    const char* begin = line_.rest().data();
    if (!line_.value(definition.form, nullptr)) return failLine();
    definition.defaultText = {begin, static_cast<std::size_t>(line_.place() - begin)};
    return tree_.addProperty(definition) || fail("a property that is defined already");
}

/// Takes the name of the property that is expected to come; leaves the line alone if it doesn't.
bool RecordReader::expectedProperty(PropertyId& property) {
    if (tree_.properties().empty()) return false;
    followers_.resize(tree_.properties().size());
    property = followers_[lastProperty_];
    return line_.optionalWord(tree_.properties()[property].nameText);
}

bool RecordReader::propertyName(PropertyId& property) {
    if (!expectedProperty(property)) {
        if (!namedProperty(property)) return false;
        followers_[lastProperty_] = property;
    }
    lastProperty_ = property;
    return true;
}

bool RecordReader::namedProperty(PropertyId& property) {
    std::u16string_view name;
    if (!line_.name(name)) return failLine();
    const std::optional<PropertyId> found = tree_.findProperty(name);
    if (!found) return fail("a property that isn't defined");
    property = *found;
    return true;
}

bool RecordReader::propertyValue(PropertyId property, std::string_view& text) {
    const char* begin = line_.rest().data();
    if (!line_.value(tree_.properties()[property].form, nullptr)) return failLine();
    text = {begin, static_cast<std::size_t>(line_.place() - begin)};
    return true;
}

bool RecordReader::propertyList(std::vector<PropertyId>& list) {
    if (!line_.symbol('(')) return failLine();
    if (line_.optional(')')) return true;
    do {
        if (!propertyName(list.emplace_back())) return false;
    } while (line_.optional(','));
    return line_.symbol(')') || failLine();
}

bool RecordReader::classRecord() {
    ClassDefinition definition;
    std::u16string_view name;
    if (!line_.name(name)) return failLine();
    if (!isAddressable(name)) return fail("this can't be the name of a class");
    definition.name = name;
    if (!oneOf("container", "leaf", definition.container)) return false;
    if (!oneOf("deleteops", "nodeleteops", definition.deleteOps)) return false;
    if (!propertyList(definition.mandatory) || !propertyList(definition.optional)) return false;
    return tree_.addClass(std::move(definition)) || fail("a class that is defined already");
}

bool RecordReader::className(const ClassDefinition*& definition) {
    std::u16string_view name;
    if (!line_.name(name)) return failLine();
    definition = tree_.findClass(name);
    return definition != nullptr || fail("a class that isn't defined");
}

bool RecordReader::above() {
    if (tree_.root() != nullptr) return fail("above stands ahead of the objects");
    current_ = &tree_.above();
    return true;
}

bool RecordReader::object() { return addObject(current_); }

/// The rest of a line that adds an object: its path and its class.
bool RecordReader::addObject(Node*& node) {
    std::u16string_view text;
    if (!line_.string(text)) return failLine();
    const std::u16string path(text);
    const ClassDefinition* definition = nullptr;
    if (!className(definition)) return false;

    const std::size_t slash = path.rfind(u'/');
    const bool topmost = slash == std::u16string::npos;
    Node* parent = topmost ? &tree_.above() : tree_.find(std::u16string_view(path).substr(0, slash));
    if (parent == nullptr) return fail("an object whose parent doesn't stand ahead of it");
    const std::u16string name = topmost ? path : path.substr(slash + 1);
    if (const std::string_view refusal = tree_.refusalOf(*parent, name); !refusal.empty())
        return fail(refusal);
    node = &tree_.add(*parent, name, *definition);
    return true;
}

bool RecordReader::existing(Node*& node) {
    std::u16string_view path;
    if (!line_.string(path)) return failLine();
    node = tree_.find(path);
    return node != nullptr || fail("an object that doesn't exist");
}

bool RecordReader::value() {
    if (current_ == nullptr) return fail("a value without an object");
    PropertyId property = 0;
    std::string_view text;
    if (!propertyName(property) || !propertyValue(property, text)) return false;
    return MetabaseTree::setValue(*current_, property, text) || fail("a second value for the property");
}

bool RecordReader::change() {
    const std::string_view kind = line_.word();
    Node* node = nullptr;
    if (kind == "+create") {
        if (!addObject(node)) return false;
        tree_.setKeyType(*node);
        return true;
    }
    if (kind == "+delete") {
        if (!existing(node)) return false;
        if (node == tree_.root()) return fail("the topmost object can't be deleted");
        MetabaseTree::remove(*node);
        return true;
    }
    if (kind != "+set") return fail("expected +set, +create or +delete");
    if (!existing(node)) return false;
    do {
        PropertyId property = 0;
        std::string_view text;
        if (!propertyName(property) || !propertyValue(property, text)) return false;
        MetabaseTree::setValue(*node, property, text);
    } while (!line_.atEnd());
    return true;
}

} // namespace

bool readMetabase(std::string_view text, MetabaseTree& tree, MetabaseText& result, std::string& error) {
    RecordReader reader(tree);
    std::size_t number = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t lineEnd = text.find('\n', at);
        std::string_view line = text.substr(at, lineEnd - at);
        if (lineEnd == std::string_view::npos && line.starts_with('+')) break;
        if (line.ends_with('\r')) line.remove_suffix(1);

        ++number;
        if (!reader.record(line)) {
            error = "line " + std::to_string(number) + ": " + reader.error();
            return false;
        }
        at = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
        if (reader.isHead()) result.head = text.substr(0, at);
    }
    result.size = at;
    if (!reader.isHead()) return true;
    error = "line " + std::to_string(number + 1) + ": the file ends ahead of its version line";
    return false;
}
