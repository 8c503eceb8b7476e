// The command and the host know no plug-in by name: what they need of one it registers.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

/// Each line of the file in which one of the names stands, as "file:line: name".
std::vector<std::string> Occurrences(std::filesystem::path const& file, std::vector<std::string> const& names)
{
    std::vector<std::string> found;
    std::ifstream in(file, std::ios::binary);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        for (std::string const& name : names) {
            if (line.find(name) != std::string::npos) {
                found.push_back(file.string() + ":" + std::to_string(number) + ": " + name);
            }
        }
    }
    return found;
}

/// What every name of our plug-in's classes, views, templates and pages begins with, or is.
std::vector<std::string> const names{
    "QX5Sonar",       "QX5SONAR", "QX5DataRecording", "QX5OceanMenu", "QX5RouteSteering", "TerminalCommandsToQX5",
    "X5SonarPicture", "X5 Fan"};

TEST(PluginNames, StandInTheirPlugInAlone)
{
    namespace fs = std::filesystem;
    std::size_t files = 0;
    for (char const* const folder : {"cli", "reference_host"}) {
        for (auto const& entry : fs::recursive_directory_iterator(fs::path(QX5_SOURCE_DIR) / folder)) {
            if (entry.is_regular_file()) {
                ++files;
                EXPECT_EQ(Occurrences(entry.path(), names), std::vector<std::string>{});
            }
        }
    }
    EXPECT_GT(files, 150U);
}

TEST(PluginNames, AreFoundWhereTheyStand)
{
    auto const plugin = std::filesystem::path(QX5_SOURCE_DIR) / "DeviceDLLs" / "QX5SonarConfiguration";
    EXPECT_FALSE(Occurrences(plugin / "QX5SonarConfiguration.cpp", names).empty());
    EXPECT_FALSE(Occurrences(plugin / "view" / "QX5OceanMenuPage.cpp", {"QX5OceanMenu"}).empty());
}

} // namespace
} // namespace qx5::test
