// Requests as people type them, turned into trees.
#include "key_values.h"

#include <VordalAttributesR/AttributeKey.h>
#include <protocol/catalogue.h>
#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <optional>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using protocol::Kind;

constexpr std::size_t greatestDepth = 64;
constexpr std::size_t greatestKeyText = 200;

/// What stands for the kind Any here, as in scenario files.
constexpr std::string_view withoutValue = "none";

std::string KindsToChooseFrom()
{
    std::string names;
    for (protocol::KindRow const& row : protocol::KindRows) {
        if (row.kind != Kind::Branch && row.kind != Kind::Any) {
            names += std::string(row.name) + ", ";
        }
    }
    return names + std::string(withoutValue);
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
        forced = kindName == withoutValue ? Kind::Any : protocol::FindKind(kindName);
        if (!forced) {
            error = fmt::format("'{}': there is no kind '{}'; write one of {}", text, kindName, KindsToChooseFrom());
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
    std::string_view const written = equals == std::string_view::npos ? std::string_view() : text.substr(equals + 1);
    // Where only the key's presence counts, a truth value is what a button would send.
    auto const value = needsValue ? protocol::ParseValue(kind, written) : protocol::Value(true);
    if (!value) {
        error = fmt::format("'{}': {} takes {} ({})", text, path, protocol::RowOf(kind).form, protocol::NameOf(kind));
        return false;
    }

    CAttributeMap* node = &request;
    for (std::wstring const& branch : branches) {
        AttributeKey const key{std::wstring_view(branch)};
        int const count = node->Count(key);
        node = &node->FindCreate(key, count > 0 ? count - 1 : 0);
    }
    AddValue(*node, AttributeKey{std::wstring_view(leaf)}, *value);
    return true;
}

} // namespace qx5::cli
