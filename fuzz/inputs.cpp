// Between files of inputs and the folders that a fuzzer works in.
//   inputs unpack FOLDER FILE...   writes each input of the files (folders are walked) into a file of its own
//   inputs pack FILE FOLDER TEXT   writes the inputs of the folder into one file, small ones first; TEXT is its comment
//   inputs add FILE INPUT TITLE    appends one input to such a file, unless it is there
#include "inputs_file.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

using namespace fuzz;

void WriteInput(std::ostream& out, std::string const& title, std::string const& bytes)
{
    constexpr std::size_t lineBytes = 48;
    out << '\n' << title << '\n';
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        constexpr char digits[] = "0123456789abcdef";
        auto const byte = static_cast<unsigned char>(bytes[at]);
        out << digits[byte >> 4U] << digits[byte & 15U];
        if (at % lineBytes == lineBytes - 1 && at + 1 < bytes.size()) {
            out << '\n';
        }
    }
    out << '\n';
}

void Flush(std::ofstream& out, std::filesystem::path const& path)
{
    if (!out.flush()) {
        throw std::runtime_error(path.string() + ": cannot be written");
    }
}

void Unpack(std::filesystem::path const& folder, char** from, char** end)
{
    std::filesystem::create_directories(folder);
    std::size_t number = 0;
    for (; from != end; ++from) {
        for (auto const& file : FilesOf(*from)) {
            for (auto const& bytes : ReadInputs(file)) {
                auto const path = folder / ("kept" + std::to_string(++number));
                std::ofstream out(path, std::ios::binary);
                out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
                Flush(out, path);
            }
        }
    }
}

void Pack(std::filesystem::path const& path, std::filesystem::path const& folder, std::string const& comment)
{
    std::vector<std::string> inputs;
    for (auto const& file : FilesOf(folder)) {
        for (auto& bytes : ReadInputs(file)) {
            inputs.push_back(std::move(bytes));
        }
    }
    std::sort(inputs.begin(), inputs.end(), [](std::string const& a, std::string const& b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    inputs.erase(std::unique(inputs.begin(), inputs.end()), inputs.end());
    std::ofstream out(path, std::ios::binary);
    out << "# " << comment << '\n';
    for (auto const& bytes : inputs) {
        if (!bytes.empty()) {
            WriteInput(out, std::to_string(bytes.size()) + " bytes", bytes);
        }
    }
    Flush(out, path);
}

void Add(std::filesystem::path const& path, std::filesystem::path const& input, std::string const& title)
{
    auto const bytes = ReadInputs(input).at(0);
    if (std::filesystem::exists(path)) {
        auto const there = ReadInputs(path);
        if (std::find(there.begin(), there.end(), bytes) != there.end()) {
            return;
        }
    }
    std::ofstream out(path, std::ios::binary | std::ios::app);
    if (out.tellp() == 0) {
        out << "# Inputs that failed once; each is run by the tests.\n";
    }
    WriteInput(out, title, bytes);
    Flush(out, path);
}

} // namespace

int main(int argc, char** argv)
try {
    std::string const what = argc > 1 ? argv[1] : "";
    if (what == "unpack" && argc > 3) {
        Unpack(argv[2], argv + 3, argv + argc);
    } else if (what == "pack" && argc == 5) {
        Pack(argv[2], argv[3], argv[4]);
    } else if (what == "add" && argc == 5) {
        Add(argv[2], argv[3], argv[4]);
    } else {
        std::cerr << "inputs unpack FOLDER FILE... | pack FILE FOLDER TEXT | add FILE INPUT TITLE\n";
        return 2;
    }
    return 0;
} catch (std::exception const& error) {
    std::cerr << "inputs: " << error.what() << '\n';
    return 1;
}
