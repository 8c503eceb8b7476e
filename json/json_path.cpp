// The text of a JSON path.
#include "json_path.h"

#include "json_value.h"

#include <algorithm>

namespace qx5 {

namespace {

bool IsPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

} // namespace

std::string JsonPath::ToText() const
{
    std::string text;
    AppendTo(text);
    return text;
}

void JsonPath::AppendKey(std::string& text, std::string_view key)
{
    if (!key.empty() && key.size() <= 60 && std::all_of(key.begin(), key.end(), IsPlain)) {
        text += '.';
        text += key;
    } else {
        text += '[' + QuoteForMessage(key) + ']';
    }
}

void JsonPath::AppendIndex(std::string& text, std::size_t index)
{
    text += '[' + std::to_string(index) + ']';
}

void JsonPath::AppendTo(std::string& text) const
{
    if (m_parent == nullptr) {
        text += '$';
        return;
    }
    m_parent->AppendTo(text);
    if (m_isIndex) {
        AppendIndex(text, m_index);
    } else {
        AppendKey(text, m_key);
    }
}

} // namespace qx5
