#include "lexer.h"
#include "records.h"
#include "text/excerpt.h"
#include "valueSyntax.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace metabase {

namespace {

constexpr std::string_view propertyNameTerm = "the name of a property";
constexpr std::string_view classNameTerm = "the name of a class";
constexpr std::string_view carriageReturnsText = "the lines end in CR alone; save the file with LF line ends";

/// Parses the lines of a metabase file one after the other into a tree.
class RecordReader {
public:
    explicit RecordReader(ObjectTree& tree) : tree_(tree) {}

    /// Parses a line without its line end; false, with error() set, if that fails.
    bool record(std::string_view line);
    /// Sorts the values of the object, which may come in any order. Must be called after its last one.
    void endValues();
    /// Whether the version line is still to come.
    bool isBeforeVersion() const { return !versionSeen_; }
    const std::string& error() const { return lexer_.error(); }

private:
    bool fail(std::string_view message) { return lexer_.fail(message); }
    bool failName(std::string_view kind, std::u16string_view name, std::string_view fault);
    bool failPath(std::string_view fault, std::u16string_view path);

    bool lineBeforeVersion(std::string_view line);
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
    bool isSorted_ = true;
    /// For each property the last object that had a value of it.
    std::vector<const ObjectNode*> lastNodeWith_;
    bool versionSeen_ = false;
};

bool RecordReader::record(std::string_view line) {
    if (line.size() > std::numeric_limits<std::uint32_t>::max()) return fail("the line is longer than 4 GB");
    lexer_.start(line);
    if (!versionSeen_) return lineBeforeVersion(line);
    if (lexer_.atEnd()) return true;

    const char first = line.front();
    bool parsed = false;
    if (first == ' ' || first == '\t') {
        parsed = value();
    } else if (first == '+') {
        endValues();
        current_ = nullptr;
        parsed = change();
    } else if (first == '#') {
        return fail("a comment is possible only before the version line");
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
            return lexer_.failExpected("property, class, above, object, a change, or a blank before a value",
                                       kind);
        }
    }
    return parsed && (lexer_.atEnd() || lexer_.failExpected("the end of the line"));
}

