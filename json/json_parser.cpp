// Reads JSON text, by nlohmann's reader, which tells nothing of a text that it cannot use.
#include "json_parser.h"

#include "json_number.h"
#include "json_readers.h"
#include "object_keys.h"

#include <nlohmann/json.hpp>
#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool IsLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

/// The characters of a document for the library, which gives up the whole for a byte that is no UTF-8, a lone surrogate
/// or a number beyond the range of a double, and takes a zero byte for the end. Each of these is replaced by as many
/// characters that do no harm; what was JSON stays JSON, and what was none does not become it. Beside the characters
/// stands what they or the library lose, in the order of the document: where values begin, what is wrong with a text,
/// and how a number is written (-0). All of it is worked out a block ahead of the library, so that it takes no memory
/// to speak of.
class HarmlessText
{
public:
    explicit HarmlessText(std::string_view text) : m_text(text) { NextBlock(); }
    HarmlessText(HarmlessText const&) = delete;
    HarmlessText& operator=(HarmlessText const&) = delete;

    /// As the library wants its characters.
    class Iterator
    {
    public:
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::input_iterator_tag;
        using pointer = char const*;
        using reference = char;

        explicit Iterator(HarmlessText* text) : m_of(text) {}
        char operator*() const { return *m_of->m_now; }
        Iterator& operator++()
        {
            if (++m_of->m_now == m_of->m_blockEnd) {
                m_of->NextBlock();
            }
            return *this;
        }
        /// Nothing but the end is ever compared with.
        bool operator==(Iterator const&) const { return m_of->m_now == m_of->m_blockEnd; }

    private:
        HarmlessText* m_of;
    };

    struct TextNote
    {
        std::size_t at;
        std::size_t end;    ///< past the closing quote
        char const* defect; ///< what is wrong with it; null for a sound one
    };
    /// The next text, keys among them.
    TextNote TakeText() { return m_texts.Take(); }
    std::string_view TakeNumber() { return m_numbers.Take(); }
    /// Where the next array, object, truth value or null begins.
    std::size_t TakeOther() { return m_others.Take(); }
    /// Where the text begins that is next.
    std::size_t NextTextAt() const { return m_texts.Next().at; }

private:
    static constexpr char NoJson = '?'; ///< outside of texts
    static constexpr std::size_t BlockSize = 16'384;

    template <typename Note>
    class Notes
    {
    public:
        void Add(Note const& note) { m_notes.push_back(note); }
        Note Take() { return m_notes[m_taken++]; }
        Note const& Next() const { return m_notes[m_taken]; }
        void ForgetTaken()
        {
            m_notes.erase(m_notes.begin(), m_notes.begin() + static_cast<std::ptrdiff_t>(m_taken));
            m_taken = 0;
        }

    private:
        std::vector<Note> m_notes;
        std::size_t m_taken = 0;
    };

    /// Goes on with what follows; at the end with nothing.
    void NextBlock()
    {
        m_texts.ForgetTaken();
        m_numbers.ForgetTaken();
        m_others.ForgetTaken();
        m_changes.clear();
        auto const begin = m_scanned;
        while (m_scanned < m_text.size() && m_scanned - begin < BlockSize) {
            m_scanned = PastNext(m_scanned);
        }
        m_now = m_text.data() + begin;
        if (!m_changes.empty()) {
            m_changed = m_text.substr(begin, m_scanned - begin);
            for (auto const& [at, character] : m_changes) {
                m_changed[at - begin] = character;
            }
            m_now = m_changed.data();
        }
        m_blockEnd = m_now + (m_scanned - begin);
    }

