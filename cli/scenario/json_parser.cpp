// Reads JSON text into values, without recursion.
#include "cli/scenario/json_parser.h"

#include "cli/scenario/unicode.h"

#include <set>
#include <string>
#include <vector>

namespace qx5::cli {

namespace {

using Kind = JsonValue::Kind;

JsonValue Defect(std::string reason)
{
    JsonValue value;
    value.kind = Kind::Defect;
    value.text = std::move(reason);
    return value;
}

class Parser
{
public:
    explicit Parser(std::string_view text) : m_text(text) {}

    JsonValue Run()
    {
        if (m_text.substr(0, 3) == "\xEF\xBB\xBF") {
            m_at = 3;
        }
        JsonValue root;
        JsonValue* slot = &root;
        while (slot != nullptr) {
            SkipSpace();
            char const c = Peek();
            if (c == '{' || c == '[') {
                slot = Open(*slot, c == '{');
            } else {
                ReadScalar(*slot);
                slot = AfterValue();
            }
        }
        SkipSpace();
        if (m_at != m_text.size()) {
            Fail("there is more text after the end of the document");
        }
        return root;
    }

private:
    /// An open array or object. Null stands for one that cannot be kept and whose content goes nowhere.
    struct Frame
    {
        JsonValue* value;
        bool isObject;
    };

    [[noreturn]] void Fail(std::string const& reason) const
    {
        std::size_t line = 1;
        std::size_t column = 1;
        for (std::size_t i = 0; i < m_at && i < m_text.size(); ++i) {
            if (m_text[i] == '\n') {
                ++line;
                column = 1;
            } else {
                ++column;
            }
        }
        std::string path = "$";
        for (auto const& frame : m_open) {
            if (frame.value == nullptr) {
                break;
            }
            if (frame.isObject && !frame.value->members.empty()) {
                JsonPath::AppendKey(path, frame.value->members.back().first);
            } else if (!frame.isObject && !frame.value->items.empty()) {
                JsonPath::AppendIndex(path, frame.value->items.size() - 1);
            }
        }
        throw InvalidScenario(path, "not JSON: " + reason + " (line " + std::to_string(line) + ", column " +
                                        std::to_string(column) + ")");
    }

    /// The next character, '\0' at the end.
    char Peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    void SkipSpace()
    {
        while (m_at < m_text.size() &&
               (m_text[m_at] == ' ' || m_text[m_at] == '\t' || m_text[m_at] == '\n' || m_text[m_at] == '\r')) {
            ++m_at;
        }
    }

    /// Opens an array or object in `slot`; gives the slot of the next value, null when the document is complete.
    JsonValue* Open(JsonValue& slot, bool isObject)
    {
        ++m_at;
        if (&slot == &m_nowhere) {
            m_open.push_back({nullptr, isObject});
        } else if (m_open.size() >= JsonNestingLimit) {
            slot = Defect("nested deeper than " + std::to_string(JsonNestingLimit) + " levels");
            m_open.push_back({nullptr, isObject});
        } else {
            slot = isObject ? JsonValue::Object() : JsonValue::Array();
            m_open.push_back({&slot, isObject});
        }
        SkipSpace();
        if (Peek() == (isObject ? '}' : ']')) {
            return AfterValue();
        }
        return NextSlot();
    }

    /// A slot for the next value of the innermost array or object, whose key, if it has one, is read first.
    JsonValue* NextSlot()
    {
        auto const frame = m_open.back();
        if (!frame.isObject) {
            return frame.value != nullptr ? &frame.value->items.emplace_back() : &m_nowhere;
        }
        SkipSpace();
        if (Peek() != '"') {
            Fail("a key in quotes is missing");
        }
        JsonValue key;
        ReadText(key);
        SkipSpace();
        if (Peek() != ':') {
            Fail("a colon is missing after a key");
        }
        ++m_at;
        if (frame.value == nullptr) {
            return &m_nowhere;
        }
        if (key.kind == Kind::Defect) {
            // The key cannot be told, so its place is; the value still has to be read.
            frame.value->members.emplace_back("", Defect("in a key: " + key.text));
            return &m_nowhere;
        }
        return &frame.value->members.emplace_back(std::move(key.text), JsonValue()).second;
    }

    /// Reads what follows a value: closes what ends here, and gives the slot of the next value or null.
    JsonValue* AfterValue()
    {
        while (!m_open.empty()) {
            SkipSpace();
            auto const frame = m_open.back();
            char const c = Peek();
            if (c == ',') {
                ++m_at;
                return NextSlot();
            }
            if (c != (frame.isObject ? '}' : ']')) {
                Fail(frame.isObject ? "a comma or } is missing" : "a comma or ] is missing");
            }
            ++m_at;
            if (frame.value != nullptr && frame.isObject) {
                MarkDuplicates(*frame.value);
            }
            m_open.pop_back();
        }
        return nullptr;
    }

    static void MarkDuplicates(JsonValue& object)
    {
        if (object.members.size() < 2) {
            return;
        }
        std::set<std::string_view> seen;
        for (auto& [key, value] : object.members) {
            if (!seen.insert(key).second && value.kind != Kind::Defect) {
                value = Defect("the key " + QuoteForMessage(key) + " stands here twice");
            }
        }
    }

