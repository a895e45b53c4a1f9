#include "parser.h"

#include "text/hex.h"
#include "text/utf8.h"
#include "xmlCharacters.h"
#include "xmlDeclaration.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace xml {

namespace {

struct Entity {
    std::u16string_view reference;
    char character;
};

constexpr Entity entities[] = {
    {u"lt;", '<'}, {u"gt;", '>'}, {u"amp;", '&'}, {u"quot;", '"'}, {u"apos;", '\''}};

bool isXmlTarget(std::u16string_view name) {
    return name.size() == 3 && (name[0] | 0x20) == u'x' && (name[1] | 0x20) == u'm' &&
           (name[2] | 0x20) == u'l';
}

/// Parses the text in one pass. Each function parses the construct of its name at the current
/// position, and returns false if the document is not well-formed. The 0 after the text is part of no
/// construct, so that no function moves beyond it.
class Parser {
public:
    explicit Parser(std::u16string_view text) : at_(text.data()), end_(text.data() + text.size()) {
        // The text of a node, its 0 included, is no longer than its part of the document: this is enough for
        // all nodes.
        tree_.text.reserve(text.size() * utf8::maxBytesOfUnit + 1);
        textEnd_ = tree_.text.end();
        addNode(NodeKind::document);
    }

    bool document();
    DocumentTree result();

private:
    std::u16string_view rest() const { return {at_, static_cast<std::size_t>(end_ - at_)}; }
    bool accept(char16_t unit);
    bool accept(std::u16string_view markup);
    bool skipWhite();

    bool xmlDeclaration();
    bool surroundings();
    bool content();
    bool startTag();
    bool endTag();
    bool attribute(NodeIndex element);
    bool attributeValue();
    bool skipIndentation();
    bool text();
    bool comment();
    bool cdata();
    bool instruction();
    bool reference();
    bool characterReference();
    NameTable::Number name(NameSequence& sequence);
    [[gnu::noinline]] NameTable::Number otherName(NameSequence& sequence, const char16_t* start);

    template <UnitClass plain> char16_t copy(char lineEnd);
    bool copyUntil(std::u16string_view terminator);

    NodeIndex addNode(NodeKind kind, NameTable::Number name = 0);
    void put(char character) { *textEnd_++ = character; }
    void endPiece(NodeIndex node);
    void endRun(bool isWholeContent);
    void beginRun();

    const char16_t* at_;
    const char16_t* end_;
    char* textEnd_;
    DocumentTree tree_;
    /// The innermost open element, 0 outside of the root. Until its end tag the link of an element is the
    /// index of its parent.
    NodeIndex open_ = 0;
    /// The attributes of an element follow its tag.
    NameSequence tags_;
    NameSequence attributes_;
    NameSequence targets_;
    /// For each name the last element that had an attribute of that name.
    std::vector<NodeIndex> lastElementWith_;

