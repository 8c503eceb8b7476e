// Names of keys as Python writes names.
#include "python/keys/python_name.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace qx5::python {

namespace {

constexpr std::array<std::string_view, 35> words{
    "False", "None",     "True",  "and",    "as",   "assert", "async",  "await",    "break",
    "class", "continue", "def",   "del",    "elif", "else",   "except", "finally",  "for",
    "from",  "global",   "if",    "import", "in",   "is",     "lambda", "nonlocal", "not",
    "or",    "pass",     "raise", "return", "try",  "while",  "with",   "yield"};

/// What qx5.Sonar and qx5.FleetSonar have beside their keys; a test compares.
constexpr std::array<std::string_view, 28> sonarNames{
    "address",    "age",       "attributes", "changes",   "clock_ahead", "close",          "closed",
    "condition",  "connected", "connection", "freshness", "get",         "holder",         "lease",
    "limits",     "name",      "person",     "persons",   "ping",        "record",         "request",
    "round_trip", "soundings", "subscribe",  "vessel",    "wait_for",    "wait_connected", "water_column"};

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

} // namespace

std::string PythonName(protocol::Key const& key)
{
    std::string text = protocol::EncodeUtf8(key.text);
    if (text.starts_with("x5") && text.size() > 2 && !IsDigit(text[2])) {
        text.erase(0, 2);
    }
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        bool const isWordChar = IsUpper(c) || (c >= 'a' && c <= 'z') || IsDigit(c);
        // A word begins at a capital behind a small letter or a digit, and at the last capital of a row that goes on
        // in small letters.
        bool const beginsWord =
            IsUpper(c) && i > 0 &&
            (!IsUpper(text[i - 1]) || (i + 1 < text.size() && text[i + 1] >= 'a' && text[i + 1] <= 'z'));
        if (beginsWord && !name.empty() && name.back() != '_') {
            name += '_';
        }
        name += isWordChar ? (IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c) : '_';
    }
    if (std::find(words.begin(), words.end(), name) != words.end() ||
        std::find(sonarNames.begin(), sonarNames.end(), name) != sonarNames.end()) {
        name += '_';
    }
    return name;
}

} // namespace qx5::python
