// Reads JSON text in which nothing is wrong: nearly all, and the only one that may be large.
#include "json_number.h"
#include "json_parser.h"
#include "json_readers.h"
#include "object_keys.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

constexpr bool IsSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Characters of a text that stand for themselves and are ASCII.
constexpr auto isPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0x20; c < 0x80; ++c) {
        plain[c] = c != '"' && c != '\\';
    }
    return plain;
}();

class SoundReader
{
public:
    explicit SoundReader(JsonContent& content)
        : m_content(content), m_entries(content.entries), m_begin(content.text.data()),
          m_end(m_begin + content.text.size()), m_now(m_begin)
    {
        if (content.text.starts_with("\xEF\xBB\xBF")) {
            m_now += 3;
        }
    }

    // What follows the text is a 0, which stands nowhere in a sound document outside of a text, nor in one.
    bool Run()
    {
        for (;;) {
            if (!ReadValue()) {
                return false;
            }
            if (m_isOpened) {
                continue; // its first value
            }
            for (;;) {
                SkipSpace();
                if (m_open.empty()) {
                    return m_now == m_end;
                }
                auto const& level = m_open.back();
                if (*m_now == ',') {
                    ++m_now;
                    if (!level.isArray && !ReadKey()) {
                        return false;
                    }
                    break;
                }
                if (*m_now != (level.isArray ? ']' : '}')) {
                    return false;
                }
                Close();
            }
        }
    }

private:
    /// An array or object that is not closed yet.
    struct Level
    {
        std::size_t place;
        bool isArray;
        ObjectKeys keys{};
    };

    void SkipSpace()
    {
        while (IsSpace(*m_now)) {
            ++m_now;
        }
    }
    std::size_t Here() const { return static_cast<std::size_t>(m_now - m_begin); }
    void Add(Kind kind, std::size_t at, std::size_t extent, bool isBeside = false)
    {
        m_entries.push_back(JsonEntry(kind, at, extent, isBeside));
    }

    /// An array or object that is not empty is opened, and its first key read.
    bool ReadValue()
    {
        m_isOpened = false;
        SkipSpace();
        switch (*m_now) {
        case '"':
            return ReadText();
        case '[':
            return Open(Kind::Array, ']');
        case '{':
            return Open(Kind::Object, '}') && (!m_isOpened || ReadKey());
        case 't':
            return ReadWord("true", Kind::Bool, 1);
        case 'f':
            return ReadWord("false", Kind::Bool, 0);
        case 'n':
            return ReadWord("null", Kind::Null, 0);
        default:
            return ReadNumber();
        }
    }

    bool Open(Kind kind, char closing)
    {
        if (m_open.size() >= JsonNestingLimit) {
            return false;
        }
        m_open.push_back({m_entries.size(), kind == Kind::Array});
        Add(kind, Here(), 0);
        ++m_now;
        SkipSpace();
        m_isOpened = *m_now != closing;
        if (!m_isOpened) {
            Close();
        }
        return true;
    }
    void Close()
    {
        ++m_now;
        m_entries[m_open.back().place].SetExtent(m_entries.size());
        m_open.pop_back();
    }

    bool ReadKey()
    {
        SkipSpace();
        auto const place = m_entries.size();
        if (*m_now != '"' || !ReadText()) {
            return false;
        }
        if (auto& object = m_open.back(); !object.keys.IsNew(m_content, object.place, place)) {
            return false;
        }
        SkipSpace();
        return *m_now++ == ':';
    }

    bool ReadWord(std::string_view word, Kind kind, std::size_t extent)
    {
        if (!std::string_view(m_now, static_cast<std::size_t>(m_end - m_now)).starts_with(word)) {
            return false;
        }
        Add(kind, Here(), extent);
        m_now += word.size();
        return true;
    }

    char const* PastDigits(char const* at) const
    {
        while (IsDigit(*at)) {
            ++at;
        }
        return at;
    }

    bool ReadNumber()
    {
        auto const* at = m_now;
        if (*at == '-') {
            ++at;
        }
        auto const* const afterDigits = PastDigits(at);
        if (afterDigits == at || (*at == '0' && afterDigits - at > 1)) {
            return false;
        }
        at = afterDigits;
        if (*at == '.') {
            auto const* const fraction = at + 1;
            at = PastDigits(fraction);
            if (at == fraction) {
                return false;
            }
        }
        if (*at == 'e' || *at == 'E') {
            ++at;
            if (*at == '+' || *at == '-') {
                ++at;
            }
            auto const* const exponent = at;
            at = PastDigits(exponent);
            if (at == exponent) {
                return false;
            }
        }
        std::string_view const literal(m_now, static_cast<std::size_t>(at - m_now));
        if (IsBeyondDouble(literal)) {
            return false;
        }
        Add(Kind::Number, Here(), literal.size());
        m_now = at;
        return true;
    }

    bool ReadText()
    {
        auto const at = Here();
        auto const* const first = m_now + 1;
        auto const* now = first;
        bool hasEscapes = false;
        bool isAscii = true;
        for (;;) {
            while (isPlain[static_cast<unsigned char>(*now)]) {
                ++now;
            }
            if (*now == '"') {
                break;
            }
            if (*now == '\\') {
                hasEscapes = true;
                now += now[1] == '"' || now[1] == '\\' ? 2 : 1;
            } else if (static_cast<unsigned char>(*now) >= 0x80) {
                isAscii = false;
                ++now;
            } else {
                return false;
            }
        }
        std::string_view const text(first, static_cast<std::size_t>(now - first));
        m_now = now + 1;
        if (!isAscii && protocol::FindInvalidUtf8(text) != text.size()) {
            return false;
        }
        if (!hasEscapes) {
            Add(Kind::Text, at, text.size());
            return true;
        }
        std::string plain;
        if (!ReadEscapes(text, plain)) {
            return false;
        }
        Add(Kind::Text, at, m_content.beside.size(), true);
        m_content.beside.push_back(std::move(plain));
        return true;
    }

    /// The four hexadecimal digits of a \u.
    static std::optional<char32_t> ReadUnit(std::string_view escape)
    {
        unsigned unit = 0;
        auto const* const end = escape.data() + escape.size();
        if (escape.size() != 4 || std::from_chars(escape.data(), end, unit, 16).ptr != end) {
            return std::nullopt;
        }
        return unit;
    }

    static bool ReadEscapes(std::string_view text, std::string& plain)
    {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        for (std::size_t at = 0; at < text.size();) {
            auto const escape = std::min(text.find('\\', at), text.size());
            plain += text.substr(at, escape - at);
            if (escape == text.size()) {
                break;
            }
            char const letter = text[escape + 1]; // a text that ends in a \ ends behind the quote
            at = escape + 2;
            if (letter == 'u') {
                auto const unit = ReadUnit(text.substr(at, 4));
                // Half of a pair is left to the reader that knows of what is wrong with it.
                if (!unit || *unit == 0 || protocol::IsHighSurrogate(*unit) || protocol::IsLowSurrogate(*unit)) {
                    return false;
                }
                protocol::AppendUtf8(plain, *unit);
                at += 4;
            } else if (auto const which = letters.find(letter); which != std::string_view::npos) {
                plain += meanings[which];
            } else {
                return false;
            }
        }
        return true;
    }

    JsonContent& m_content;
    JsonEntries& m_entries;
    char const* const m_begin;
    char const* const m_end;
    char const* m_now;
    bool m_isOpened = false; ///< by the value read last, which has something in it
    std::vector<Level> m_open;
};

} // namespace

bool ReadSoundJson(JsonContent& content)
{
    return SoundReader(content).Run();
}

} // namespace qx5
