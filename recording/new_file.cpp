// A file that is made of a recording.
#include "new_file.h"

#include <system_error>

namespace qx5::recording {

namespace {

constexpr std::size_t usualPiece = std::size_t{1} << 20;

} // namespace

UnfinishedFile::~UnfinishedFile()
{
    if (!m_isKept) {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
}

void NewFile::Write(std::span<unsigned char const> bytes)
{
    m_waiting.insert(m_waiting.end(), bytes.begin(), bytes.end());
    if (m_waiting.size() >= usualPiece) {
        WriteOut();
    }
}

void NewFile::Write(std::string_view text)
{
    Write({reinterpret_cast<unsigned char const*>(text.data()), text.size()});
}

void NewFile::Finish()
{
    WriteOut();
    m_file.Sync();
    m_unfinished.Keep();
}

void NewFile::WriteOut()
{
    m_file.Append(m_waiting);
    m_waiting.clear();
}

} // namespace qx5::recording
