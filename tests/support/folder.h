// Temporary folders for tests, and the files that come with the tests.
#pragma once

#include <string>
#include <string_view>

inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

/// The text without each `part` and what follows it up to `end`.
std::string without(std::string text, const std::string& part, char end);

/// The bytes of a file; Folder::noFile if there is none.
std::string readBytes(const std::string& path);

/// A new empty folder, removed with all its content by its owner's destructor.
class Folder {
public:
    /// `inMemory` suits thousands of changes to small files; where the system has no such place, it is a
    /// folder on disk.
    enum class Place { onDisk, inMemory };

    explicit Folder(Place place = Place::onDisk);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    std::string path(const std::string& name = "") const { return path_ + "/" + name; }
    void write(const std::string& name, const std::string& bytes) const;
    /// As of readBytes.
    std::string read(const std::string& name) const { return readBytes(path(name)); }

    static const std::string noFile;

private:
    std::string path_;
};

/// The bytes of the sample metabase, and of a file in tests/data.
std::string sampleMetabase();
std::string testData(const std::string& name);
