// A folder of a test's own below the system's temporary one: tests run beside one another, and so do whole suites.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace qx5::test {

/// Made empty, named by nobody else, gone with this object and all that is in it.
class TemporaryFolder
{
public:
    /// `name`: how the folder's name begins.
    explicit TemporaryFolder(std::string const& name = "qx5")
    {
        auto path = (std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string();
        if (mkdtemp(path.data()) == nullptr) {
            throw std::filesystem::filesystem_error("no folder can be made", path,
                                                    std::error_code(errno, std::generic_category()));
        }
        m_path = path;
    }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    operator std::filesystem::path const&() const { return m_path; }
    std::string string() const { return m_path.string(); }
    friend std::filesystem::path operator/(TemporaryFolder const& folder, std::filesystem::path const& name)
    {
        return folder.m_path / name;
    }

private:
    std::filesystem::path m_path;
};

} // namespace qx5::test
