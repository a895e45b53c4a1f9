#include "lexer.h"
#include "records.h"
#include "valueSyntax.h"

#include <limits>

namespace metabase {

namespace {

/// Parses the lines of a metabase file one after the other into a tree.
class RecordReader {
public:
    explicit RecordReader(ObjectTree& tree) : tree_(tree) {}

    /// Parses a line without its line end; false, with error() set, if that fails.
    bool record(std::string_view line);
    /// Whether the version line is still to come.
    bool isHead() const { return !versionSeen_; }
    std::string& error() { return error_; }

private:
    bool fail(std::string_view message) {
        error_ = message;
        return false;
    }
    /// Fails with the error of the lexer.
    bool failLexer() { return fail(lexer_.error()); }

    bool headLine(std::string_view line);
    bool property();
    bool propertyName(PropertyId& property);
    bool valueText(ValueForm form, std::string_view& text);
    bool propertyAndValue(PropertyId& property, std::string_view& text);
    bool propertyList(std::vector<PropertyId>& list);
    bool classRecord();
    bool className(const ClassDefinition*& definition);
    bool aboveRecord();
    bool addObject(ObjectNode*& node);
    bool objectRecord();
    bool existingObject(ObjectNode*& node);
    bool value();
    bool change();
    bool oneOf(std::string_view yes, std::string_view no, bool& isYes);

