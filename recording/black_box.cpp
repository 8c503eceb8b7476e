// The black box of a project.
#include "black_box.h"

#include "recording_error.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <system_error>

#include <fmt/format.h>

namespace qx5::recording {

namespace {

constexpr std::string_view ending = ".mcap";
/// So often another program may take a number first.
constexpr int attempts = 100;

/// The number of a file of the box; 0 for any other.
std::uint64_t NumberOf(std::filesystem::path const& file)
{
    auto const name = file.filename().string();
    if (!name.ends_with(ending)) {
        return 0;
    }
    std::uint64_t number = 0;
    auto const* const last = name.data() + name.size() - ending.size();
    auto const [end, problem] = std::from_chars(name.data(), last, number);
    return problem == std::errc() && end == last ? number : 0;
}

struct Piece
{
    std::filesystem::path file;
    std::uint64_t bytes = 0;
};

/// By number, oldest first. What cannot be looked at is not there.
std::map<std::uint64_t, Piece> PiecesIn(std::filesystem::path const& folder)
{
    std::map<std::uint64_t, Piece> pieces;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        auto const number = NumberOf(entry->path());
        std::error_code unknown;
        auto const bytes = number != 0 ? entry->file_size(unknown) : 0;
        if (number != 0 && !unknown) {
            pieces[number] = {entry->path(), bytes};
        }
    }
    return pieces;
}

bool IsBeingRecorded(std::filesystem::path const& file)
{
    try {
        RecordingLock const lock(file);
        return false;
    } catch (RecordingError const&) {
        return true;
    }
}

} // namespace

std::filesystem::path BlackBoxOf(std::filesystem::path const& project)
{
    auto folder = project;
    folder += ".black-box";
    return folder;
}

BlackBox::BlackBox(std::filesystem::path folder, std::uint64_t bytes, McapTexts program)
    : m_folder(std::move(folder)), m_bytes(std::max(bytes, LeastBytes)), m_program(std::move(program))
{
}

std::unique_ptr<SessionWriter> BlackBox::Next()
{
    std::error_code error;
    std::filesystem::create_directory(m_folder, error);
    if (error) {
        throw RecordingError(fmt::format("{}: cannot be made: {}", m_folder.string(), error.message()));
    }
    MakeRoom();
    auto const pieces = PiecesIn(m_folder);
    auto number = pieces.empty() ? std::uint64_t{1} : pieces.rbegin()->first + 1;
    for (int attempt = 1;; ++attempt, ++number) {
        auto const file = m_folder / fmt::format("{:06}{}", number, ending);
        try {
            return std::make_unique<SessionWriter>(file, m_program);
        } catch (RecordingError const&) {
            if (attempt == attempts || !std::filesystem::exists(file, error)) {
                throw;
            }
        }
    }
}

void BlackBox::MakeRoom() const
{
    auto const pieces = PiecesIn(m_folder);
    std::uint64_t bytes = 0;
    for (auto const& [number, piece] : pieces) {
        bytes += piece.bytes;
    }
    // One is about to grow; it ends with its index and with a message that may be long: room for another.
    auto const most = m_bytes - 2 * PieceBytes();
    for (auto piece = pieces.begin(); piece != pieces.end() && bytes > most; ++piece) {
        std::error_code error;
        if (!IsBeingRecorded(piece->second.file) && std::filesystem::remove(piece->second.file, error)) {
            bytes -= piece->second.bytes;
        }
    }
}

std::unique_ptr<FlightRecorder> BlackBox::Record(std::filesystem::path const& folder, std::uint64_t bytes,
                                                 RecorderOptions options)
{
    auto box = std::make_shared<BlackBox>(folder, bytes, options.program);
    RecorderPieces pieces{box->PieceBytes(), [box] { return box->Next(); }};
    return std::make_unique<FlightRecorder>(std::move(pieces), std::move(options));
}

} // namespace qx5::recording
