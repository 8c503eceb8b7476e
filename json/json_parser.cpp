// Reads JSON text into values, by nlohmann's reader, which tells nothing of a text that it cannot use.
#include "json_parser.h"

#include <nlohmann/json.hpp>
#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

JsonValue Defect(std::string reason)
{
    JsonValue value;
    value.kind = Kind::Defect;
    value.text = std::move(reason);
    return value;
}

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool IsLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

/// A copy of a document for the library, which gives up the whole for a byte that is no UTF-8, a lone surrogate or a
/// number beyond the range of a double, and takes a zero byte for the end. Each of these is overwritten by as many
/// bytes that do no harm; what was JSON stays JSON, and what was none does not become it. Beside the copy stands what
/// it or the library loses, in the order of the document: where values begin, what is wrong with a text, and how a
/// number is written (-0).
class HarmlessCopy
{
public:
    explicit HarmlessCopy(std::string_view text) : m_text(text), m_copy(text)
    {
        for (std::size_t at = 0; (at += protocol::FindInvalidUtf8(text.substr(at))) < text.size(); ++at) {
            m_copy[at] = NoJson;
        }
        for (std::size_t at = 0; at < text.size();) {
            if (text[at] == '"') {
                at = PastText(at);
            } else if (text[at] == '-' || IsDigit(text[at])) {
                at = PastNumber(at);
            } else if (text[at] == '{' || text[at] == '[') {
                m_others.push_back(at++);
            } else if (IsLetter(text[at])) {
                m_others.push_back(at);
                at = std::min(text.find_first_not_of("abcdefghijklmnopqrstuvwxyz", at), text.size());
            } else if (text[at++] == '\0') {
                m_copy[at - 1] = NoJson;
            }
        }
    }

    std::string const& Text() const { return m_copy; }
    struct TextNote
    {
        std::size_t at;
        char const* defect; ///< what is wrong with it; null for a sound one
    };
    /// The next text, keys among them.
    TextNote TakeText() { return m_texts[m_textsTaken++]; }
    std::string_view TakeNumber() { return m_numbers[m_numbersTaken++]; }
    /// Where the next array, object, truth value or null begins.
    std::size_t TakeOther() { return m_others[m_othersTaken++]; }
    /// Where the text begins that is next.
    std::size_t NextTextAt() const { return m_texts[m_textsTaken].at; }

private:
    static constexpr char NoJson = '?'; ///< outside of texts

    /// The four digits of a \u that stands there, or what is no code point.
    char32_t EscapedUnit(std::size_t at) const
    {
        auto const escape = m_text.substr(std::min(at, m_text.size()), 6);
        unsigned unit = 0;
        auto const* const end = escape.data() + escape.size();
        return escape.starts_with("\\u") && std::from_chars(escape.data() + 2, end, unit, 16).ptr == escape.data() + 6
                   ? unit
                   : ~char32_t{};
    }

    std::size_t PastText(std::size_t const begin)
    {
        char const* defect = nullptr;
        auto at = begin + 1;
        for (; at < m_text.size() && m_text[at] != '"'; ++at) {
            if (m_copy[at] != m_text[at]) {
                defect = "a text is not valid UTF-8";
            } else if (m_text[at] == '\\') {
                auto const unit = EscapedUnit(at);
                if (unit == 0) {
                    defect = "a text holds U+0000";
                } else if (protocol::IsHighSurrogate(unit) && protocol::IsLowSurrogate(EscapedUnit(at + 6))) {
                    at += 6;
                } else if (protocol::IsHighSurrogate(unit) || protocol::IsLowSurrogate(unit)) {
                    defect = "a text holds a lone surrogate";
                    m_copy.replace(at + 2, 4, "fffd");
                    at += 4;
                }
                ++at;
            }
        }
        m_texts.push_back({begin, defect});
        return at + 1;
    }

    std::size_t PastNumber(std::size_t at)
    {
        auto const end = std::min(m_text.find_first_not_of("+-.0123456789eE", at), m_text.size());
        m_numbers.push_back(m_text.substr(at, end - at));
        // Without its exponent and with no more than one of many digits it has the range of a double.
        auto const first = at + (m_text[at] == '-' ? 1 : 0);
        auto const afterDigits = std::min(m_text.find_first_not_of("0123456789", first), end);
        if (afterDigits - at > 300 && m_text[first] != '0') {
            std::fill(m_copy.begin() + static_cast<std::ptrdiff_t>(at),
                      m_copy.begin() + static_cast<std::ptrdiff_t>(afterDigits), ' ');
            m_copy[afterDigits - 1] = '1';
        }
        auto const exponent = m_numbers.back().find_first_of("eE");
        for (auto i = exponent == std::string_view::npos ? end : at + exponent; i < end; ++i) {
            m_copy[i] = IsDigit(m_copy[i]) ? '0' : m_copy[i];
        }
        return end;
    }