    ObjectTree& tree_;
    Lexer lexer_;
    NameSequence propertyNames_;
    /// The object that value lines belong to; null if there is none.
    ObjectNode* current_ = nullptr;
    bool versionSeen_ = false;
    std::string error_;
};

bool RecordReader::record(std::string_view line) {
    if (line.size() > std::numeric_limits<std::uint32_t>::max()) return fail("a line too long");
    lexer_.start(line);
    if (!versionSeen_) return headLine(line);
    if (lexer_.atEnd()) return true;
    lexer_.start(line);

    const char first = line.front();
    bool parsed = false;
    if (first == ' ' || first == '\t') {
        parsed = value();
    } else if (first == '+') {
        current_ = nullptr;
        parsed = change();
    } else if (first == '#') {
        return fail("a comment can stand only at the head of the file");
    } else {
        const std::string_view kind = lexer_.word();
        if (kind == "object") {
            parsed = objectRecord();
        } else if (kind == "property") {
            parsed = property();
        } else if (kind == "class") {
            parsed = classRecord();
        } else if (kind == "above") {
            parsed = aboveRecord();
        } else {
            return fail(
                "expected a property, a class, above, an object, a value behind a blank, or a change");
        }
    }
    return parsed && (lexer_.atEnd() || fail("more text than the line can have"));
}

bool RecordReader::headLine(std::string_view line) {
    if (lexer_.atEnd() || line.front() == '#') return true;
    if (line.starts_with("\xEF\xBB\xBF")) return fail("a byte order mark, which the file can't begin with");
    versionSeen_ = lexer_.word() == "metabase" && lexer_.word() == "1" && lexer_.atEnd();
    return versionSeen_ || fail("expected the version line \"metabase 1\"");
}

/// Parses one of two words.
bool RecordReader::oneOf(std::string_view yes, std::string_view no, bool& isYes) {
    const std::string_view word = lexer_.word();
    isYes = word == yes;
    return isYes || word == no || fail("expected " + std::string(yes) + " or " + std::string(no));
}

bool RecordReader::property() {
    PropertyDefinition definition;
    std::u16string_view read;
    if (!lexer_.name(read)) return failLexer();
    if (read.empty()) return fail("a property without a name");
    const std::u16string name(read);
    std::string nameText;
    formatName(nameText, name);
    definition.name = name;
    definition.nameText = tree_.keepText(std::move(nameText));
    definition.typeWord = lexer_.word();
    const std::optional<ValueForm> form = formOfType(definition.typeWord);
    if (!form) return fail("expected the type of a property");
    definition.form = *form;
    if (!oneOf("single", "list", definition.single)) return false;
    if (!oneOf("inheritable", "local", definition.inheritable)) return false;
    if (!valueText(definition.form, definition.defaultText)) return false;
    return tree_.addProperty(definition) || fail("a property that is defined already");
}

bool RecordReader::propertyName(PropertyId& property) {
    const auto& properties = tree_.properties();
    property = propertyNames_.expected();
    if (property < properties.size() && lexer_.optionalName(properties[property].nameText)) {
        propertyNames_.came(property);
        return true;
    }
    std::u16string_view name;
    if (!lexer_.name(name)) return failLexer();
    const std::optional<PropertyId> found = tree_.findProperty(name);
    if (!found) return fail("a property that isn't defined");
    property = *found;
    propertyNames_.came(property);
    return true;
}

bool RecordReader::valueText(ValueForm form, std::string_view& text) {
    const char* const start = lexer_.tokenStart();
    if (!checkValue(lexer_, form)) return failLexer();
    text = lexer_.textSince(start);
    return true;
}

bool RecordReader::propertyAndValue(PropertyId& property, std::string_view& text) {
    return propertyName(property) && valueText(tree_.properties()[property].form, text);
}

bool RecordReader::propertyList(std::vector<PropertyId>& list) {
    if (!lexer_.symbol('(')) return failLexer();
    if (lexer_.optionalSymbol(')')) return true;
    do {
        if (!propertyName(list.emplace_back())) return false;
    } while (lexer_.optionalSymbol(','));
    return lexer_.symbol(')') || failLexer();
}

bool RecordReader::classRecord() {
    ClassDefinition definition;
    std::u16string_view name;
    if (!lexer_.name(name)) return failLexer();
    if (!isAddressable(name)) return fail("this can't be the name of a class");
    definition.name = name;
    std::string keyTypeText;
    formatString(keyTypeText, name);
    definition.keyTypeText = tree_.keepText(std::move(keyTypeText));
    if (!oneOf("container", "leaf", definition.container)) return false;
    if (!oneOf("deleteops", "nodeleteops", definition.deleteOps)) return false;
    if (!propertyList(definition.mandatory) || !propertyList(definition.optional)) return false;
    return tree_.addClass(std::move(definition)) || fail("a class that is defined already");
}

bool RecordReader::className(const ClassDefinition*& definition) {
    std::u16string_view name;
    if (!lexer_.name(name)) return failLexer();
    definition = tree_.findClass(name);
    return definition != nullptr || fail("a class that isn't defined");
}

bool RecordReader::aboveRecord() {
    if (tree_.root() != nullptr) return fail("above stands ahead of the objects");
    current_ = &tree_.aboveRoot();
    return true;
}

/// Parses the rest of a line that adds an object: its path and its class.
bool RecordReader::addObject(ObjectNode*& node) {
    std::u16string_view text;
    if (!lexer_.string(text)) return failLexer();
    const std::u16string path(text);
    const ClassDefinition* definition = nullptr;
    if (!className(definition)) return false;

    const std::size_t slash = path.rfind(u'/');
    const bool topmost = slash == std::u16string::npos;
    ObjectNode* parent =
        topmost ? &tree_.aboveRoot() : tree_.findObject(std::u16string_view(path).substr(0, slash));
    if (parent == nullptr) return fail("an object whose parent doesn't stand ahead of it");
    const std::u16string name = topmost ? path : path.substr(slash + 1);
    if (const std::string_view reason = tree_.whyNotAddable(*parent, name); !reason.empty())
        return fail(reason);
    node = &tree_.addObject(*parent, name, *definition);
    return true;
}

bool RecordReader::objectRecord() {
    // Most objects have as many values as the one before.
    const std::size_t usualCount = current_ == nullptr ? 0 : current_->values.size();
    if (!addObject(current_)) return false;
    current_->values.reserve(usualCount);
    return true;
}

bool RecordReader::existingObject(ObjectNode*& node) {
    std::u16string_view path;
    if (!lexer_.string(path)) return failLexer();
    node = tree_.findObject(path);
    return node != nullptr || fail("an object that doesn't exist");
}

bool RecordReader::value() {
    if (current_ == nullptr) return fail("a value without an object");
    PropertyId property = 0;
    std::string_view text;
    if (!propertyAndValue(property, text)) return false;
    return ObjectTree::setValue(*current_, property, text) || fail("a second value for the property");
}

bool RecordReader::change() {
    const std::string_view kind = lexer_.word();
    ObjectNode* node = nullptr;
    if (kind == "+create") {
        if (!addObject(node)) return false;
        tree_.setKeyType(*node);
        return true;
    }
    if (kind == "+delete") {
        if (!existingObject(node)) return false;
        if (node == tree_.root()) return fail("the topmost object can't be deleted");
        ObjectTree::remove(*node);
        return true;
    }
    if (kind != "+set") return fail("expected +set, +create or +delete");
    if (!existingObject(node)) return false;
    do {
        PropertyId property = 0;
        std::string_view text;
        if (!propertyAndValue(property, text)) return false;
        ObjectTree::setValue(*node, property, text);
    } while (!lexer_.atEnd());
    return true;
}

} // namespace

bool readMetabase(std::string_view text, ObjectTree& tree, MetabaseText& result, std::string& error) {
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

} // namespace metabase
