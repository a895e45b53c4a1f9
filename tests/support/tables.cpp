#include "tests/support/tables.h"

#include "tests/support/folder.h"

#include <algorithm>
#include <charconv>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace {

bool contains(const std::vector<std::string>& keys, const std::string& key) {
    return std::ranges::find(keys, key) != keys.end();
}

/// Replaces the escapes of a text; false for a wrong one.
bool unescape(std::string& text) {
    constexpr std::string_view escapes = "nrt\\";
    constexpr std::string_view meanings = "\n\r\t\\";
    for (std::size_t at = text.find('\\'); at != std::string::npos; at = text.find('\\', at + 1)) {
        const std::size_t known = at + 1 < text.size() ? escapes.find(text[at + 1]) : std::string::npos;
        if (known != std::string::npos) {
            text.replace(at, 2, 1, meanings[known]);
            continue;
        }
        unsigned char code = 0;
        const char* digits = text.data() + at + 2;
        if (at + 4 > text.size() || digits[-1] != 'x') return false;
        if (std::from_chars(digits, digits + 2, code, 16).ptr != digits + 2) return false;
        text.replace(at, 4, 1, static_cast<char>(code));
    }
    return true;
}

} // namespace

void TableCase::fail(const std::string& message) const { throw std::runtime_error(place_ + ": " + message); }

void TableCase::add(const std::string& line) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string key = line.substr(0, blank);
    std::string text = line.substr(std::min(blank + 1, line.size()));
    if (!contains(keys_.required, key) && !contains(keys_.optional, key) && !contains(keys_.oneOf, key))
        fail("the table has no key \"" + key + "\"");
    if (!unescape(text)) fail("a wrong escape in \"" + key + "\"");
    if (!texts_.emplace(key, text).second) fail("\"" + key + "\" twice in one case");
}

void TableCase::check() const {
    for (const std::string& key : keys_.required) {
        if (!texts_.contains(key)) fail("the case has no \"" + key + "\"");
    }
    const auto isHere = [this](const std::string& key) { return texts_.contains(key); };
    if (!keys_.oneOf.empty() && std::ranges::count_if(keys_.oneOf, isHere) != 1)
        fail("the case needs exactly one of its expectations");
}

bool TableCase::has(const std::string& key) const {
    if (!contains(keys_.optional, key) && !contains(keys_.oneOf, key)) fail("\"" + key + "\" isn't optional");
    return texts_.contains(key);
}

const std::string& TableCase::operator[](const std::string& key) const {
    const auto found = texts_.find(key);
    if (found == texts_.end()) fail("no \"" + key + "\" is here to be read");
    return found->second;
}

std::string TableCase::get(const std::string& key, const std::string& fallback) const {
    return has(key) ? texts_.at(key) : fallback;
}

int TableCase::number(const std::string& key, const char* fallback) const {
    const std::string text = fallback != nullptr ? get(key, fallback) : (*this)[key];
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) fail("\"" + key + "\" isn't a number");
    return number;
}

std::ostream& operator<<(std::ostream& out, const TableCase& test) { return out << test.place(); }

std::vector<TableCase> readTable(const std::string& name, const TableKeys& keys) {
    std::vector<TableCase> cases;
    std::istringstream lines(testData(name));
    bool isInCase = false;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.starts_with('#')) continue;
        if (!line.empty() && !isInCase)
            cases.emplace_back("tests/data/" + name + ":" + std::to_string(number), keys);
        isInCase = !line.empty();
        if (isInCase) cases.back().add(line);
    }
    if (cases.size() < 2) throw std::runtime_error("tests/data/" + name + ": fewer than two cases");
    for (const TableCase& test : cases) test.check();
    return cases;
}
