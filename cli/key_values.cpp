// Requests as people type them, turned into trees.
#include "key_values.h"

#include <VordalAttributesR/AttributeKey.h>
#include <VordalAttributesR/CVordalType.h>
#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Kind;

constexpr std::size_t greatestDepth = 64;
constexpr std::size_t greatestKeyText = 200;

struct KindName
{
    std::string_view name;
    Kind kind;
};
constexpr KindName kindNames[]{
    {"int", Kind::Int},       {"uint", Kind::UInt},     {"int64", Kind::Int64},
    {"bool", Kind::Bool},     {"double", Kind::Double}, {"pair", Kind::Pair},
    {"string", Kind::String}, {"ints", Kind::IntList},  {"doubles", Kind::DoubleList},
    {"offset", Kind::Offset}, {"none", Kind::Any},
};

std::optional<Kind> FindKind(std::string_view name)
{
    for (KindName const& entry : kindNames) {
        if (entry.name == name) {
            return entry.kind;
        }
    }
    return std::nullopt;
}

std::string_view NameOf(Kind kind)
{
    for (KindName const& entry : kindNames) {
        if (entry.kind == kind) {
            return entry.name;
        }
    }
    return "branch";
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    return text;
}

template <typename Number>
bool ParseWhole(std::string_view text, Number& number)
{
    text = Trim(text);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc() && end == text.data() + text.size();
}

bool ParseReal(std::string_view text, double& number)
{
    text = Trim(text);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc() && end == text.data() + text.size();
}

std::vector<std::string_view> SplitList(std::string_view text)
{
    std::vector<std::string_view> parts;
    if (Trim(text).empty()) {
        return parts;
    }
    for (;;) {
        std::size_t const comma = text.find(',');
        parts.push_back(text.substr(0, comma));
        if (comma == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(comma + 1);
    }
}

template <typename Number>
bool ParseList(std::string_view text, std::vector<Number>& list, bool (*parse)(std::string_view, Number&))
{
    for (std::string_view part : SplitList(text)) {
        Number number{};
        if (!parse(part, number)) {
            return false;
        }
        list.push_back(number);
    }
    return true;
}

/// The value of a kind; null, and what it must look like in `wanted`, when the text is none.
std::unique_ptr<CVordalType> ParseValue(Kind kind, std::string_view text, std::string_view& wanted)
{
    switch (kind) {
    case Kind::Int: {
        wanted = "a whole number from -2147483648 to 2147483647";
        int number = 0;
        if (ParseWhole(text, number)) {
            return std::make_unique<CVordalInt>(number);
        }
        return nullptr;
    }
    case Kind::UInt: {
        wanted = "a whole number from 0 to 4294967295";
        unsigned number = 0;
        if (ParseWhole(text, number)) {
            return std::make_unique<CVordalUInt>(number);
        }
        return nullptr;
    }
    case Kind::Int64: {
        wanted = "a whole number from -9223372036854775808 to 9223372036854775807";
        std::int64_t number = 0;
        if (ParseWhole(text, number)) {
            return std::make_unique<CVordalInt64>(number);
        }
        return nullptr;
    }
    case Kind::Bool:
        wanted = "true or false";
        text = Trim(text);
        if (text == "true" || text == "1" || text == "on") {
            return std::make_unique<CVordalBool>(true);
        }
        if (text == "false" || text == "0" || text == "off") {
            return std::make_unique<CVordalBool>(false);
        }
        return nullptr;
    case Kind::Double: {
        wanted = "a number";
        double number = 0.0;
        if (ParseReal(text, number)) {
            return std::make_unique<CVordalDouble>(number);
        }
        return nullptr;
    }
    case Kind::Pair: {
        wanted = "two numbers, such as 10,-10";
        std::vector<double> numbers;
        if (ParseList(text, numbers, ParseReal) && numbers.size() == 2) {
            return std::make_unique<CVordalDouble2D>(numbers[0], numbers[1]);
        }
        return nullptr;
    }
    case Kind::Offset: {
        wanted = "three numbers, such as 1.5,0,-2";
        std::vector<double> numbers;
        if (ParseList(text, numbers, ParseReal) && numbers.size() == 3) {
            return std::make_unique<CVordalOffset>(CCompOffset(numbers[0], numbers[1], numbers[2]));
        }
        return nullptr;
    }
    case Kind::String:
        return std::make_unique<CVordalText>(CString(protocol::DecodeUtf8(text)));
    case Kind::IntList: {
        wanted = "whole numbers separated by commas, such as 7000,7002";
        std::vector<int> numbers;
        if (ParseList(text, numbers, ParseWhole<int>)) {
            return std::make_unique<CVordalIntList>(std::move(numbers));
        }
        return nullptr;
    }
    case Kind::DoubleList: {
        wanted = "numbers separated by commas, such as 0.5,1";
        std::vector<double> numbers;
        if (ParseList(text, numbers, ParseReal)) {
            return std::make_unique<CVordalDoubleList>(std::move(numbers));
        }
        return nullptr;
    }
    case Kind::Branch:
    case Kind::Any:
        // Only the key's presence counts; a truth value is what a button would send.
        return std::make_unique<CVordalBool>(true);
    }
    return nullptr;
}

bool IsGoodKey(std::wstring_view key)
{
    return !key.empty() && key.find(L'\xFFFD') == std::wstring_view::npos && key.find(L'\0') == std::wstring_view::npos;
}

} // namespace

