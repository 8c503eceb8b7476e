// `qx5 decode`: records out of captured traffic, a raw stream or hexadecimal text, printed field by field.
#include "cli/commands.h"

#include "cli/capture_file.h"
#include "cli/capture_records.h"
#include "cli/record_json.h"
#include "reference_host/common/path_text.h"

#include <protocol/frame_reader.h>
#include <protocol/print.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <istream>
#include <string_view>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr std::size_t chunkBytes = std::size_t{64} * 1024;

bool IsSpace(char character)
{
    return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

int HexDigit(char character)
{
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    return -1;
}

/// A frame begins with version 5 and so cannot begin with a character of hexadecimal text.
bool LooksLikeHex(std::string_view beginning)
{
    bool digits = false;
    bool comment = false;
    for (char const character : beginning) {
        if (character == '\n') {
            comment = false;
        } else if (character == '#') {
            comment = true;
        } else if (comment && character != '\0') {
            continue;
        } else if (HexDigit(character) >= 0 || character == 'x' || character == 'X') {
            digits = true;
        } else if (!IsSpace(character) && character != ':' && character != ',') {
            return false; // a null character even in a comment
        }
    }
    return digits;
}

/// Turns hexadecimal text into bytes as it comes: blanks, ':' and ',' may stand between bytes, "0x" in front of them,
/// '#' begins a comment to the end of the line.
class HexText
{
public:
    /// False, and why, at the first character that is no hexadecimal text.
    bool Add(std::string_view text, std::vector<unsigned char>& bytes, std::string& problem)
    {
        for (char const character : text) {
            if (character == '\n') {
                ++m_line;
                m_comment = false;
            }
            if (m_comment) {
                continue;
            }
            if (character == '#') {
                m_comment = true;
                continue;
            }
            int const digit = HexDigit(character);
            if (digit >= 0) {
                if (m_half < 0) {
                    m_half = digit;
                } else {
                    bytes.push_back(static_cast<unsigned char>(m_half * 16 + digit));
                    m_half = -1;
                }
            } else if ((character == 'x' || character == 'X') && m_half == 0) {
                m_half = -1;
            } else if (!IsSpace(character) && character != ':' && character != ',') {
                problem = fmt::format("line {} holds what is no hexadecimal text", m_line);
                return false;
            } else if (m_half >= 0) {
                problem = fmt::format("line {} holds half a byte", m_line);
                return false;
            }
        }
        return true;
    }
    bool Finish(std::string& problem) const
    {
        if (m_half >= 0) {
            problem = "the text ends with half a byte";
        }
        return m_half < 0;
    }

private:
    int m_line = 1;
    int m_half = -1;
    bool m_comment = false;
};

/// "1 byte", "2 bytes".
std::string Count(std::uint64_t number, std::string_view what)
{
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

void PrintReady(protocol::FrameReader& reader, std::uint64_t& skippedTold, bool json)
{
    while (auto const frame = reader.Next()) {
        if (json) {
            fmt::print("{}\n", WriteJson(JsonValue::Object(RecordMembers(*frame))));
            continue;
        }
        if (std::uint64_t const skipped = reader.SkippedBytes(); skipped != skippedTold) {
            fmt::print("-- {} of no good frame skipped\n\n", Count(skipped - skippedTold, "byte"));
            skippedTold = skipped;
        }
        fmt::print("{}\n", protocol::PrintFrame(*frame));
    }
}

int DecodeCapture(std::istream& input, std::string_view beginning, std::string const& name,
                  DecodeOptions const& options)
{
    CaptureOptions capture{.port = {}, .json = options.json};
    if (options.port) {
        capture.port = static_cast<std::uint16_t>(*options.port);
    }
    auto const found = PrintCapture(input, beginning, capture);
    std::string rest;
    auto const tell = [&](std::uint64_t number, std::string const& text) { rest += number != 0 ? ", " + text : ""; };
    tell(found.lostBytes, Count(found.lostBytes, "byte") + " not captured");
    tell(found.unusable, Count(found.unusable, "packet") + " that cannot be used");
    tell(found.damage.size(), "and the file is damaged: " + found.damage);
    if (found.skippedBytes != 0 || found.records == 0 || !rest.empty()) {
        return Complain(ExitFailed, fmt::format("{}: {}, {}, {} skipped{}", name, Count(found.records, "good record"),
                                                Count(found.damagedFrames, "damaged frame"),
                                                Count(found.skippedBytes, "byte"), rest));
    }
    return ExitGood;
}

int DecodeStream(std::istream& input, std::string const& name, DecodeOptions const& options)
{
    protocol::FrameReader reader;
    HexText hexText;
    std::uint64_t skippedTold = 0;
    std::vector<char> chunk(chunkBytes);
    std::vector<unsigned char> bytes;
    bool first = true;
    bool hex = options.hex;
    std::string problem;
    for (;;) {
        input.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        std::string_view const text(chunk.data(), static_cast<std::size_t>(input.gcount()));
        if (text.empty()) {
            break;
        }
        if (first && !options.hex && !options.raw && LooksLikeCapture(text)) {
            return DecodeCapture(input, text, name, options);
        }
        if (first && options.port) {
            return Complain(ExitWrong,
                            fmt::format("{}: it is no captured traffic, and --port is for that alone", name));
        }
        if (first) {
            hex = options.hex || (!options.raw && LooksLikeHex(text));
            first = false;
        }
        bytes.clear();
        if (!hex) {
            bytes.assign(text.begin(), text.end());
        } else if (!hexText.Add(text, bytes, problem)) {
            return Complain(ExitWrong, fmt::format("{}: {}", name, problem));
        }
        reader.Feed(bytes);
        PrintReady(reader, skippedTold, options.json);
    }
    if (input.bad()) {
        return Complain(ExitWrong, fmt::format("{}: cannot be read", name));
    }
    if (hex && !hexText.Finish(problem)) {
        return Complain(ExitWrong, fmt::format("{}: {}", name, problem));
    }
    reader.Finish();
    PrintReady(reader, skippedTold, options.json);
    if (std::uint64_t const skipped = reader.SkippedBytes(); skipped != skippedTold && !options.json) {
        fmt::print("-- {} of no good frame at the end\n", Count(skipped - skippedTold, "byte"));
    }
    if (first) {
        return Complain(ExitFailed, fmt::format("{}: there is nothing to decode, it is empty", name));
    }
    if (reader.SkippedBytes() != 0 || reader.GoodFrames() == 0) {
        std::string const hint =
            reader.GoodFrames() == 0
                ? "; records are read from captured traffic, a raw stream or hexadecimal text, see `qx5 decode --help`"
                : "";
        return Complain(ExitFailed,
                        fmt::format("{}: {}, {}, {} skipped{}", name, Count(reader.GoodFrames(), "good record"),
                                    Count(reader.DamagedFrames(), "damaged frame"),
                                    Count(reader.SkippedBytes(), "byte"), hint));
    }
    return ExitGood;
}

} // namespace

int Decode(DecodeOptions const& options)
{
    std::vector<std::string> files = options.files;
    if (files.empty()) {
        files.emplace_back("-");
    }
    int worst = ExitGood;
    for (std::string const& file : files) {
        int code = ExitGood;
        if (file == "-") {
            code = DecodeStream(std::cin, "standard input", options);
        } else {
            std::ifstream input(vordal::PathOf(file), std::ios::binary);
            code = input ? DecodeStream(input, file, options)
                         : Complain(ExitWrong, fmt::format("{}: there is no such file, or it cannot be read", file));
        }
        worst = std::max(worst, code);
    }
    return worst;
}

} // namespace qx5::cli
