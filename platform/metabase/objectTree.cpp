#include "objectTree.h"

#include "automation/bstr.h"
#include "text/characters.h"
#include "text/utf16.h"

#include <algorithm>

namespace metabase {

namespace {

template <class Values> auto positionOfValue(Values& values, PropertyId property) {
    return std::ranges::lower_bound(values, property, {}, &StoredValue::property);
}

const StoredValue* ownValue(const ObjectNode& node, PropertyId property) {
    const auto found = positionOfValue(node.values, property);
    return found != node.values.end() && found->property == property ? &*found : nullptr;
}

} // namespace

bool isAddressable(std::u16string_view name) {
    const char16_t* const end = name.data() + name.size();
    for (const char16_t* at = name.data(); at != end;) {
        const char32_t c = utf16::decodeCharacter(at, end);
        if (isControl(c) || c == U'/' || c == 0xFFFE || c == 0xFFFF || utf16::isHalf(c)) return false;
    }
    return !name.empty();
}

std::optional<PropertyId> ObjectTree::findProperty(std::u16string_view name) const {
    const auto isNext = [&](PropertyId id) { return equal(properties_[id].name, name); };
    if (const PropertyId guessed = askedFor_.find(isNext); guessed != NameTable::none) return guessed;
    const PropertyId found = propertyNames_.find(name);
    if (found == NameTable::none) return std::nullopt;
    askedFor_.came(found);
    return found;
}

const ClassDefinition* ObjectTree::findClass(std::u16string_view name) const {
    const NameTable::Number found = classNames_.find(name);
    return found == NameTable::none ? nullptr : &classes_[found];
}

ObjectNode* ObjectTree::findChild(const ObjectNode& parent, std::u16string_view name) {
    const ChildSet& children = parent.children();
    const auto found = children.find(name);
    return found == children.end() ? nullptr : *found;
}

ObjectNode* ObjectTree::findObject(std::u16string_view path) const {
    const ObjectNode* at = &aboveRoot_;
    for (;;) {
        const std::size_t slash = path.find(u'/');
        ObjectNode* child = findChild(*at, path.substr(0, slash));
        if (child == nullptr || slash == std::u16string_view::npos) return child;
        at = child;
        path.remove_prefix(slash + 1);
    }
}

std::u16string ObjectTree::pathOf(const ObjectNode& node) {
    std::size_t length = 0;
    for (const ObjectNode* at = &node; at->parent != nullptr; at = at->parent) length += at->name.size() + 1;
    std::u16string path(length - 1, u'/');
    for (const ObjectNode* at = &node; at->parent != nullptr; at = at->parent) {
        length -= at->name.size() + 1;
        path.replace(length, at->name.size(), at->name);
    }
    return path;
}

EffectiveValue ObjectTree::effectiveValue(const ObjectNode& node, PropertyId property) const {
    if (const StoredValue* own = ownValue(node, property); own != nullptr) return {own->view(), false};
    const PropertyDefinition& definition = properties_[property];
    if (definition.inheritable) {
        for (const ObjectNode* at = node.parent; at != nullptr; at = at->parent) {
            if (const StoredValue* value = ownValue(*at, property); value != nullptr)
                return {value->view(), true};
        }
    }
    return {definition.defaultText, false};
}

bool ObjectTree::addProperty(PropertyDefinition definition) {
    const PropertyId id = propertyNames_.add(definition.name);
    if (id < properties_.size()) return false;
    definition.name = propertyNames_[id];
    properties_.push_back(definition);
    return true;
}

bool ObjectTree::addClass(ClassDefinition definition) {
    if (classNames_.add(definition.name) < classes_.size()) return false;
    definition.listed.resize(properties_.size());
    for (const auto& list : {definition.mandatory, definition.optional}) {
        for (const PropertyId property : list) definition.listed[property] = true;
    }
    classes_.push_back(std::move(definition));
    return true;
}

std::string_view ObjectTree::whyNotAddable(const ObjectNode& parent, std::u16string_view name) const {
    if (!isAddressable(name)) return "this can't be the name of an object";
    if (&parent == root() && name == u"schema") return "schema is the place of the classes";
    if (&parent == &aboveRoot_ && name != u"localhost") return "the topmost object is localhost";
    if (parent.definition != nullptr && !parent.definition->container)
        return "an object of this class has no children";
    if (parent.depth >= maxDepth) return "the tree has more than 256 levels";
    if (findChild(parent, name) != nullptr) return "the object exists already";
    return {};
}

ObjectNode& ObjectTree::addObject(ObjectNode& parent, std::u16string_view name,
                                  const ClassDefinition& definition) {
    ObjectNode& node = nodes_.emplace_back();
    node.name = name;
    node.parent = &parent;
    node.definition = &definition;
    node.depth = parent.depth + 1;
    if (!parent.childSet) parent.childSet = std::make_unique<ChildSet>();
    parent.childSet->insert(parent.childSet->end(), &node);
    return node;
}

void ObjectTree::setKeyType(ObjectNode& node) const {
    const std::optional<PropertyId> keyType = findProperty(u"KeyType");
    if (keyType && node.definition->lists(*keyType)) setValue(node, *keyType, node.definition->keyTypeText);
}

void ObjectTree::remove(ObjectNode& node) {
    std::vector<ObjectNode*> left{&node};
    while (!left.empty()) {
        ObjectNode* removed = left.back();
        left.pop_back();
        removed->deleted = true;
        left.insert(left.end(), removed->children().begin(), removed->children().end());
    }
    node.parent->childSet->erase(&node);
}

void ObjectTree::setValue(ObjectNode& node, PropertyId property, std::string_view text) {
    const StoredValue value(property, text);
    const auto position = positionOfValue(node.values, property);
    if (position != node.values.end() && position->property == property) {
        *position = value;
    } else {
        node.values.insert(position, value);
    }
}

} // namespace metabase