bool RecordReader::lineBeforeVersion(std::string_view line) {
    if (lexer_.atEnd() || line.front() == '#') return true;
    if (line.starts_with("\xEF\xBB\xBF"))
        return fail("the file begins with a byte order mark; save it without");
    if (line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF"))
        return fail("the file is in UTF-16; save it in UTF-8");
    if (line.find('\0') != std::string_view::npos)
        return fail("the file isn't text in UTF-8; it may be in UTF-16, or compressed");
    versionSeen_ = lexer_.word() == "metabase" && lexer_.word() == "1" && lexer_.atEnd();
    if (!versionSeen_ && line.find('\r') != std::string_view::npos) return fail(carriageReturnsText);
    return versionSeen_ || fail("expected the version line \"metabase 1\", not \"" + excerpt(line) + '"');
}

/// Parses one of two words.
bool RecordReader::oneOf(std::string_view yes, std::string_view no, bool& isYes) {
    const std::string_view word = lexer_.word();
    isYes = word == yes;
    return isYes || word == no || lexer_.failExpected(std::string(yes) + " or " + std::string(no), word);
}

bool RecordReader::property() {
    PropertyDefinition definition;
    std::u16string_view read;
    if (!lexer_.name(read, propertyNameTerm)) return false;
    if (read.empty()) return fail("the name of a property can't be empty");
    const std::u16string name(read);
    std::string nameText;
    formatName(nameText, name);
    definition.name = name;
    definition.nameText = tree_.keepText(std::move(nameText));
    definition.typeWord = lexer_.word();
    const std::optional<ValueForm> form = formOfType(definition.typeWord);
    if (!form) {
        lexer_.failExpected("the type of a property", definition.typeWord);
        return fail(error() + "; the types are " + typeWords());
    }
    definition.form = *form;
    if (!oneOf("single", "list", definition.single)) return false;
    if (!oneOf("inheritable", "local", definition.inheritable)) return false;
    if (!valueText(definition.form, definition.defaultText)) return false;
    return tree_.addProperty(definition) || failName("the property ", name, " is defined already");
}

bool RecordReader::propertyName(PropertyId& property) {
    property = propertyNames_.find(
        [this](PropertyId next) { return lexer_.optionalName(tree_.properties()[next].nameText); });
    if (property != NameTable::none) return true;
    std::u16string_view name;
    if (!lexer_.name(name, propertyNameTerm)) return false;
    const std::optional<PropertyId> found = tree_.findProperty(name);
    if (!found) {
        const bool isObject = name == u"object";
        return failName("the property ", name,
                        isObject ? " isn't defined; a line that begins with a blank is a value"
                                 : " isn't defined");
    }
    property = *found;
    propertyNames_.came(property);
    return true;
}

bool RecordReader::valueText(ValueForm form, std::string_view& text) {
    const char* const start = lexer_.tokenStart();
    if (!checkValue(lexer_, form)) return false;
    text = lexer_.textSince(start);
    return true;
}

bool RecordReader::propertyAndValue(PropertyId& property, std::string_view& text) {
    return propertyName(property) && valueText(tree_.properties()[property].form, text);
}

bool RecordReader::propertyList(std::vector<PropertyId>& list) {
    return lexer_.symbol('(') && lexer_.items(')', [&] { return propertyName(list.emplace_back()); });
}

bool RecordReader::classRecord() {
    ClassDefinition definition;
    std::u16string_view read;
    if (!lexer_.name(read, classNameTerm)) return false;
    const std::u16string name(read);
    if (!isAddressable(name)) return failName("", name, " can't be the name of a class");
    definition.name = name;
    std::string keyTypeText;
    formatString(keyTypeText, name);
    definition.keyTypeText = tree_.keepText(std::move(keyTypeText));
    if (!oneOf("container", "leaf", definition.container)) return false;
    if (!oneOf("deleteops", "nodeleteops", definition.deleteOps)) return false;
    if (!propertyList(definition.mandatory) || !propertyList(definition.optional)) return false;
    return tree_.addClass(std::move(definition)) || failName("the class ", name, " is defined already");
}

bool RecordReader::className(const ClassDefinition*& definition) {
    std::u16string_view name;
    if (!lexer_.name(name, classNameTerm)) return false;
    definition = tree_.findClass(name);
    return definition != nullptr || failName("the class ", name, " isn't defined");
}

bool RecordReader::aboveRecord() {
    if (tree_.root() != nullptr) return fail("above must come before the first object");
    current_ = &tree_.aboveRoot();
    return true;
}

bool RecordReader::failName(std::string_view kind, std::u16string_view name, std::string_view fault) {
    return fail(std::string(kind) + quotedName(name) + std::string(fault));
}

/// Fails for a path that no object has.
bool RecordReader::failPath(std::string_view fault, std::u16string_view path) {
    const bool isWhole = path == u"localhost" || path.starts_with(u"localhost/");
    return fail(std::string(fault) + quotedString(path) + (isWhole ? "" : "; paths begin with localhost"));
}

/// Parses the rest of a line that adds an object: its path and its class.
bool RecordReader::addObject(ObjectNode*& node) {
    std::u16string_view text;
    if (!lexer_.string(text)) return false;
    const std::u16string path(text);
    if (path.ends_with(u'/')) return fail("the path " + quotedString(path) + " ends in a slash");
    const ClassDefinition* definition = nullptr;
    if (!className(definition)) return false;

    const std::size_t slash = path.rfind(u'/');
    const bool topmost = slash == std::u16string::npos;
    const std::u16string_view parentPath = std::u16string_view(path).substr(0, slash);
    ObjectNode* parent = topmost ? &tree_.aboveRoot() : tree_.findObject(parentPath);
    if (parent == nullptr) return failPath("before this object there is no parent ", parentPath);
    const std::u16string name = topmost ? path : path.substr(slash + 1);
    if (const std::string_view reason = tree_.whyNotAddable(*parent, name); !reason.empty())
        return fail(quotedString(path) + ": " + std::string(reason));
    node = &tree_.addObject(*parent, name, *definition);
    return true;
}

bool RecordReader::objectRecord() {
    endValues();
    // Most objects have as many values as the one before: without this a backup takes 1 % more instructions.
    const std::size_t usualCount = current_ == nullptr ? 0 : current_->values.size();
    if (!addObject(current_)) return false;
    current_->values.reserve(usualCount);
    return true;
}

bool RecordReader::existingObject(ObjectNode*& node) {
    std::u16string_view path;
    if (!lexer_.string(path)) return false;
    node = tree_.findObject(path);
    return node != nullptr || failPath("no object ", path);
}

void RecordReader::endValues() {
    if (!isSorted_) std::ranges::sort(current_->values, {}, &StoredValue::property);
    isSorted_ = true;
}

bool RecordReader::value() {
    if (current_ == nullptr) return fail("the value of " + lexer_.nextToken() + " has no object before it");
    PropertyId property = 0;
    std::string_view text;
    if (!propertyAndValue(property, text)) return false;
    if (property >= lastNodeWith_.size()) lastNodeWith_.resize(tree_.properties().size());
    if (std::exchange(lastNodeWith_[property], current_) != current_) {
        std::vector<StoredValue>& values = current_->values;
        isSorted_ = isSorted_ && (values.empty() || values.back().property < property);
        values.emplace_back(property, text);
        return true;
    }
    return fail("a second value for the property " + excerpt(tree_.properties()[property].nameText));
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
    if (kind != "+set") return lexer_.failExpected("+set, +create or +delete", kind);
    if (!existingObject(node)) return false;
    do {
        PropertyId property = 0;
        std::string_view text;
        if (!propertyAndValue(property, text)) return false;
        ObjectTree::setValue(*node, property, text);
    } while (!lexer_.atEnd());
    return true;
}

/// Whether a process that died or a loss of power can have left these lines: the first one lacks its end or
/// holds bytes that never reached the disk, which read as zeros, and all begin as changes or with such bytes.
bool isTorn(std::string_view lines) {
    const auto canBegin = [](char c) { return c == '+' || c == '\0'; };
    if (!canBegin(lines.front())) return false;
    constexpr std::size_t none = std::string_view::npos;
    std::size_t end = lines.find('\n');
    if (end != none && lines.substr(0, end).find('\0') == none) return false;
    for (; end < lines.size() - 1; end = lines.find('\n', end + 1))
        if (!canBegin(lines[end + 1])) return false;
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
        if (!reader.isBeforeVersion() && isTorn(text.substr(at))) break;
        if (line.ends_with('\r')) line.remove_suffix(1);

        ++number;
        if (!reader.record(line)) {
            error = "line " + std::to_string(number) + ": " + reader.error();
            return false;
        }
        at = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
        if (reader.isBeforeVersion()) result.preamble = text.substr(0, at);
    }
    reader.endValues();
    result.size = at;
    if (!reader.isBeforeVersion()) return true;
    const bool hasOnlyReturns = result.preamble.find("\rmetabase 1\r") != std::string_view::npos;
    error = hasOnlyReturns ? "line 1: " + std::string(carriageReturnsText)
                           : "line " + std::to_string(number + 1) +
                                 ": the file ends before its version line \"metabase 1\"";
    return false;
}

} // namespace metabase
