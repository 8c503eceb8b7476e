// Attribute trees: copies, changes, look-ups.
#include "reference_host/attributes/tree_merge.h"
#include "stage.h"
#include "tests/reference_host/colliding_keys.h"

#include <memory>

namespace bench {

namespace {

/// 400 keys that no tree has.
std::vector<AttributeKey> const& AbsentKeys()
{
    static std::vector<std::wstring> const texts = [] {
        std::vector<std::wstring> made;
        for (int i = 0; i < 400; ++i) {
            made.push_back(L"x5Absent" + std::to_wstring(i));
        }
        return made;
    }();
    static std::vector<AttributeKey> const keys = [] {
        std::vector<AttributeKey> made;
        for (std::wstring const& text : texts) {
            made.emplace_back(std::wstring_view(text));
        }
        return made;
    }();
    return keys;
}

/// All values at the top, as a device's tree has most of its own.
CAttributeMap FlatTree(int nodes)
{
    CAttributeMap tree;
    for (int i = 0; i < nodes; ++i) {
        std::wstring const key = L"Value" + std::to_wstring(i);
        tree.Add(AttributeKey(std::wstring_view(key)), CVordalDouble(i), 0);
    }
    // A tree that a host keeps hands out no references for writing.
    return CAttributeMap(tree);
}

/// Keys of one length; as many of them as told have one hash.
std::vector<std::wstring> LongKeys(std::size_t count, std::size_t colliding)
{
    std::vector<std::wstring> keys;
    for (std::size_t i = 0; i < count; ++i) {
        keys.push_back(vordal::test::CollidingKey(i));
        if (i >= colliding) {
            // Another first character leads to another hash, and to a different one for each of them.
            keys.back().front() = static_cast<wchar_t>(L'A' + i % 20);
        }
    }
    return keys;
}

/// What a host does with a sonar's tree: it is built, merged where nothing was, merged again, and read.
Case WideTreeCase(std::string name, std::string work, std::size_t colliding)
{
    return {std::move(name), std::move(work), 1, [colliding](std::size_t samples, std::vector<double>& nanoseconds) {
                auto const keys = LongKeys(100000, colliding);
                Time(samples, 1, nanoseconds, [&keys] {
                    CAttributeMap given;
                    for (std::wstring const& key : keys) {
                        given.Append(CAttributeMap(AttributeKey(key), new CVordalInt(1)));
                    }
                    CAttributeMap device;
                    vordal::Merge(device, given);
                    vordal::Merge(device, given);
                    int sum = 0;
                    for (std::wstring const& key : keys) {
                        int value = 0;
                        std::as_const(device).FindValue(AttributeKey(key), 0).Get(value);
                        sum += value;
                    }
                    Keep(sum);
                });
            }};
}

} // namespace

std::vector<Case> TreeCases()
{
    std::vector<Case> cases;
    cases.push_back({"absent-keys-400", "400 absent keys with hashes made beforehand, in a request of one key", 300,
                     [](std::size_t samples, std::vector<double>& nanoseconds) {
                         CAttributeMap request;
                         request.Add(rangeKey, CVordalDouble(1.0), 0);
                         Time(samples, 100, nanoseconds, [&] {
                             int found = 0;
                             for (AttributeKey const& key : AbsentKeys()) {
                                 found += request.Has(key, 0) ? 1 : 0;
                             }
                             Keep(found);
                         });
                     }});
    std::string const wideWork = "tree of 100,000 keys built, merged twice and read";
    cases.push_back(WideTreeCase("tree-100000-wide", wideWork, 0));
    cases.push_back(WideTreeCase("tree-100000-colliding", wideWork + ", half of them with one hash", 50000));
    for (int const nodes : {500, 5000}) {
        auto const tree = std::make_shared<CAttributeMap>(FlatTree(nodes));
        std::string const size = std::to_string(nodes);
        cases.push_back({"tree-" + size + "-copy", "copy of a tree of " + size + " nodes", 300,
                         [tree](std::size_t samples, std::vector<double>& nanoseconds) {
                             Time(samples, 100, nanoseconds, [&] {
                                 CAttributeMap const copy(*tree);
                                 Keep(copy);
                             });
                         }});
        cases.push_back({"tree-" + size + "-copy-change",
                         "copy of a tree of " + size + " nodes, one value changed, the old copy kept", 2000,
                         [tree, nodes](std::size_t samples, std::vector<double>& nanoseconds) {
                             std::wstring const text = L"Value" + std::to_wstring(nodes / 2);
                             AttributeKey const key{std::wstring_view(text)};
                             double value = 0.0;
                             Time(samples, 1, nanoseconds, [&] {
                                 CAttributeMap copy(*tree);
                                 value += 1.0;
                                 copy.FindCreate(key, 0).SetValue(CVordalDouble(value));
                                 Keep(copy);
                             });
                         }});
        cases.push_back({"tree-" + size + "-present", "look-up of a key that a tree of " + size + " nodes has", 300,
                         [tree, nodes](std::size_t samples, std::vector<double>& nanoseconds) {
                             std::wstring const text = L"Value" + std::to_wstring(nodes / 2);
                             AttributeKey const key{std::wstring_view(text)};
                             CAttributeMap const& read = *tree;
                             Time(samples, 100, nanoseconds, [&] {
                                 double value = 0.0;
                                 read.FindValue(key, 0).Get(value);
                                 Keep(value);
                             });
                         }});
        cases.push_back({"tree-" + size + "-absent", "look-up of a key that a tree of " + size + " nodes lacks", 300,
                         [tree](std::size_t samples, std::vector<double>& nanoseconds) {
                             CAttributeMap const& read = *tree;
                             std::size_t at = 0;
                             Time(samples, 100, nanoseconds, [&] {
                                 bool const found = read.Has(AbsentKeys()[at], 0);
                                 at = at + 1 < AbsentKeys().size() ? at + 1 : 0;
                                 Keep(found);
                             });
                         }});
    }
    return cases;
}

} // namespace bench
