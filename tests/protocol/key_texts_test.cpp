// The text of a key stands once in the sources; everything else refers to that row.
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <protocol/catalogue.h>
#include <protocol/settings_keys.h>
#include <protocol/utf8.h>

namespace qx5::protocol::test {

namespace {

/// Where in the sources a wide literal stands.
struct Place
{
    std::string where; ///< file and line
    bool isRow = false;
};

/// Wide literals by their text, escapes as they are written, each with all the places that it stands at.
using Literals = std::map<std::string, std::vector<Place>>;

bool IsWordCharacter(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

/// The text without the last word, and without the blanks before and behind it.
std::string_view WithoutLastWord(std::string_view text, std::string_view& word)
{
    auto const dropBlanks = [&] {
        while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) {
            text.remove_suffix(1);
        }
    };
    dropBlanks();
    std::size_t start = text.size();
    while (start > 0 && IsWordCharacter(text[start - 1])) {
        --start;
    }
    word = text.substr(start);
    text = text.substr(0, start);
    dropBlanks();
    return text;
}

/// Whether what stands before a literal makes it the row of a key: `Key x5Range{` or `AttributeKey Request{`.
bool OpensRow(std::string_view before)
{
    while (!before.empty() && (before.back() == ' ' || before.back() == '\n')) {
        before.remove_suffix(1);
    }
    if (before.empty() || before.back() != '{') {
        return false;
    }
    before.remove_suffix(1);
    std::string_view name;
    std::string_view type;
    WithoutLastWord(WithoutLastWord(before, name), type);
    return !name.empty() && (type == "Key" || type == "AttributeKey");
}

Literals LiteralsOf(std::string_view source, std::string const& name)
{
    Literals found;
    std::size_t line = 1;
    std::size_t counted = 0;
    for (std::size_t at = source.find("L\""); at != std::string_view::npos; at = source.find("L\"", at + 1)) {
        if (at > 0 && IsWordCharacter(source[at - 1])) {
            continue; // a narrow literal that ends in L, or a longer word
        }
        std::size_t end = at + 2;
        while (end < source.size() && source[end] != '"' && source[end] != '\n') {
            end += source[end] == '\\' ? 2U : 1U;
        }
        line += static_cast<std::size_t>(std::count(source.begin() + static_cast<std::ptrdiff_t>(counted),
                                                    source.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        counted = at;
        found[std::string(source.substr(at + 2, end - at - 2))].push_back(
            {name + ":" + std::to_string(line), OpensRow(source.substr(0, at))});
        at = end; // the search goes on behind the closing quote
    }
    return found;
}

void Merge(Literals&& from, Literals& into)
{
    for (auto& [text, places] : from) {
        std::move(places.begin(), places.end(), std::back_inserter(into[text]));
    }
}

/// One line for each key text that stands at more than one place.
std::vector<std::string> Twins(Literals const& literals, std::set<std::string> const& keys)
{
    std::vector<std::string> twins;
    for (auto const& [text, places] : literals) {
        bool const isKey =
            keys.contains(text) || std::any_of(places.begin(), places.end(), [](Place const& p) { return p.isRow; });
        if (!isKey || places.size() < 2) {
            continue;
        }
        twins.push_back(text);
        for (Place const& place : places) {
            twins.back() += " " + place.where;
        }
    }
    return twins;
}

std::set<std::string> TextsOfAllKeys()
{
    std::set<std::string> texts;
    for (Key const* const key : AllKeys()) {
        texts.insert(EncodeUtf8(key->text));
    }
    for (Key const* const key : SettingsKeys) {
        texts.insert(EncodeUtf8(key->text));
    }
    return texts;
}

TEST(KeyTexts, ATextThatStandsTwiceIsFound)
{
    Literals all;
    Merge(LiteralsOf("inline constexpr Key x5Range{L\"x5Range\", Kind::Double};\n", "a"), all);
    Merge(LiteralsOf("inline constexpr AttributeKey Request{L\"Request\"};\nauto name = L\"sonar\";", "b"), all);
    Merge(
        LiteralsOf(
            "\n\ntree.Add(L\"x5Range\");\ntree.Add(L\"Request\"); port(L\"sonar\"); Log(L\"say \\\"x5Gain\\\"\")", "c"),
        all);
    EXPECT_EQ(Twins(all, {}), (std::vector<std::string>{"Request b:1 c:4", "x5Range a:1 c:3"}));
    EXPECT_EQ(Twins(all, {"sonar"}), (std::vector<std::string>{"Request b:1 c:4", "sonar b:2 c:4", "x5Range a:1 c:3"}));
    EXPECT_TRUE(all.contains(R"(say \"x5Gain\")"));
}

/// The host's own constants (ATTR_ROLLCOR and the like) are not among these folders: they are the host's contract, and
/// the handlers that use them assert that both texts are the same.
TEST(KeyTexts, EachStandsOnceInTheSources)
{
    namespace fs = std::filesystem;
    Literals all;
    for (char const* const folder : {"protocol", "DeviceDLLs", "reference_host", "simulator", "cli", "bench"}) {
        fs::path const root = fs::path(QX5_SOURCE_DIR) / folder;
        ASSERT_TRUE(fs::is_directory(root)) << root;
        for (auto const& entry : fs::recursive_directory_iterator(root)) {
            auto const extension = entry.path().extension();
            if (extension != ".h" && extension != ".cpp") {
                continue;
            }
            std::ifstream file(entry.path(), std::ios::binary);
            std::string const source((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            ASSERT_FALSE(source.empty()) << entry.path();
            Merge(LiteralsOf(source, fs::relative(entry.path(), QX5_SOURCE_DIR).generic_string()), all);
        }
    }
    auto const keys = TextsOfAllKeys();
    EXPECT_EQ(Twins(all, keys), std::vector<std::string>{});
    for (std::string const& key : keys) {
        EXPECT_TRUE(all.contains(key)) << key << " is no literal of the sources";
    }
}

} // namespace

} // namespace qx5::protocol::test
