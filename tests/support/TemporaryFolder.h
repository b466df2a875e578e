/// @file
/// A folder for the files of one test, which is removed with all that is in it.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "libvekutil/utility.h"

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "vektrace-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name) const { return (folder / name).string(); }

    /// The names of what is in the folder, sorted, hidden ones too.
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            result.push_back(entry.path().filename().string());
        }
        std::sort(result.begin(), result.end());
        return result;
    }

    /// Makes the file or writes it anew; returns its path.
    std::string write(const std::string& name, const byteVec_t& content) const {
        std::ofstream file(path(name), std::ios::binary);
        append(file, content);
        return path(name);
    }

    void append(const std::string& name, const byteVec_t& content) const {
        std::ofstream file(path(name), std::ios::binary | std::ios::app);
        append(file, content);
    }

    byteVec_t content(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return byteVec_t(std::istreambuf_iterator<char>(file), {});
    }

private:
    static void append(std::ofstream& file, const byteVec_t& content) {
        file.write(reinterpret_cast<const char*>(content.data()),
                   static_cast<std::streamsize>(content.size()));
        if (!file.flush()) {
            throw std::runtime_error("a file of the test cannot be written");
        }
    }

    std::filesystem::path folder;
};
