// The metabase in memory: the schema, the objects and their values. Nothing here reads or writes a file.
//
// A value is kept as the text that the metabase file has for it, and parsed when a caller asks for it.
#pragma once

#include "com/nameTable.h"
#include "valueForm.h"

#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace metabase {

using PropertyId = NameTable::Number;

/// The texts must outlive the tree.
struct PropertyDefinition {
    std::u16string_view name;
    /// The name as it is written in the metabase file.
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
    /// By PropertyId: whether one of the two lists has it. Set by ObjectTree::addClass.
    std::vector<bool> listed;
    /// The text of the property KeyType of a new object of the class. It must outlive the tree.
    std::string_view keyTypeText;

    bool lists(PropertyId property) const { return property < listed.size() && listed[property]; }
};

struct StoredValue {
    StoredValue(PropertyId ofProperty, std::string_view value)
        : text(value.data()), length(static_cast<std::uint32_t>(value.size())), property(ofProperty) {}

    const char* text;
    std::uint32_t length;
    PropertyId property;

    std::string_view view() const { return {text, length}; }
};

struct ObjectNode;

/// The order of children: by name, unit by unit.
struct NameOrder {
    using is_transparent = void;
    template <class Left, class Right> bool operator()(const Left& left, const Right& right) const {
        return nameOf(left) < nameOf(right);
    }

private:
    static std::u16string_view nameOf(std::u16string_view name) { return name; }
    static std::u16string_view nameOf(const ObjectNode* node);
};

using ChildSet = std::set<ObjectNode*, NameOrder>;

/// An object, or the node above the topmost object, which has no class.
struct ObjectNode {
    std::u16string name;
    ObjectNode* parent = nullptr;
    const ClassDefinition* definition = nullptr;
    /// Null for an object that never had children, as most objects.
    std::unique_ptr<ChildSet> childSet;
    /// Sorted by PropertyId.
    std::vector<StoredValue> values;
    std::uint32_t depth = 0;
    /// Whether the object was removed from the tree.
    bool deleted = false;

    const ChildSet& children() const {
        static const ChildSet none;
        return childSet ? *childSet : none;
    }
};

inline std::u16string_view NameOrder::nameOf(const ObjectNode* node) { return node->name; }

/// Whether an object can have the name: it can be part of a path and be read back from a file.
bool isAddressable(std::u16string_view name);

/// The value that an object shows for a property.
struct EffectiveValue {
    std::string_view text;
    bool inherited;
};

class ObjectTree {
public:
    /// The deepest level of an object. The topmost one has level 1.
    static constexpr std::uint32_t maxDepth = 256;

    ObjectTree() = default;
    ObjectTree(const ObjectTree&) = delete;
    ObjectTree& operator=(const ObjectTree&) = delete;

    const std::vector<PropertyDefinition>& properties() const { return properties_; }
    const std::deque<ClassDefinition>& classes() const { return classes_; }
    /// The node above the topmost object.
    const ObjectNode& aboveRoot() const { return aboveRoot_; }
    ObjectNode& aboveRoot() { return aboveRoot_; }
    /// The topmost object; null if there is none yet.
    ObjectNode* root() const {
        return aboveRoot_.children().empty() ? nullptr : *aboveRoot_.children().begin();
    }

    std::optional<PropertyId> findProperty(std::u16string_view name) const;
    /// Null if there is none.
    const ClassDefinition* findClass(std::u16string_view name) const;
    /// The object at a path such as u"localhost/W3SVC"; null if there is none.
    ObjectNode* findObject(std::u16string_view path) const;
    /// Null if there is none.
    static ObjectNode* findChild(const ObjectNode& parent, std::u16string_view name);
    static std::u16string pathOf(const ObjectNode& node);

    /// The object's own value; else, for an inheritable property, that of the nearest object above it with
    /// one; else the default.
    EffectiveValue effectiveValue(const ObjectNode& node, PropertyId property) const;

    /// Adds a definition, with a copy of its name; false if the name exists already.
    bool addProperty(PropertyDefinition definition);
    bool addClass(ClassDefinition definition);
    /// Keeps a text for as long as the tree.
    std::string_view keepText(std::string text) { return texts_.emplace_back(std::move(text)); }

    /// Why `parent` can't get a child of this name, as a text for the user; empty if it can.
    std::string_view whyNotAddable(const ObjectNode& parent, std::u16string_view name) const;
    /// Adds an object, which whyNotAddable must allow, without values.
    ObjectNode& addObject(ObjectNode& parent, std::u16string_view name, const ClassDefinition& definition);
    /// Sets the KeyType of a new object, if its class lists that property.
    void setKeyType(ObjectNode& node) const;
    /// Removes an object and all below it from the tree. The nodes stay valid, marked as deleted.
    static void remove(ObjectNode& node);
    /// Sets a value. `text` must outlive the tree.
    static void setValue(ObjectNode& node, PropertyId property, std::string_view text);

private:
    // A property or class has the number of its name.
    NameTable propertyNames_;
    /// The properties that were asked for. The results of findProperty don't depend on it.
    mutable NameSequence askedFor_;
    std::vector<PropertyDefinition> properties_;
    NameTable classNames_;
    std::deque<ClassDefinition> classes_;
    std::deque<ObjectNode> nodes_;
    std::deque<std::string> texts_;
    ObjectNode aboveRoot_;
};

} // namespace metabase