    std::size_t PastNext(std::size_t at)
    {
        char const c = m_text[at];
        if (c == '"') {
            return PastText(at);
        }
        if (c == '-' || IsDigit(c)) {
            return PastNumber(at);
        }
        if (c == '{' || c == '[') {
            m_others.Add(at);
        } else if (IsLetter(c)) {
            m_others.Add(at);
            return std::min(m_text.find_first_not_of("abcdefghijklmnopqrstuvwxyz", at), m_text.size());
        } else if (c == '\0') {
            m_changes.emplace_back(at, NoJson);
        }
        return at + 1;
    }

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
        bool isAscii = true;
        auto at = begin + 1;
        for (; at < m_text.size() && m_text[at] != '"'; ++at) {
            isAscii = isAscii && static_cast<signed char>(m_text[at]) >= 0;
            if (m_text[at] == '\\') {
                auto const unit = EscapedUnit(at);
                if (unit == 0) {
                    defect = "a text holds U+0000";
                } else if (protocol::IsHighSurrogate(unit) && protocol::IsLowSurrogate(EscapedUnit(at + 6))) {
                    at += 6;
                } else if (protocol::IsHighSurrogate(unit) || protocol::IsLowSurrogate(unit)) {
                    defect = "a text holds a lone surrogate";
                    for (std::size_t i = 0; i < 4; ++i) {
                        m_changes.emplace_back(at + 2 + i, "fffd"[i]);
                    }
                    at += 4;
                }
                ++at;
            }
        }
        auto const closing = std::min(at, m_text.size());
        for (auto bad = begin; !isAscii; ++bad) {
            bad += protocol::FindInvalidUtf8(m_text.substr(bad, closing - bad));
            if (bad >= closing) {
                break;
            }
            defect = "a text is not valid UTF-8";
            m_changes.emplace_back(bad, NoJson);
        }
        auto const end = std::min(closing + 1, m_text.size());
        m_texts.Add({begin, end, defect});
        return end;
    }

    std::size_t PastNumber(std::size_t at)
    {
        auto end = at;
        auto exponent = std::string_view::npos;
        for (; end < m_text.size(); ++end) {
            char const c = m_text[end];
            if (c == 'e' || c == 'E') {
                exponent = std::min(exponent, end);
            } else if (!IsDigit(c) && c != '.' && c != '-' && c != '+') {
                break;
            }
        }
        m_numbers.Add(m_text.substr(at, end - at));
        // Without its exponent and with no more than one of many digits it has the range of a double.
        auto const first = at + (m_text[at] == '-' ? 1 : 0);
        if (end - at > 300 && first < end && m_text[first] != '0') {
            auto const afterDigits = std::min(m_text.find_first_not_of("0123456789", first), end);
            for (auto i = at; afterDigits - at > 300 && i < afterDigits; ++i) {
                m_changes.emplace_back(i, i + 1 == afterDigits ? '1' : ' ');
            }
        }
        for (auto i = exponent; i < end; ++i) {
            if (IsDigit(m_text[i])) {
                m_changes.emplace_back(i, '0');
            }
        }
        return end;
    }

    std::string_view m_text;
    std::size_t m_scanned = 0;
    std::string m_changed; ///< the block, where it is not as it stands in the text
    std::vector<std::pair<std::size_t, char>> m_changes;
    char const* m_now = nullptr; ///< in the block; the library's next character
    char const* m_blockEnd = nullptr;
    Notes<TextNote> m_texts;
    Notes<std::string_view> m_numbers;
    Notes<std::size_t> m_others;
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
    explicit Reader(JsonContent& content) : m_content(content), m_text(content.text) {}

    void Run()
    {
        HarmlessText source(m_text);
        m_source = &source;
        nlohmann::json::sax_parse(HarmlessText::Iterator(&source), HarmlessText::Iterator(&source), this);
    }

    bool null() { return Put(Kind::Null, m_source->TakeOther()); }
    bool boolean(bool value) { return Put(Kind::Bool, m_source->TakeOther(), value ? 1 : 0); }
    bool number_integer(std::int64_t) { return PutNumber(); }
    bool number_unsigned(std::uint64_t) { return PutNumber(); }
    bool number_float(double, std::string const&) { return PutNumber(); }
    bool string(std::string& text)
    {
        auto const note = m_source->TakeText();
        if (Begin(note.defect != nullptr ? note.defect : std::string_view(), note.at)) {
            AddText(note, text);
        }
        return true;
    }
    bool binary(nlohmann::json::binary_t&) { return false; }
    bool start_array(std::size_t) { return Open(Kind::Array); }
    bool end_array() { return Close(); }
    bool start_object(std::size_t) { return Open(Kind::Object); }
    bool end_object() { return Close(); }
    bool key(std::string& text)
    {
        auto const note = m_source->TakeText();
        auto& object = m_open.back();
        if (object.place == nowhere) {
            return true;
        }
        if (note.defect != nullptr) {
            text.clear(); // it has its place all the same
        }
        auto const place = m_content.entries.size();
        AddText(note, text);
        m_awaited = {};
        if (note.defect != nullptr) {
            m_awaited = {std::string("in a key: ") + note.defect, note.at};
        } else if (!object.keys.IsNew(m_content, object.place, place)) {
            m_awaited = {"the key " + QuoteForMessage(JsonNode(m_content, place).Text()) + " stands here twice", {}};
        }
        object.keyBefore = std::exchange(object.key, place);
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
            where = m_source->NextTextAt();
        } else if (tells("invalid number") && !isInPlace) {
            backOver("+-.0123456789eE");
        } else if (tells("invalid literal") || tells("unexpected true") || tells("unexpected false") ||
                   tells("unexpected null")) {
            backOver("abcdefghijklmnopqrstuvwxyz");
        }
        if (tells("object separator")) {
            m_open.back().key = m_open.back().keyBefore;
        }
        throw InvalidDocument(Path(!tells("parsing array")),
                              "not JSON: " + std::string(reason) + " (" + LineAndColumn(m_text, where) + ")");
    }

