// Tables of test cases in tests/data.
//
// A case is a block of lines, each a key, a blank and a text, in which \n, \r, \t, \\ and \xNN are escapes. A
// key alone on its line has the empty text. An empty line ends a case, and lines that begin with # are
// comments.
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

/// The keys that the cases of a table may have.
struct TableKeys {
    /// Each case has all of these.
    std::vector<std::string> required;
    std::vector<std::string> optional = {};
    /// Each case has exactly one of these, if there are any.
    std::vector<std::string> oneOf = {};
};

/// One case. Asking it for a key that the table doesn't declare, or for a required text as an optional one,
/// is an exception that names the case.
class TableCase {
public:
    TableCase(std::string place, TableKeys keys) : place_(std::move(place)), keys_(std::move(keys)) {}

    /// Where the case begins, such as tests/data/objects.txt:17.
    const std::string& place() const { return place_; }
    bool has(const std::string& key) const;
    /// The text of a key that this case has.
    const std::string& operator[](const std::string& key) const;
    /// The text of an optional key, or `fallback`.
    std::string get(const std::string& key, const std::string& fallback) const;
    /// The decimal number of a key; with a fallback, of an optional key.
    int number(const std::string& key, const char* fallback = nullptr) const;

    /// For readTable: adds a line of the table, and expects that none is missing.
    void add(const std::string& line);
    void check() const;

private:
    [[noreturn]] void fail(const std::string& message) const;

    std::string place_;
    TableKeys keys_;
    std::map<std::string, std::string> texts_;
};

/// Where a failure prints a case, it prints its place.
std::ostream& operator<<(std::ostream& out, const TableCase& test);

/// The cases in tests/data/`name`. A fault of the table is an exception that names the case: an unknown key,
/// a key twice, a missing key, a wrong escape; and so are fewer than two cases.
std::vector<TableCase> readTable(const std::string& name, const TableKeys& keys);
