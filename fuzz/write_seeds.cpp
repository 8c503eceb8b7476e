// Turns seeds as people write them into the files of a corpus: write_seeds SEEDS.txt FOLDER.
// A seed is lines of hexadecimal digits behind a line of words, up to the next blank line; lines with # say nothing.
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace {

/// False for a line that is not pairs of hexadecimal digits; blanks mean nothing.
bool AppendHex(std::string const& line, std::string& bytes)
{
    int high = -1;
    for (char const c : line) {
        if (c == ' ')
            continue;
        std::size_t const digit = std::string("0123456789abcdef").find(c);
        if (digit == std::string::npos)
            return false;
        if (high >= 0)
            bytes.push_back(static_cast<char>(high * 16 + static_cast<int>(digit)));
        high = high >= 0 ? -1 : static_cast<int>(digit);
    }
    return high < 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "write_seeds SEEDS.txt FOLDER\n";
        return 2;
    }
    std::ifstream seeds(argv[1]);
    std::filesystem::path const folder(argv[2]);
    std::filesystem::create_directories(folder);
    std::size_t lineNumber = 0;
    std::size_t written = 0;
    std::string line;
    while (std::getline(seeds, line)) {
        ++lineNumber;
        if (line.empty() || line.front() == '#')
            continue;
        std::string bytes; // what was just read is the seed's title
        while (std::getline(seeds, line) && !line.empty()) {
            ++lineNumber;
            if (!AppendHex(line, bytes)) {
                std::cerr << argv[1] << ":" << lineNumber << ": no hexadecimal bytes\n";
                return 1;
            }
        }
        ++lineNumber;
        std::ofstream file(folder / ("seed" + std::to_string(++written)), std::ios::binary);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) {
            std::cerr << folder << ": cannot write\n";
            return 1;
        }
    }
    return written > 0 ? 0 : 1;
}
