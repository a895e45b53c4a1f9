#include "objectTree.h"

#include "valueSyntax.h"

#include <algorithm>

namespace {

auto placeOfChild(const Node& parent, std::u16string_view name) {
    const auto before = [](const Node* child, std::u16string_view wanted) { return child->name < wanted; };
    if (parent.children.empty() || before(parent.children.back(), name)) return parent.children.end();
    return std::lower_bound(parent.children.begin(), parent.children.end(), name, before);
}

template <class Values> auto placeOfValue(Values& values, PropertyId property) {
    if (values.empty() || values.back().property < property) return values.end();
    return std::ranges::lower_bound(values, property, {}, &StoredValue::property);
}

const StoredValue* ownValue(const Node& node, PropertyId property) {
    const auto found = placeOfValue(node.values, property);
    return found != node.values.end() && found->property == property ? &*found : nullptr;
}

} // namespace

bool isAddressable(std::u16string_view name) {
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char16_t unit = name[i];
        if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == u'/' || unit >= 0xFFFE) return false;
        if (isHighHalf(unit) && i + 1 < name.size() && isLowHalf(name[i + 1])) {
            ++i;
        } else if (isHighHalf(unit) || isLowHalf(unit)) {
            return false;
        }
    }
    return !name.empty();
}

std::optional<PropertyId> MetabaseTree::findProperty(std::u16string_view name) const {
    if (name.empty()) return std::nullopt;
    PropertyId& recent = recentProperties_[slotOf(name, recentProperties_.size())];
    if (recent < properties_.size() && equal(properties_[recent].name, name)) return recent;
    const auto found = propertyIds_.find(name);
    if (found == propertyIds_.end()) return std::nullopt;
    return recent = found->second;
}

const ClassDefinition* MetabaseTree::findClass(std::u16string_view name) const {
    const auto found = classesByName_.find(name);
    return found == classesByName_.end() ? nullptr : found->second;
}

Node* MetabaseTree::findChild(const Node& parent, std::u16string_view name) {
    const auto place = placeOfChild(parent, name);
    return place != parent.children.end() && (*place)->name == name ? *place : nullptr;
}

Node* MetabaseTree::find(std::u16string_view path) const {
    const Node* at = &above_;
    for (;;) {
        const std::size_t slash = path.find(u'/');
        Node* child = findChild(*at, path.substr(0, slash));
        if (child == nullptr || slash == std::u16string_view::npos) return child;
        at = child;
        path.remove_prefix(slash + 1);
    }
}

std::u16string MetabaseTree::pathOf(const Node& node) {
    std::size_t length = 0;
    for (const Node* at = &node; at->parent != nullptr; at = at->parent) length += at->name.size() + 1;
    std::u16string path(length - 1, u'/');
    for (const Node* at = &node; at->parent != nullptr; at = at->parent) {
        length -= at->name.size() + 1;
        path.replace(length, at->name.size(), at->name);
    }
    return path;
}

EffectiveValue MetabaseTree::effectiveValue(const Node& node, PropertyId property) const {
    if (const StoredValue* own = ownValue(node, property); own != nullptr) return {own->view(), false};
    const PropertyDefinition& definition = properties_[property];
    if (definition.inheritable) {
        for (const Node* at = node.parent; at != nullptr; at = at->parent) {
            if (const StoredValue* value = ownValue(*at, property); value != nullptr)
                return {value->view(), true};
        }
    }
    return {definition.defaultText, false};
}

bool MetabaseTree::addProperty(PropertyDefinition definition) {
    if (findProperty(definition.name)) return false;
    const auto id = static_cast<PropertyId>(properties_.size());
    definition.name = propertyNames_.emplace_back(definition.name);
    std::string nameText;
    writeName(nameText, definition.name);
    definition.nameText = keep(std::move(nameText));
    propertyIds_.emplace(definition.name, id);
    properties_.push_back(definition);
    return true;
}

bool MetabaseTree::addClass(ClassDefinition definition) {
    if (findClass(definition.name) != nullptr) return false;
    definition.listed.resize(properties_.size());
    for (const auto& list : {definition.mandatory, definition.optional}) {
        for (const PropertyId property : list) definition.listed[property] = true;
    }
    std::string keyType;
    writeString(keyType, definition.name);
    definition.keyType = keep(std::move(keyType));
    const ClassDefinition& added = classes_.emplace_back(std::move(definition));
    classesByName_.emplace(added.name, &added);
    return true;
}

std::string_view MetabaseTree::refusalOf(const Node& parent, std::u16string_view name) const {
    if (!isAddressable(name)) return "this can't be the name of an object";
    if (&parent == root() && name == u"schema") return "schema is the place of the classes";
    if (&parent == &above_ && (root() != nullptr || name != u"localhost"))
        return "the topmost object is localhost";
    if (parent.definition != nullptr && !parent.definition->container)
        return "an object of this class has no children";
    if (parent.depth >= maxDepth) return "the tree has more than 256 levels";
    if (findChild(parent, name) != nullptr) return "the object exists already";
    return {};
}

Node& MetabaseTree::add(Node& parent, std::u16string_view name, const ClassDefinition& definition) {
    Node& node = nodes_.emplace_back();
    node.name = name;
    node.parent = &parent;
    node.definition = &definition;
    node.depth = parent.depth + 1;
    parent.children.insert(placeOfChild(parent, name), &node);
    return node;
}

void MetabaseTree::setKeyType(Node& node) const {
    const std::optional<PropertyId> keyType = findProperty(u"KeyType");
    if (keyType && node.definition->lists(*keyType)) setValue(node, *keyType, node.definition->keyType);
}

void MetabaseTree::remove(Node& node) {
    std::vector<Node*> left{&node};
    while (!left.empty()) {
        Node* gone = left.back();
        left.pop_back();
        gone->gone = true;
        left.insert(left.end(), gone->children.begin(), gone->children.end());
    }
    node.parent->children.erase(placeOfChild(*node.parent, node.name));
}

bool MetabaseTree::setValue(Node& node, PropertyId property, std::string_view text) {
    const StoredValue value{text.data(), static_cast<std::uint32_t>(text.size()), property};
    const auto place = placeOfValue(node.values, property);
    if (place != node.values.end() && place->property == property) {
        *place = value;
        return false;
    }
    node.values.insert(place, value);
    return true;
}