    std::string_view m_text;
    std::string m_copy;
    std::vector<TextNote> m_texts;
    std::vector<std::string_view> m_numbers;
    std::vector<std::size_t> m_others;
    std::size_t m_textsTaken = 0;
    std::size_t m_numbersTaken = 0;
    std::size_t m_othersTaken = 0;
};

/// What the library says of a document that is no JSON, in its words and in ours; the first that fits counts.
constexpr std::pair<std::string_view, std::string_view> Reasons[] = {
    {"parsing array", "a comma or ] is missing"},
    {"parsing object -", "a comma or } is missing"},
    {"parsing object separator", "a colon is missing after a key"},
    {"missing closing quote", "a text does not end"},
    {"control character", "a control character in a text must be escaped"},
    {"after backslash", "no such escape in a text"},
    {"4 hex digits", "\\u needs four hexadecimal digits"},
    {"parsing object key", "a key in quotes is missing"},
    {"after '-'", "a digit is missing"},
    {"after '.'", "a digit is missing after the point"},
    {"after exponent", "a digit is missing in the exponent"},
    {"unexpected end of input", "the text ends too early"},
    {"", "a value is missing"},
};

/// Takes what the library reads.
class Reader
{
public:
    explicit Reader(std::string_view text) : m_text(text), m_copy(text) {}

    JsonValue Run()
    {
        nlohmann::json::sax_parse(m_copy.Text(), this);
        return std::move(m_root);
    }

    bool null() { return Put(JsonValue(), m_copy.TakeOther()); }
    bool boolean(bool value) { return Put(JsonValue::Bool(value), m_copy.TakeOther()); }
    bool number_integer(std::int64_t) { return PutNumber(); }
    bool number_unsigned(std::uint64_t) { return PutNumber(); }
    bool number_float(double, std::string const&) { return PutNumber(); }
    bool string(std::string& text)
    {
        auto const [at, defect] = m_copy.TakeText();
        return Put(defect != nullptr ? Defect(defect) : JsonValue::Text(std::move(text)), at);
    }
    bool binary(nlohmann::json::binary_t&) { return false; }
    bool start_array(std::size_t) { return Open(JsonValue::Array()); }
    bool end_array() { return Close(); }
    bool start_object(std::size_t) { return Open(JsonValue::Object()); }
    bool end_object()
    {
        if (m_open.back() != nullptr) {
            MarkDuplicates(*m_open.back());
        }
        return Close();
    }
    bool key(std::string& text)
    {
        auto const [at, defect] = m_copy.TakeText();
        if (m_open.back() != nullptr) {
            // A key that cannot be told has its place all the same.
            m_open.back()->members.emplace_back(defect != nullptr
                                                    ? JsonValue::Member("", Defect(std::string("in a key: ") + defect))
                                                    : JsonValue::Member(std::move(text), JsonValue()));
            m_open.back()->members.back().second.at = at;
        }
        return true;
    }
    /// Throws. `position` counts the bytes read, `token` ends with the last of them.
    bool parse_error(std::size_t position, std::string const& token, nlohmann::json::exception const& failure)
    {
        std::string_view told = failure.what();
        told = told.substr(0, told.find("; last read: "));
        auto const tells = [&](std::string_view part) { return told.find(part) != std::string_view::npos; };
        std::string_view reason = std::find_if(std::begin(Reasons), std::end(Reasons), [&](auto const& each) {
                                      return tells(each.first);
                                  })->second;
        bool const isAfterEnd = m_begun && m_open.empty();
        if (isAfterEnd) {
            reason = "there is more text after the end of the document";
        }
        // What belongs here and is wrong in itself is told where it goes wrong, anything else where it begins.
        bool const isInPlace =
            !isAfterEnd && (tells("parsing value") || (tells("parsing object key") && tells("invalid string")));
        std::size_t where = position - 1;
        auto const backOver = [&](char const* these) { where = m_text.substr(0, where).find_last_not_of(these) + 1; };
        if (tells("unexpected number")) {
            where = position - token.size();
            if (where > 0 && m_text[where - 1] == '0' && token.front() != '-') {
                reason = "a number begins with a superfluous 0";
                where = std::min(m_text.find_first_not_of("0123456789", where), m_text.size());
            }
        } else if (tells("unexpected string") || (tells("invalid string") && !isInPlace)) {
            where = m_copy.NextTextAt();
        } else if (tells("invalid number") && !isInPlace) {
            backOver("+-.0123456789eE");
        } else if (tells("invalid literal") || tells("unexpected true") || tells("unexpected false") ||
                   tells("unexpected null")) {
            backOver("abcdefghijklmnopqrstuvwxyz");
        }
        if (tells("object separator") && m_open.back() != nullptr) {
            m_open.back()->members.pop_back();
        }
        throw InvalidDocument(Path(!tells("parsing array")),
                              "not JSON: " + std::string(reason) + " (" + LineAndColumn(m_text, where) + ")");
    }

private:
    /// Where the next value goes; what stands within a defect goes nowhere.
    JsonValue& Next()
    {
        m_begun = true;
        if (m_open.empty()) {
            return m_root;
        }
        auto* const around = m_open.back();
        if (around == nullptr) {
            return m_nowhere;
        }
        if (around->Is(Kind::Array)) {
            return around->items.emplace_back();
        }
        auto& member = around->members.back().second;
        return member.Is(Kind::Defect) ? m_nowhere : member;
    }

