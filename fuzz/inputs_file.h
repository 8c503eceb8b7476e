// Files of inputs as they are kept with the sources: text that a review can read.
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace fuzz {

/// Pairs of hexadecimal digits; blanks mean nothing. False for anything else.
inline bool AppendHex(std::string const& line, std::string& bytes)
{
    int high = -1;
    for (char const c : line) {
        if (c == ' ') {
            continue;
        }
        std::size_t const digit = std::string("0123456789abcdef").find(c);
        if (digit == std::string::npos) {
            return false;
        }
        if (high >= 0) {
            bytes.push_back(static_cast<char>(high * 16 + static_cast<int>(digit)));
        }
        high = high >= 0 ? -1 : static_cast<int>(digit);
    }
    return high < 0;
}

/// A ".hex" file holds inputs as lines of hexadecimal digits behind a line of words, up to the next blank line; lines
/// with # say nothing. Any other file is one input as it is. Throws std::runtime_error, which names the file.
inline std::vector<std::string> ReadInputs(std::filesystem::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path.string() + ": cannot be read");
    }
    std::vector<std::string> inputs;
    if (path.extension() != ".hex") {
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        return inputs;
    }
    std::size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::string bytes; // what was just read is the input's title
        for (; std::getline(file, line) && !line.empty(); ++number) {
            if (!AppendHex(line, bytes)) {
                throw std::runtime_error(path.string() + ":" + std::to_string(number + 1) + ": no hexadecimal bytes");
            }
        }
        ++number;
        inputs.push_back(std::move(bytes));
    }
    return inputs;
}

/// The files of a folder and of those below, in the order of their names; a file as itself; nothing for what is not
/// there.
inline std::vector<std::filesystem::path> FilesOf(std::filesystem::path const& path)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_regular_file(path)) {
        files.push_back(path);
    }
    if (std::filesystem::is_directory(path)) {
        for (auto const& entry : std::filesystem::recursive_directory_iterator(path)) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace fuzz