private:
    static constexpr std::size_t nowhere = ~std::size_t{};

    /// An array or object that is not closed yet.
    struct Level
    {
        std::size_t place; ///< its entry; nowhere for one that is not kept
        bool isArray;
        std::size_t count = 0;           ///< items that have begun
        std::size_t key = nowhere;       ///< the entry of the key read last
        std::size_t keyBefore = nowhere; ///< and of the one before
        ObjectKeys keys{};
    };
    /// What is wrong with a member whose value has not come yet.
    struct Awaited
    {
        std::string defect;
        std::optional<std::size_t>
            at; ///< where the defect is, if not in the value; then it goes before the value's own
    };

    void Add(Kind kind, std::size_t at, std::size_t extent, bool isBeside = false)
    {
        m_content.entries.push_back(JsonEntry(kind, at, extent, isBeside));
    }
    void AddText(HarmlessText::TextNote const& note, std::string& text)
    {
        // One without escapes is as long as it stands in the document.
        auto const length = note.end - note.at - 2;
        bool const isBeside = text.size() != length || note.defect != nullptr;
        Add(Kind::Text, note.at, isBeside ? m_content.beside.size() : length, isBeside);
        if (isBeside) {
            m_content.beside.push_back(std::move(text));
        }
    }

    /// A value begins, with what is wrong with it, if anything. False when nothing is to be kept of it: there is no
    /// place for it, or there is a defect in it.
    bool Begin(std::string_view defect, std::size_t at)
    {
        m_begun = true;
        if (!m_open.empty() && m_open.back().place == nowhere) {
            return false;
        }
        if (!m_open.empty() && m_open.back().isArray) {
            ++m_open.back().count;
        }
        auto const awaited = std::exchange(m_awaited, {});
        std::string reason(awaited.at || defect.empty() ? std::string_view(awaited.defect) : defect);
        if (reason.empty()) {
            return true;
        }
        Add(Kind::Defect, awaited.at.value_or(at), m_content.beside.size());
        m_content.beside.push_back(std::move(reason));
        m_content.hasDefects = true;
        return false;
    }

    bool Put(Kind kind, std::size_t at, std::size_t extent = 0)
    {
        if (Begin({}, at)) {
            Add(kind, at, extent);
        }
        return true;
    }

    bool PutNumber()
    {
        auto const literal = m_source->TakeNumber();
        auto const at = static_cast<std::size_t>(literal.data() - m_text.data());
        std::string defect;
        if (IsBeyondDouble(literal)) {
            defect = "the number " + std::string(literal.substr(0, 40)) + " is beyond the range of a double";
        }
        if (Begin(defect, at)) {
            Add(Kind::Number, at, literal.size());
        }
        return true;
    }

    bool Open(Kind kind)
    {
        auto const at = m_source->TakeOther();
        std::string defect;
        if (m_open.size() >= JsonNestingLimit) {
            defect = "nested deeper than " + std::to_string(JsonNestingLimit) + " levels";
        }
        Level level{nowhere, kind == Kind::Array};
        if (Begin(defect, at)) {
            level.place = m_content.entries.size();
            Add(kind, at, 0);
        }
        m_open.push_back(std::move(level));
        return true;
    }

    bool Close()
    {
        if (auto const place = m_open.back().place; place != nowhere) {
            m_content.entries[place].SetExtent(m_content.entries.size());
        }
        m_open.pop_back();
        return true;
    }

    /// Of the value read last, or of the one that is awaited after it.
    std::string Path(bool isAwaited) const
    {
        std::string path = "$";
        for (auto const& level : m_open) {
            if (level.place == nowhere) {
                break;
            }
            if (level.isArray) {
                JsonPath::AppendIndex(path, level.count - (isAwaited && &level == &m_open.back() ? 0 : 1));
            } else if (level.key != nowhere) {
                JsonPath::AppendKey(path, JsonNode(m_content, level.key).Text());
            }
        }
        return path;
    }

    JsonContent& m_content;
    std::string_view m_text;
    HarmlessText* m_source = nullptr;
    bool m_begun = false;
    Awaited m_awaited;
    std::vector<Level> m_open;
};

void RefuseDefectsIn(JsonNode const& value, JsonPath const& path)
{
    if (value.Is(Kind::Defect)) {
        throw InvalidDocument(path, std::string(value.Text()));
    }
    std::size_t index = 0;
    for (auto const& item : value.Items()) {
        RefuseDefectsIn(item, JsonPath(path, index++));
    }
    for (auto const& [key, member] : value.Members()) {
        RefuseDefectsIn(member, JsonPath(path, key));
    }
}

} // namespace

void ReadJson(JsonContent& content)
{
    Reader(content).Run();
}

JsonDocument ParseJson(std::string text)
{
    auto content = std::make_unique<JsonContent>();
    content->text = std::move(text);
    if (!ReadSoundJson(*content)) {
        content->entries.clear();
        content->beside.clear();
        ReadJson(*content);
    }
    return JsonDocument(std::move(content));
}

void RefuseDefects(JsonNode const& value, JsonPath const& path)
{
    if (value.IsOfSoundDocument()) {
        return;
    }
    RefuseDefectsIn(value, path);
}

std::string LineAndColumn(std::string_view document, std::size_t at)
{
    auto const before = document.substr(0, at);
    auto const line = 1 + std::count(before.begin(), before.end(), '\n');
    auto const column = before.size() - (before.rfind('\n') + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

} // namespace qx5
