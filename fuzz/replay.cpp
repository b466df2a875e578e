// Runs files through one fuzz target: replay FILE|FOLDER..., folders with all that lies below them.
//
// It takes the place of libFuzzer where there is none, so that the inputs that were found once are
// tried by every compiler and on every platform. A folder without files is an error.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/support/Script.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& path) {
    if (fs::is_regular_file(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        throw std::runtime_error(path.string() + ": there are no files");
    }
    return files;
}

void run(const fs::path& path) {
    std::cout << path.string() << std::endl;  // flushed: the next thing may be the end
    std::ifstream file(path, std::ios::binary);
    const byteVec_t content{std::istreambuf_iterator<char>(file), {}};
    if (!file || content.size() != fs::file_size(path)) {
        throw std::runtime_error(path.string() + ": cannot be read");
    }
    // In memory of exactly its length, so that a checker sees what is read beyond.
    const std::unique_ptr<uint8_t[]> input(new uint8_t[content.size()]);
    std::copy(content.begin(), content.end(), input.get());
    LLVMFuzzerTestOneInput(input.get(), content.size());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        size_t count = 0;
        for (int i = 1; i < argc; ++i) {
            for (const fs::path& file : filesOf(argv[i])) {
                run(file);
                ++count;
            }
        }
        std::cout << count << " inputs" << std::endl;
        return count == 0 ? 1 : 0;
    } catch (const std::exception& e) {
        std::cerr << "replay: " << e.what() << '\n';
        return 1;
    }
}