    void ReadScalar(JsonValue& slot)
    {
        char const c = Peek();
        if (c == '"') {
            slot.kind = Kind::Text;
            ReadText(slot);
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            ReadNumber(slot);
        } else if (!ReadWord(slot, "null", JsonValue()) && !ReadWord(slot, "true", JsonValue::Bool(true)) &&
                   !ReadWord(slot, "false", JsonValue::Bool(false))) {
            Fail(m_at < m_text.size() ? "a value is missing" : "the text ends too early");
        }
    }

    bool ReadWord(JsonValue& slot, std::string_view word, JsonValue const& value)
    {
        if (m_text.substr(m_at, word.size()) != word) {
            return false;
        }
        m_at += word.size();
        slot = value;
        return true;
    }

    bool SkipDigits()
    {
        auto const from = m_at;
        while (Peek() >= '0' && Peek() <= '9') {
            ++m_at;
        }
        return m_at != from;
    }

    void ReadNumber(JsonValue& slot)
    {
        auto const from = m_at;
        if (Peek() == '-') {
            ++m_at;
        }
        auto const digits = m_at;
        if (!SkipDigits()) {
            Fail("a digit is missing");
        }
        if (m_text[digits] == '0' && m_at - digits > 1) {
            Fail("a number begins with a superfluous 0");
        }
        if (Peek() == '.') {
            ++m_at;
            if (!SkipDigits()) {
                Fail("a digit is missing after the point");
            }
        }
        if (Peek() == 'e' || Peek() == 'E') {
            ++m_at;
            if (Peek() == '+' || Peek() == '-') {
                ++m_at;
            }
            if (!SkipDigits()) {
                Fail("a digit is missing in the exponent");
            }
        }
        JsonValue number;
        number.kind = Kind::Number;
        number.text = std::string(m_text.substr(from, m_at - from));
        double ignored = 0.0;
        if (!number.ReadNumber(ignored)) {
            number = Defect("the number " + number.text.substr(0, 40) + " is beyond the range of a double");
        }
        slot = std::move(number);
    }

    /// Four hexadecimal digits.
    char32_t ReadHex()
    {
        char32_t value = 0;
        for (int i = 0; i < 4; ++i, ++m_at) {
            char const c = Peek();
            unsigned digit = 0;
            if (c >= '0' && c <= '9') {
                digit = static_cast<unsigned>(c - '0');
            } else if (c >= 'a' && c <= 'f') {
                digit = static_cast<unsigned>(c - 'a') + 10;
            } else if (c >= 'A' && c <= 'F') {
                digit = static_cast<unsigned>(c - 'A') + 10;
            } else {
                Fail("\\u needs four hexadecimal digits");
            }
            value = value * 16 + digit;
        }
        return value;
    }

    void ReadEscape(std::string& text, char const*& defect)
    {
        ++m_at;
        char const c = Peek();
        ++m_at;
        switch (c) {
        case '"':
        case '\\':
        case '/':
            text += c;
            return;
        case 'b':
            text += '\b';
            return;
        case 'f':
            text += '\f';
            return;
        case 'n':
            text += '\n';
            return;
        case 'r':
            text += '\r';
            return;
        case 't':
            text += '\t';
            return;
        case 'u':
            break;
        default:
            --m_at;
            Fail("no such escape in a text");
        }
        char32_t codePoint = ReadHex();
        if (codePoint >= 0xD800 && codePoint < 0xDC00 && m_text.substr(m_at, 2) == "\\u") {
            auto const before = m_at;
            m_at += 2;
            char32_t const low = ReadHex();
            if (low >= 0xDC00 && low < 0xE000) {
                codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
            } else {
                m_at = before;
            }
        }
        if (codePoint == 0) {
            defect = "a text holds U+0000";
        } else if (codePoint >= 0xD800 && codePoint < 0xE000) {
            defect = "a text holds a lone surrogate";
        }
        AppendUtf8(text, codePoint);
    }

    /// A text in quotes; `slot` gets the text, or becomes a defect.
    void ReadText(JsonValue& slot)
    {
        std::string text;
        char const* defect = nullptr;
        ++m_at;
        while (Peek() != '"') {
            if (m_at >= m_text.size()) {
                Fail("a text does not end");
            }
            auto const byte = static_cast<unsigned char>(m_text[m_at]);
            if (byte < 0x20) {
                Fail("a control character in a text must be escaped");
            }
            if (byte == '\\') {
                ReadEscape(text, defect);
                continue;
            }
            char32_t codePoint = 0;
            std::size_t const length = DecodeUtf8(m_text, m_at, codePoint);
            if (length == 0) {
                defect = "a text is not valid UTF-8";
                ++m_at;
                continue;
            }
            text.append(m_text.substr(m_at, length));
            m_at += length;
        }
        ++m_at;
        if (defect != nullptr) {
            slot = Defect(defect);
        } else {
            slot.text = std::move(text);
        }
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    std::vector<Frame> m_open;
    JsonValue m_nowhere;
};

} // namespace

JsonValue ParseJson(std::string_view text)
{
    return Parser(text).Run();
}

void RefuseDefects(JsonValue const& value, JsonPath const& path)
{
    if (value.kind == Kind::Defect) {
        throw InvalidScenario(path, value.text);
    }
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        RefuseDefects(value.items[i], JsonPath(path, i));
    }
    for (auto const& [key, member] : value.members) {
        RefuseDefects(member, JsonPath(path, key));
    }
}

} // namespace qx5::cli
