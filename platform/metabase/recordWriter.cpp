#include "records.h"
#include "valueSyntax.h"

namespace {

/// Gathers lines and gives them on in large pieces.
class LineWriter {
public:
    explicit LineWriter(const std::function<void(std::string_view)>& put) : put_(put) {}
    ~LineWriter() { put_(text_); }
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    /// The place where the current line is written.
    std::string& line() { return text_; }
    LineWriter& word(std::string_view word) {
        text_ += word;
        return *this;
    }
    LineWriter& name(std::u16string_view name) {
        writeName(text_, name);
        return *this;
    }
    void end() {
        text_.push_back('\n');
        if (text_.size() < pieceSize) return;
        put_(text_);
        text_.clear();
    }

private:
    static constexpr std::size_t pieceSize = 1 << 16;

    const std::function<void(std::string_view)>& put_;
    std::string text_;
};

void writeProperty(LineWriter& out, const PropertyDefinition& property) {
    out.word("property ").word(property.nameText).word(" ").word(property.typeWord);
    out.word(property.single ? " single" : " list").word(property.inheritable ? " inheritable " : " local ");
    out.word(property.defaultText).end();
}

void writeNames(LineWriter& out, const MetabaseTree& tree, const std::vector<PropertyId>& list) {
    std::string_view separator = " (";
    for (const PropertyId property : list) {
        out.word(separator).word(tree.properties()[property].nameText);
        separator = ", ";
    }
    out.word(list.empty() ? " ()" : ")");
}

void writeClass(LineWriter& out, const MetabaseTree& tree, const ClassDefinition& definition) {
    out.word("class ").name(definition.name).word(definition.container ? " container" : " leaf");
    out.word(definition.deleteOps ? " deleteops" : " nodeleteops");
    writeNames(out, tree, definition.mandatory);
    writeNames(out, tree, definition.optional);
    out.end();
}

void writeValues(LineWriter& out, const MetabaseTree& tree, const Node& node) {
    for (const StoredValue& value : node.values) {
        out.word("  ").word(tree.properties()[value.property].nameText).word(" ").word(value.view()).end();
    }
}

void writeObject(LineWriter& out, const MetabaseTree& tree, const Node& node) {
    out.word("object ");
    writeString(out.line(), MetabaseTree::pathOf(node));
    out.word(" ").name(node.definition->name).end();
    writeValues(out, tree, node);
    for (const Node* child : node.children) writeObject(out, tree, *child);
}

std::string changeLine(std::string_view kind, std::u16string_view path) {
    std::string line(kind);
    line.push_back(' ');
    writeString(line, path);
    return line;
}

} // namespace

void writeMetabase(const MetabaseTree& tree, std::string_view head,
                   const std::function<void(std::string_view)>& put) {
    LineWriter out(put);
    out.word(head).word("metabase 1").end();
    if (!tree.properties().empty()) out.end();
    for (const PropertyDefinition& property : tree.properties()) writeProperty(out, property);
    if (!tree.classes().empty()) out.end();
    for (const ClassDefinition& definition : tree.classes()) writeClass(out, tree, definition);
    if (!tree.above().values.empty()) {
        out.end();
        out.word("above").end();
        writeValues(out, tree, tree.above());
    }
    if (tree.root() != nullptr) {
        out.end();
        writeObject(out, tree, *tree.root());
    }
}

std::string setLine(const MetabaseTree& tree, const Node& node, std::span<const PendingValue> values) {
    std::string line = changeLine("+set", MetabaseTree::pathOf(node));
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
    writeName(line, definition.name);
    line.push_back('\n');
    return line;
}

std::string deleteLine(const Node& node) { return changeLine("+delete", MetabaseTree::pathOf(node)) + "\n"; }
