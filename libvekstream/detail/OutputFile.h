/// @file
/// A file that has a name of its own while it is written, and its final one when it is whole.
#pragma once

#include <string>

namespace vek::detail {

class OutputFile {
public:
    /// A pipe or a device under `path` is written to as it is. Where `path` is a symbolic link, the
    /// file that it leads to is meant. Throws IoError.
    OutputFile(const std::string& path, bool _replace);
    /// Removes the file unless it has got its name.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Open for writing until commit(), and, but for a pipe or a device, for reading.
    int descriptor() const { return fd; }

    /// Makes the file safe on its storage, closes it and gives it its name. Throws IoError;
    /// where memory is lacking, before anything has happened.
    void commit();

private:
    void openAsItIs(const std::string& path);
    void create(unsigned mode);
    void close();

    std::string target;
    std::string temporary;  ///< empty: there is nothing to be named or removed
    bool replace;
    int fd = -1;
};

// Ways to give a file a name that is not taken yet; return 0 or an errno value.

/// In one step, but not on every file system: EINVAL then.
int renameToNewName(const std::string& from, const std::string& to);
/// In one step, not on every file system either.
int linkToNewName(const std::string& from, const std::string& to);
/// In two steps, on any file system: takes the name with an empty file, if it is free, and puts the
/// file in its place. Between them the empty file can be seen, it stays where the process is killed
/// there, and whatever another process puts under the name, or writes to it, right then, is lost.
int replacePlaceholder(const std::string& from, const std::string& to);
/// The first of them that there is.
int giveNewName(const std::string& from, const std::string& to);

}  // namespace vek::detail