    /// The run of text since the last tag: its first node, whether it is white space so far, and whether it
    /// follows a start tag.
    NodeIndex runStart_ = 0;
    bool runIsWhite_ = true;
    bool runFollowsStart_ = false;
};

bool Parser::document() {
    return xmlDeclaration() && surroundings() && *at_ == u'<' && startTag() && content() && surroundings() &&
           at_ == end_;
}

DocumentTree Parser::result() {
    tree_.nodes[0].link = static_cast<NodeIndex>(tree_.nodes.size());
    tree_.nodes.fit();
    tree_.text.setEnd(textEnd_);
    tree_.text.fit();
    return std::move(tree_);
}

bool Parser::accept(char16_t unit) {
    if (*at_ != unit) return false;
    ++at_;
    return true;
}

bool Parser::accept(std::u16string_view markup) {
    const char16_t* at = at_;
    for (const char16_t unit : markup) {
        if (*at++ != unit) return false;
    }
    at_ = at;
    return true;
}

/// Whether there was any.
bool Parser::skipWhite() {
    const char16_t* const start = at_;
    while (isWhite(*at_)) ++at_;
    return at_ != start;
}

bool Parser::xmlDeclaration() {
    std::u16string_view text = rest();
    const bool isGood = skipXmlDeclaration(text);
    at_ = text.data();
    return isGood;
}

/// Comments, instructions and white space before and after the root.
bool Parser::surroundings() {
    for (;;) {
        skipWhite();
        if (rest().starts_with(u"<!--")) {
            if (!comment()) return false;
        } else if (rest().starts_with(u"<?")) {
            if (!instruction()) return false;
        } else {
            return true;
        }
    }
}

bool Parser::content() {
    while (open_ != 0) {
        if (*at_ != u'<' && !skipIndentation() && !text()) return false;
        bool parsed = false;
        switch (at_[1]) {
        case u'/': parsed = endTag(); break;
        case u'!': parsed = at_[2] == u'-' ? comment() : cdata(); break;
        case u'?': parsed = instruction(); break;
        default: parsed = startTag();
        }
        if (!parsed) return false;
    }
    return true;
}

bool Parser::startTag() {
    endRun(false);
    ++at_;
    const NameTable::Number tag = name(tags_);
    if (tag == NameTable::none) return false;
    const NodeIndex element = addNode(NodeKind::element, tag);
    attributes_.continueAfter(tag);
    for (;;) {
        const bool isSeparate = skipWhite();
        if (*at_ == u'>' || *at_ == u'/') break;
        if (!isSeparate || !attribute(element)) return false;
    }
    runFollowsStart_ = *at_ == u'>';
    if (runFollowsStart_) {
        tree_.nodes[element].link = std::exchange(open_, element);
        ++at_;
    } else {
        tree_.nodes[element].link = static_cast<NodeIndex>(tree_.nodes.size());
        if (!accept(u"/>")) return false;
    }
    beginRun();
    return true;
}

bool Parser::endTag() {
    at_ += 2;
    if (!accept(tree_.nameOf(open_))) return false;
    skipWhite();
    if (!accept(u'>')) return false;
    endRun(runFollowsStart_);
    open_ = std::exchange(tree_.nodes[open_].link, static_cast<NodeIndex>(tree_.nodes.size()));
    runFollowsStart_ = false;
    beginRun();
    return true;
}

bool Parser::attribute(NodeIndex element) {
    const NameTable::Number number = name(attributes_);
    if (number == NameTable::none) return false;
    if (number >= lastElementWith_.size()) lastElementWith_.resize(number + 1);
    if (std::exchange(lastElementWith_[number], element) == element) return false;
    skipWhite();
    if (!accept(u'=')) return false;
    skipWhite();
    addNode(NodeKind::attribute, number);
    return attributeValue();
}

bool Parser::attributeValue() {
    const char16_t quote = *at_;
    if (quote != u'"' && quote != u'\'') return false;
    ++at_;
    for (;;) {
        const char16_t unit = copy<plainValue>(' ');
        if (unit == quote) break;
        switch (unit) {
        case u'&':
            if (!reference()) return false;
            break;
        case u'\t':
        case u'\n':
            put(' ');
            ++at_;
            break;
        case u'"':
        case u'\'':
            put(static_cast<char>(unit));
            ++at_;
            break;
        default: return false;
        }
    }
    ++at_;
    put('\0');
    return true;
}

/// Skips white space between two tags, the most frequent text, without a node: with one loadXML takes 22 %
/// more instructions. False, at the same position, for other text and for white space that is the whole
/// content of an element.
bool Parser::skipIndentation() {
    const char16_t* next = at_;
    while (isWhite(*next)) ++next;
    if (*next != u'<' || next[1] == u'!' || next[1] == u'?') return false;
    const bool isAllContent = runFollowsStart_ && next[1] == u'/';
    if (isAllContent || !runIsWhite_) return false;
    at_ = next;
    return true;
}

/// Text up to the next markup: one node.
bool Parser::text() {
    const NodeIndex node = addNode(NodeKind::text);
    for (;;) {
        switch (copy<plainText>('\n')) {
        case u'<': endPiece(node); return true;
        case u'&':
            if (!reference()) return false;
            break;
        case u']':
            if (rest().starts_with(u"]]>")) return false;
            put(static_cast<char>(*at_++));
            break;
        default: return false;
        }
    }
}

bool Parser::comment() {
    if (!accept(u"<!--")) return false;
    addNode(NodeKind::comment);
    if (!copyUntil(u"--") || !accept(u'>')) return false;
    put('\0');
    return true;
}

bool Parser::cdata() {
    if (!accept(u"<![CDATA[")) return false;
    const NodeIndex node = addNode(NodeKind::cdata);
    if (!copyUntil(u"]]>")) return false;
    endPiece(node);
    return true;
}

bool Parser::instruction() {
    at_ += 2;
    const NameTable::Number target = name(targets_);
    if (target == NameTable::none || isXmlTarget(tree_.names[target])) return false;
    addNode(NodeKind::instruction, target);
    if (!skipWhite() && !rest().starts_with(u"?>")) return false;
    if (!copyUntil(u"?>")) return false;
    put('\0');
    return true;
}

bool Parser::reference() {
    ++at_;
    if (accept(u'#')) return characterReference();
    for (const Entity& entity : entities) {
        if (accept(entity.reference)) {
            put(entity.character);
            return true;
        }
    }
    return false;
}

bool Parser::characterReference() {
    const unsigned base = accept(u'x') ? 16 : 10;
    char32_t character = 0;
    for (; *at_ != u';'; ++at_) {
        const unsigned digit = hexDigitValue(*at_);
        if (digit >= base) return false;
        character = std::min<char32_t>(character * base + digit, 0x110000);
    }
    ++at_;
    if (!isXmlChar(character)) return false;
    textEnd_ = utf8::encode(character, textEnd_);
    return true;
}

NameTable::Number Parser::name(NameSequence& sequence) {
    const char16_t* const start = at_;
    const NameTable::Number guessed = sequence.find([&](NameTable::Number number) {
        at_ = start;
        return accept(tree_.names[number]) && restOfNameEnd(at_) == at_;
    });
    return guessed != NameTable::none ? guessed : otherName(sequence, start);
}

/// Parses a name that was not guessed. Inlined into name() it would take 3 % of the instructions
/// of loadXML.
NameTable::Number Parser::otherName(NameSequence& sequence, const char16_t* start) {
    at_ = nameEnd(start);
    if (at_ == start) return NameTable::none;
    const NameTable::Number number = tree_.names.add({start, static_cast<std::size_t>(at_ - start)});
    sequence.came(number);
    return number;
}

/// Copies units of the class `plain`, other characters beyond ASCII, and line ends as `lineEnd`. Returns the
/// unit at which it stops.
template <UnitClass plain> char16_t Parser::copy(char lineEnd) {
    const char16_t* at = at_;
    char* out = textEnd_;
    for (;;) {
        std::size_t count = 0;
        for (; hasClass(at[count], plain); ++count) out[count] = static_cast<char>(at[count]);
        at += count;
        out += count;
        if (*at >= 0x80) {
            const char16_t* next = at;
            const char32_t character = utf16::decodeCharacter(next);
            if (!isXmlChar(character)) break;
            out = utf8::encode(character, out);
            at = next;
        } else if (*at == u'\r') {
            *out++ = lineEnd;
            at += at[1] == u'\n' ? 2 : 1;
        } else {
            break;
        }
    }
    at_ = at;
    textEnd_ = out;
    return *at;
}

bool Parser::copyUntil(std::u16string_view terminator) {
    for (;;) {
        const char16_t unit = copy<plainSection>('\n');
        if (accept(terminator)) return true;
        if (unit != u'-' && unit != u']' && unit != u'?') return false;
        put(static_cast<char>(*at_++));
    }
}

NodeIndex Parser::addNode(NodeKind kind, NameTable::Number name) {
    const auto node = static_cast<NodeIndex>(tree_.nodes.size());
    const auto textStart = static_cast<std::size_t>(textEnd_ - tree_.text.begin());
    if (textStart > UINT32_MAX) memory::exhausted();
    tree_.nodes.push(TreeNode{kind, name, static_cast<std::uint32_t>(textStart)});
    return node;
}

/// Ends the text of a node that is part of the run: text or a CDATA section.
void Parser::endPiece(NodeIndex node) {
    const char* const start = tree_.text.begin() + tree_.nodes[node].link;
    const auto isWhiteByte = [](char c) { return isWhite(static_cast<unsigned char>(c)); };
    runIsWhite_ = runIsWhite_ && std::all_of(start, static_cast<const char*>(textEnd_), isWhiteByte);
    put('\0');
}

void Parser::beginRun() {
    runStart_ = static_cast<NodeIndex>(tree_.nodes.size());
    runIsWhite_ = true;
}

/// Ends the run at a tag. If it is white space, its text nodes are removed, or become blanks if the run is
/// the whole content of an element.
void Parser::endRun(bool isWholeContent) {
    if (!runIsWhite_) return;
    const auto isText = [](const TreeNode& node) { return node.kind == NodeKind::text; };
    TreeNode* const first = tree_.nodes.begin() + runStart_;
    TreeNode* const end = tree_.nodes.end();
    if (isWholeContent) {
        for (TreeNode* node = first; node != end; ++node) {
            if (isText(*node)) node->kind = NodeKind::blank;
        }
    } else if (first != end) {
        if (isText(end[-1])) textEnd_ = tree_.text.begin() + end[-1].link;
        tree_.nodes.setEnd(std::remove_if(first, end, isText));
    }
}

} // namespace

DocumentTree emptyTree() {
    DocumentTree tree;
    tree.nodes.push(TreeNode{NodeKind::document, 0, 1});
    return tree;
}

std::optional<DocumentTree> parseXml(std::u16string_view text) {
    Parser parser(text);
    if (!parser.document()) return std::nullopt;
    return parser.result();
}

} // namespace xml
