// The metabase in memory: the schema, the objects and their values. Nothing here reads or writes a file.
//
// A value stays the text that the metabase file has for it; it is taken to pieces when someone asks for it.
#pragma once

#include "lexer.h"

#include <array>
#include <deque>
#include <optional>
#include <unordered_map>

using PropertyId = std::uint32_t;

struct PropertyDefinition {
    std::u16string_view name;
    /// The name as the metabase file has it.
    std::string_view nameText;
    std::string_view typeWord;
    ValueForm form = ValueForm::plain;
    bool single = true;
    bool inheritable = false;
    std::string_view defaultText;
};

struct ClassDefinition {
    std::u16string name;
    bool container = false;
    bool deleteOps = false;
    std::vector<PropertyId> mandatory;
    std::vector<PropertyId> optional;
    /// By PropertyId: whether one of the two lists has it.
    std::vector<bool> listed;
    /// The value of KeyType that a new object of the class gets.
    std::string_view keyType;

    bool lists(PropertyId property) const { return property < listed.size() && listed[property]; }
};

struct StoredValue {
    const char* text;
    std::uint32_t length;
    PropertyId property;

    std::string_view view() const { return {text, length}; }
};

/// An object, or the place above the topmost one, which has no class.
struct Node {
    std::u16string name;
    Node* parent = nullptr;
    const ClassDefinition* definition = nullptr;
    /// In the order of their names, unit by unit.
    std::vector<Node*> children;
    /// In the order of their properties' definitions.
    std::vector<StoredValue> values;
    std::uint32_t depth = 0;
    /// Deleted: not part of the tree any more.
    bool gone = false;
};

/// Whether a name can stand in a path and come back from a file.
bool isAddressable(std::u16string_view name);

/// What an object shows for a property.
struct EffectiveValue {
    std::string_view text;
    bool inherited;
};

class MetabaseTree {
public:
    /// The deepest level of an object, the topmost one having level 1.
    static constexpr std::uint32_t maxDepth = 256;

    MetabaseTree() = default;
    MetabaseTree(const MetabaseTree&) = delete;
    MetabaseTree& operator=(const MetabaseTree&) = delete;

    const std::vector<PropertyDefinition>& properties() const { return properties_; }
    const std::deque<ClassDefinition>& classes() const { return classes_; }
    const Node& above() const { return above_; }
    Node& above() { return above_; }
    /// The topmost object, null while there is none.
    Node* root() const { return above_.children.empty() ? nullptr : above_.children.front(); }

    std::optional<PropertyId> findProperty(std::u16string_view name) const;
    const ClassDefinition* findClass(std::u16string_view name) const;
    /// The object at a path such as u"localhost/W3SVC", null if there is none.
    Node* find(std::u16string_view path) const;
    static Node* findChild(const Node& parent, std::u16string_view name);
    static std::u16string pathOf(const Node& node);

    /// The object's own value, else that of the nearest one above it, where the property is inheritable, else
    /// the default.
    EffectiveValue effectiveValue(const Node& node, PropertyId property) const;

    /// False if the name is taken. Copies the name and makes its text.
    bool addProperty(PropertyDefinition definition);
    bool addClass(ClassDefinition definition);
    /// Keeps a text for as long as the tree.
    std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

    /// Says in words what hinders a new object, or nothing.
    std::string_view refusalOf(const Node& parent, std::u16string_view name) const;
    /// Adds an object that nothing hinders.
    Node& add(Node& parent, std::u16string_view name, const ClassDefinition& definition);
    /// Gives a new object its KeyType, if its class lists that.
    void setKeyType(Node& node) const;
    /// Takes an object and all below it out of the tree. It can still be looked at.
    static void remove(Node& node);
    /// `text` must outlive the tree. False if `node` had a value for the property, which is replaced.
    static bool setValue(Node& node, PropertyId property, std::string_view text);

private:
    std::vector<PropertyDefinition> properties_;
    std::deque<std::u16string> propertyNames_;
    std::deque<ClassDefinition> classes_;
    std::unordered_map<std::u16string_view, PropertyId> propertyIds_;
    std::unordered_map<std::u16string_view, const ClassDefinition*> classesByName_;
    std::deque<Node> nodes_;
    std::deque<std::string> texts_;
    Node above_;

    // The same few names are looked up again and again: each is found in its slot; most have one alone.
    mutable std::array<PropertyId, 1024> recentProperties_{};
};