std::string NearestKey(std::string_view name)
{
    auto const distance = [](std::string_view a, std::string_view b) {
        std::vector<std::size_t> row(b.size() + 1);
        for (std::size_t j = 0; j <= b.size(); ++j) {
            row[j] = j;
        }
        for (std::size_t i = 1; i <= a.size(); ++i) {
            std::size_t diagonal = row[0];
            row[0] = i;
            for (std::size_t j = 1; j <= b.size(); ++j) {
                std::size_t const above = row[j];
                row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0U : 1U)});
                diagonal = above;
            }
        }
        return row.back();
    };
    std::string best;
    // The row of distances grows with the text, so a text longer than any key is not compared.
    if (name.size() > greatestKeyText) {
        return {};
    }
    std::size_t least = name.size() / 3 + 1;
    for (protocol::Key const* key : protocol::AllKeys()) {
        std::string const text = protocol::EncodeUtf8(key->text);
        if (std::size_t const away = distance(name, text); away <= least) {
            least = away;
            best = text;
        }
    }
    return best;
}

bool AddKeyValue(CAttributeMap& request, std::string_view text, std::string& error)
{
    std::size_t const equals = text.find('=');
    std::string_view path = text.substr(0, equals);
    std::optional<Kind> forced;
    if (std::size_t const colon = path.find(':'); colon != std::string_view::npos) {
        std::string_view const kindName = path.substr(colon + 1);
        forced = FindKind(kindName);
        if (!forced) {
            std::string known;
            for (KindName const& entry : kindNames) {
                known += (known.empty() ? "" : ", ") + std::string(entry.name);
            }
            error = fmt::format("'{}': there is no kind '{}'; write one of {}", text, kindName, known);
            return false;
        }
        path = path.substr(0, colon);
    }

    std::vector<std::wstring> branches;
    std::wstring leaf;
    for (std::string_view rest = path;;) {
        std::size_t const slash = rest.find('/');
        std::wstring key = protocol::DecodeUtf8(rest.substr(0, slash));
        if (!IsGoodKey(key)) {
            error = fmt::format("'{}': a key is missing; write key=value, such as x5Range=50", text);
            return false;
        }
        if (slash == std::string_view::npos) {
            leaf = std::move(key);
            break;
        }
        branches.push_back(std::move(key));
        if (branches.size() > greatestDepth) {
            error = fmt::format("'{}': more than {} levels of keys", text, greatestDepth);
            return false;
        }
        rest.remove_prefix(slash + 1);
    }

    protocol::Key const* known = protocol::FindKey(leaf);
    if (!forced && known == nullptr) {
        std::string const nearest = NearestKey(protocol::EncodeUtf8(leaf));
        error =
            fmt::format("'{}' is no key that is known here; {}`qx5 keys` lists them, or tell its kind: {}:double={}",
                        path, nearest.empty() ? "" : fmt::format("did you mean {}? ", nearest), path,
                        equals == std::string_view::npos ? "1" : text.substr(equals + 1));
        return false;
    }
    Kind const kind = forced ? *forced : known->kind;
    bool const needsValue = kind != Kind::Any && kind != Kind::Branch;
    if (needsValue && equals == std::string_view::npos) {
        error = fmt::format("'{}' has no value; write {}=VALUE", text, path);
        return false;
    }
    std::string_view wanted;
    std::string_view const value = equals == std::string_view::npos ? std::string_view() : text.substr(equals + 1);
    auto made = ParseValue(kind, value, wanted);
    if (made == nullptr) {
        error = fmt::format("'{}': {} takes {} ({})", text, path, wanted, NameOf(kind));
        return false;
    }

    CAttributeMap* node = &request;
    for (std::wstring const& branch : branches) {
        AttributeKey const key{std::wstring_view(branch)};
        int const count = node->Count(key);
        node = &node->FindCreate(key, count > 0 ? count - 1 : 0);
    }
    node->Add(AttributeKey{std::wstring_view(leaf)}, *made, 0);
    return true;
}

} // namespace qx5::cli
