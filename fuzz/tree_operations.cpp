// Fuzzes attribute trees by their operations, among keys of which many share a hash: after each the tree says what a
// simple model says.
#include "input.h"
#include "reference_host/attributes/tree_merge.h"
#include "tests/reference_host/colliding_keys.h"
#include "tests/reference_host/tree_model.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

/// Keys by their number, which is quick to compare.
using Model = vordal::test::ModelOf<int>;

constexpr int Below = -1;  // the key "below"
constexpr int Moved = 255; // "moved"

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// 128 keys of one hash, 124 of others, a few that the program knows beforehand.
std::wstring const& KeyText(int number)
{
    static std::wstring const below = L"below";
    static auto const texts = [] {
        std::array<std::wstring, 256> made;
        for (std::size_t i = 0; i < 128; ++i) {
            made[i] = vordal::test::CollidingKey(i);
        }
        for (std::size_t i = 128; i < 252; ++i) {
            made[i] = L"k" + std::to_wstring(i);
        }
        made[252] = L"x5Range";
        made[253] = L"Request";
        made[254] = L"";
        made[Moved] = L"moved";
        return made;
    }();
    return number == Below ? below : texts[static_cast<std::size_t>(number)];
}

int ValueOf(CAttributeMap const& node)
{
    int value = -1;
    node.Value().Get(value);
    return value;
}

void RequireSame(CAttributeMap const& tree, Model const& model)
{
    Require(tree.Count() == static_cast<int>(model.children.size()));
    auto at = tree.begin();
    for (auto const& child : model.children) {
        Require(at->KeyText() == KeyText(child.key) && ValueOf(*at) == child.value);
        RequireSame(*at, child);
        ++at;
    }
    Require(at == tree.end());
}

struct Subject
{
    CAttributeMap tree;
    Model model;
};

void Probe(Subject const& subject, int number, int occurrence)
{
    AttributeKey const key(KeyText(number));
    int const position = subject.model.Position(number, occurrence);
    auto const* found = subject.tree.GetAttrMap(key, occurrence);
    Require(position >= 0 ? found == &subject.tree.GetChild(position) : found == nullptr);
    Require(subject.tree.Count(key) == subject.model.Count(number));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    std::array<Subject, 3> subjects;
    for (int step = 0; !input.IsEmpty() && step < 100; ++step) {
        auto const operation = input.Byte();
        int const number = input.Byte();
        AttributeKey const key(KeyText(number));
        auto& [tree, model] = subjects[operation / 16 % 3U];
        auto& other = subjects[(operation / 16 + 1) % 3U];
        int const occurrence = operation / 64;
        switch (operation % 16) {
        case 0: // as many children as make an index
            for (int i = 0; i < 50 && model.children.size() < 200; ++i) {
                int const each = (number + i) % 256;
                tree.Append(CAttributeMap(AttributeKey(KeyText(each)), VordalTypeCreator::MakeValue(step)));
                model.children.push_back({each, step, {}});
            }
            break;
        case 1:
        case 2:
            tree.Append(CAttributeMap(key, VordalTypeCreator::MakeValue(step)));
            model.children.push_back({number, step, {}});
            break;
        case 3:
            tree.Append(CAttributeMap(key, nullptr));
            model.children.push_back({number, -1, {}});
            break;
        case 4: {
            int const position = model.Position(number, occurrence);
            Require(tree.Remove(key, occurrence) == (position >= 0));
            if (position >= 0) {
                model.children.erase(model.children.begin() + position);
            }
            break;
        }
        case 5:
            tree.FindCreate(key, occurrence).SetValue(CVordalInt(step));
            model.Create(number, occurrence).value = step;
            break;
        case 6:
            tree.FindCreate(key, occurrence).Add(L"below", CVordalInt(step), 0);
            model.Create(number, occurrence).children.push_back({Below, step, {}});
            break;
        case 7:
        case 8:
            if (other.model.children.size() < 120) {
                vordal::Merge(tree, other.tree);
                model.Merge(Model(other.model));
            }
            break;
        case 9:
            tree = other.tree;
            model = Model(other.model);
            break;
        case 10:
            vordal::SetChildValue(tree, key, CVordalInt(step));
            model.Create(number, 0).value = step;
            break;
        case 11:
            vordal::ForgetReferences(tree);
            break;
        case 12: // a child under another key of another tree
            if (int const position = model.Position(number, 0); position >= 0) {
                other.tree.FindCreate(L"moved") = std::as_const(tree).Find(key);
                auto moved = Model(model.At(position));
                moved.key = Moved;
                other.model.Create(Moved, 0) = std::move(moved);
            }
            break;
        case 13: // all occurrences, the last one first
            for (int left = model.Count(number); left > 0; --left) {
                Require(tree.Remove(key, left - 1));
                model.children.erase(model.children.begin() + model.Position(number, left - 1));
            }
            break;
        case 14:
            if (occurrence == 0) {
                tree.RemoveChildren();
                model.children.clear();
            }
            break;
        default:
            break;
        }
        for (auto const& subject : subjects) {
            Probe(subject, number, occurrence);
        }
    }
    for (auto const& subject : subjects) {
        RequireSame(subject.tree, subject.model);
    }
    return 0;
}
