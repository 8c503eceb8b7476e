// A folder in memory for recordings that are measured: the disk is none of it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace bench {

/// Gone with this object, and all that is in it.
class RecordingFolder
{
public:
    RecordingFolder()
    {
        std::string name = "/dev/shm/qx5-bench-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("there is no file system in memory at /dev/shm");
        }
        m_path = name;
    }
    RecordingFolder(RecordingFolder const&) = delete;
    RecordingFolder& operator=(RecordingFolder const&) = delete;
    ~RecordingFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::filesystem::path File() const { return m_path / "bench.mcap"; }

private:
    std::filesystem::path m_path;
};

} // namespace bench
