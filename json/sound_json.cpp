// Reads JSON text in which nothing is wrong: nearly all, and the only one that may be large. By RapidJSON's reader.
#include "json_number.h"
#include "json_parser.h"
#include "json_readers.h"
#include "object_keys.h"

#include <protocol/utf8.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Lengths of more than 4 GiB.
#define RAPIDJSON_NO_SIZETYPEDEFINE
namespace rapidjson {
using SizeType = std::size_t;
} // namespace rapidjson
#include <rapidjson/reader.h>
#include <rapidjson/stream.h>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

/// The library works on a copy of its own stream, which would not tell how far it has come; it does not copy others.
class Stream : public rapidjson::StringStream
{
public:
    using rapidjson::StringStream::StringStream;
};

/// Takes what the library reads. It tells neither where a value begins nor how a text was written: both follow from how
/// far it has come.
class SoundContent
{
public:
    SoundContent(JsonContent& content, Stream const& stream, std::size_t begin)
        : m_content(content), m_stream(stream), m_begin(begin), m_past(begin)
    {
    }

    bool Null() { return Add(Kind::Null, 0); }
    bool Bool(bool value) { return Add(Kind::Bool, value ? 1 : 0); }
    bool RawNumber(char const* literal, std::size_t length, bool /*copy*/)
    {
        return !IsBeyondDouble(std::string_view(literal, length)) && Add(Kind::Number, length);
    }
    bool String(char const* text, std::size_t length, bool /*copy*/) { return AddText(std::string_view(text, length)); }
    bool Key(char const* text, std::size_t length, bool /*copy*/)
    {
        auto const place = m_content.entries.size();
        auto& object = m_open.back();
        return AddText(std::string_view(text, length)) && object.keys.IsNew(m_content, object.place, place);
    }
    bool StartObject() { return Open(Kind::Object); }
    bool StartArray() { return Open(Kind::Array); }
    bool EndObject(std::size_t /*members*/) { return Close(); }
    bool EndArray(std::size_t /*items*/) { return Close(); }

    // Numbers come as they are written.
    bool Int(int /*value*/) { return false; }
    bool Uint(unsigned /*value*/) { return false; }
    bool Int64(std::int64_t /*value*/) { return false; }
    bool Uint64(std::uint64_t /*value*/) { return false; }
    bool Double(double /*value*/) { return false; }

    /// Where the library is in the text.
    std::size_t Now() const { return m_begin + m_stream.Tell(); }

private:
    static constexpr std::size_t BracketSize = 1; ///< the library stands before a bracket when it tells of it

    /// An array or object that is not closed yet.
    struct Level
    {
        std::size_t place;
        ObjectKeys keys{};
    };

    /// Of what was read last: behind what came before it stand spaces, a comma or a colon at most.
    std::size_t Begin() const
    {
        auto at = m_past;
        for (char c = m_content.text[at]; c == ' ' || c == ',' || c == ':' || c == '\n' || c == '\r' || c == '\t';) {
            c = m_content.text[++at];
        }
        return at;
    }

    bool Add(Kind kind, std::size_t extent)
    {
        m_content.entries.push_back(JsonEntry(kind, Begin(), extent, false));
        m_past = Now();
        return true;
    }

    bool AddText(std::string_view text)
    {
        // A zero character, which only an escape brings, is left to the reader that knows of what is wrong.
        if (protocol::FindInvalidUtf8(text) != text.size() || text.find('\0') != std::string_view::npos) {
            return false;
        }
        auto const begin = Begin();
        constexpr std::size_t quotes = 2;
        // An escape is longer than what it stands for.
        bool const isBeside = Now() - begin != text.size() + quotes;
        m_content.entries.push_back(
            JsonEntry(Kind::Text, begin, isBeside ? m_content.beside.size() : text.size(), isBeside));
        if (isBeside) {
            m_content.beside.emplace_back(text);
        }
        m_past = Now();
        return true;
    }

    bool Open(Kind kind)
    {
        if (m_open.size() >= JsonNestingLimit) {
            return false;
        }
        m_open.push_back({m_content.entries.size()});
        Add(kind, 0);
        m_past += BracketSize;
        return true;
    }
    bool Close()
    {
        m_content.entries[m_open.back().place].SetExtent(m_content.entries.size());
        m_open.pop_back();
        m_past = Now() + BracketSize;
        return true;
    }

    JsonContent& m_content;
    Stream const& m_stream;
    std::size_t const m_begin; ///< of the stream in the text
    std::size_t m_past;        ///< what was read last
    std::vector<Level> m_open;
};

} // namespace

bool ReadSoundJson(JsonContent& content)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    auto const begin = content.text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    Stream stream(content.text.c_str() + begin);
    SoundContent read(content, stream, begin);
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
    // It takes a zero byte for the end.
    return rapidjson::Reader().Parse<flags>(stream, read) && read.Now() == content.text.size();
}

} // namespace qx5
