// Lines for whoever runs the process: standard error.
#include "complaint.h"

#include <cstdio>
#include <exception>
#include <string>

namespace qx5::platform {

void Complain(std::string_view line) noexcept
{
    try {
        std::string text = "QX5SonarConfiguration: ";
        text += line;
        // File names may hold anything; a line stays a line.
        for (char& character : text) {
            if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) {
                character = ' ';
            }
        }
        text += '\n';
        std::fwrite(text.data(), 1, text.size(), stderr);
    } catch (std::exception const&) {
        // Without memory for a line nothing is said.
    }
}

} // namespace qx5::platform