    bool Put(JsonValue value, std::size_t at)
    {
        value.at = at;
        Next() = std::move(value);
        return true;
    }

    bool PutNumber()
    {
        JsonValue number;
        number.kind = Kind::Number;
        auto const literal = m_copy.TakeNumber();
        auto const at = static_cast<std::size_t>(literal.data() - m_text.data());
        number.text = literal;
        double ignored = 0.0;
        return Put(number.ReadNumber(ignored)
                       ? std::move(number)
                       : Defect("the number " + number.text.substr(0, 40) + " is beyond the range of a double"),
                   at);
    }

    bool Open(JsonValue empty)
    {
        auto const at = m_copy.TakeOther();
        auto* slot = &Next();
        if (slot == &m_nowhere) {
            slot = nullptr;
        } else if (m_open.size() >= JsonNestingLimit) {
            *slot = Defect("nested deeper than " + std::to_string(JsonNestingLimit) + " levels");
            slot->at = at;
            slot = nullptr;
        } else {
            *slot = std::move(empty);
            slot->at = at;
        }
        m_open.push_back(slot);
        return true;
    }

    bool Close()
    {
        m_open.pop_back();
        return true;
    }

    static void MarkDuplicates(JsonValue& object)
    {
        std::set<std::string_view> seen;
        for (auto& [key, value] : object.members) {
            if (!seen.insert(key).second && value.kind != Kind::Defect) {
                auto const at = value.at;
                value = Defect("the key " + QuoteForMessage(key) + " stands here twice");
                value.at = at;
            }
        }
    }

    /// Of the value read last, or of the one that is awaited after it.
    std::string Path(bool isAwaited) const
    {
        std::string path = "$";
        for (auto const* value : m_open) {
            if (value == nullptr) {
                break;
            }
            if (value->Is(Kind::Array)) {
                JsonPath::AppendIndex(path, value->items.size() - (isAwaited && value == m_open.back() ? 0 : 1));
            } else if (!value->members.empty()) {
                JsonPath::AppendKey(path, value->members.back().first);
            }
        }
        return path;
    }

    std::string_view m_text;
    HarmlessCopy m_copy;
    JsonValue m_root;
    JsonValue m_nowhere;
    bool m_begun = false;
    std::vector<JsonValue*> m_open; ///< arrays and objects; null for one that is not kept
};

} // namespace

JsonValue ParseJson(std::string_view text)
{
    return Reader(text).Run();
}

void RefuseDefects(JsonValue const& value, JsonPath const& path)
{
    if (value.kind == Kind::Defect) {
        throw InvalidDocument(path, value.text);
    }
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        RefuseDefects(value.items[i], JsonPath(path, i));
    }
    for (auto const& [key, member] : value.members) {
        RefuseDefects(member, JsonPath(path, key));
    }
}

} // namespace qx5
