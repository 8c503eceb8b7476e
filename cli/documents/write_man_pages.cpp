// `qx5 docs --man`: the manual pages as files.
#include "cli/documents/write_man_pages.h"

#include "cli/commands.h"
#include "cli/documents/man_pages.h"
#include "cli/documents/manual_text.h"

#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

namespace qx5::cli {

int WriteManPages(std::filesystem::path const& folder, CommandText const& program, std::string const& version)
{
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    try {
        for (auto const& [name, text] : ManPages(program, WholeManual(), version)) {
            std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
            out << text;
            out.close();
            if (!out) {
                return Complain(ExitFailed, fmt::format("{} cannot be written", (folder / name).string()));
            }
        }
    } catch (std::runtime_error const& failure) {
        return Complain(ExitFailed, failure.what());
    }
    return ExitGood;
}

} // namespace qx5::cli
