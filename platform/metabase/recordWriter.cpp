#include "lexer.h"
#include "records.h"

namespace metabase {

namespace {

/// Collects lines and passes them on in large pieces.
class LineWriter {
public:
    explicit LineWriter(const std::function<void(std::string_view)>& write) : write_(write) {}
    ~LineWriter() { write_(text_); }
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    /// The text to which the current line is appended.
    std::string& line() { return text_; }
    LineWriter& word(std::string_view word) {
        text_ += word;
        return *this;
    }
    LineWriter& name(std::u16string_view name) {
        formatName(text_, name);
        return *this;
    }
    void end() {
        text_.push_back('\n');
        if (text_.size() < pieceSize) return;
        write_(text_);
        text_.clear();
    }

private:
    static constexpr std::size_t pieceSize = 1 << 16;

    const std::function<void(std::string_view)>& write_;
    std::string text_;
};

void writeProperty(LineWriter& out, const PropertyDefinition& property) {
    out.word("property ").word(property.nameText).word(" ").word(property.typeWord);
    out.word(property.single ? " single" : " list").word(property.inheritable ? " inheritable " : " local ");
    out.word(property.defaultText).end();
}

void writeNames(LineWriter& out, const ObjectTree& tree, const std::vector<PropertyId>& list) {
    std::string_view separator = " (";
    for (const PropertyId property : list) {
        out.word(separator).word(tree.properties()[property].nameText);
        separator = ", ";
    }
    out.word(list.empty() ? " ()" : ")");
}

void writeClass(LineWriter& out, const ObjectTree& tree, const ClassDefinition& definition) {
    out.word("class ").name(definition.name).word(definition.container ? " container" : " leaf");
    out.word(definition.deleteOps ? " deleteops" : " nodeleteops");
    writeNames(out, tree, definition.mandatory);
    writeNames(out, tree, definition.optional);
    out.end();
}

void writeValues(LineWriter& out, const ObjectTree& tree, const ObjectNode& node) {
    for (const StoredValue& value : node.values) {
        out.word("  ").word(tree.properties()[value.property].nameText).word(" ").word(value.view()).end();
    }
}

void writeObject(LineWriter& out, const ObjectTree& tree, const ObjectNode& node) {
    out.word("object ");
    formatString(out.line(), ObjectTree::pathOf(node));
    out.word(" ").name(node.definition->name).end();
    writeValues(out, tree, node);
    for (const ObjectNode* child : node.children()) writeObject(out, tree, *child);
}

std::string changeLine(std::string_view kind, std::u16string_view path) {
    std::string line(kind);
    line.push_back(' ');
    formatString(line, path);
    return line;
}

} // namespace

void writeMetabase(const ObjectTree& tree, std::string_view preamble,
                   const std::function<void(std::string_view)>& write) {
    LineWriter out(write);
    out.word(preamble).word("metabase 1").end();
    if (!tree.properties().empty()) out.end();
    for (const PropertyDefinition& property : tree.properties()) writeProperty(out, property);
    if (!tree.classes().empty()) out.end();
    for (const ClassDefinition& definition : tree.classes()) writeClass(out, tree, definition);
    if (!tree.aboveRoot().values.empty()) {
        out.end();
        out.word("above").end();
        writeValues(out, tree, tree.aboveRoot());
    }
    if (tree.root() != nullptr) {
        out.end();
        writeObject(out, tree, *tree.root());
    }
}

std::string setLine(const ObjectTree& tree, const ObjectNode& node, std::span<const PendingValue> values) {
    std::string line = changeLine("+set", ObjectTree::pathOf(node));
    for (const PendingValue& value : values) {
        line.push_back(' ');
        line += tree.properties()[value.property].nameText;
        line.push_back(' ');
        line += value.text;
    }
    line.push_back('\n');
    return line;
}

std::string createLine(std::u16string_view path, const ClassDefinition& definition) {
    std::string line = changeLine("+create", path);
    line.push_back(' ');
    formatName(line, definition.name);
    line.push_back('\n');
    return line;
}

std::string deleteLine(const ObjectNode& node) {
    return changeLine("+delete", ObjectTree::pathOf(node)) + "\n";
}

} // namespace metabase
