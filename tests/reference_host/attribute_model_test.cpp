// Random operations on attribute trees, compared after each with a model that is too simple to be wrong.
#include "colliding_keys.h"
#include "tree_model.h"

#include <attributes/tree_merge.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using vordal::test::Model;

int ValueOf(CAttributeMap const& node)
{
    int value = -1;
    node.Value().Get(value);
    return value;
}

void ExpectSame(CAttributeMap const& tree, Model const& model)
{
    ASSERT_EQ(tree.Count(), static_cast<int>(model.children.size()));
    auto at = tree.begin();
    for (std::size_t i = 0; i < model.children.size(); ++i, ++at) {
        auto const& child = model.children[i];
        ASSERT_EQ(&*at, &tree.GetChild(static_cast<int>(i)));
        ASSERT_TRUE(at->KeyText() == child.key);
        ASSERT_EQ(ValueOf(*at), child.value);
        ASSERT_NO_FATAL_FAILURE(ExpectSame(*at, child));
    }
    ASSERT_TRUE(at == tree.end());
}

/// One tree under test with its model.
struct Subject
{
    CAttributeMap tree;
    Model model;
};

class RandomOperations : public testing::TestWithParam<unsigned>
{
};

TEST_P(RandomOperations, MatchTheModel)
{
    std::mt19937 random(GetParam());
    auto const below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    // Few keys make repeats, many make wide nodes with an index.
    int const keyCount = GetParam() % 3 == 0 ? 4 : GetParam() % 3 == 1 ? 60 : 400;
    int const appendWeight = 3 + static_cast<int>(GetParam() % 5) * 3;
    auto const anyKey = [&] {
        // In every other run keys of one hash, in some of these nothing but such keys.
        if (GetParam() % 2 == 0 && (GetParam() % 4 == 0 || below(2) == 0)) {
            return vordal::test::CollidingKey(static_cast<std::size_t>(below(keyCount)));
        }
        return L"k" + std::to_wstring(below(keyCount));
    };
    std::vector<Subject> subjects(3);
    // References that were handed out for a top-level child, to be written through later.
    struct Held
    {
        std::size_t subject;
        CAttributeMap* node;
        std::wstring key;
        int occurrence;
    };
    std::vector<Held> held;

    for (int step = 0; step < 1500; ++step) {
        auto const which = static_cast<std::size_t>(below(3));
        auto& [tree, model] = subjects[which];
        auto const key = anyKey();
        int const occurrence = below(3);
        int const operation = below(14 + appendWeight);
        if (operation >= 14) {
            tree.Append(CAttributeMap(AttributeKey(key), VordalTypeCreator::MakeValue(step)));
            model.children.push_back({key, step, {}});
        } else if (operation == 0) {
            auto const other = static_cast<std::size_t>(below(3));
            std::erase_if(held, [&](Held const& h) { return h.subject == which && other != which; });
            tree = subjects[other].tree;
            model = Model(subjects[other].model);
        } else if (operation <= 2) {
            std::erase_if(held, [&](Held const& h) { return h.subject == which && h.key == key; });
            int const position = model.Position(key, occurrence);
            ASSERT_EQ(tree.Remove(AttributeKey(key), occurrence), position >= 0);
            if (position >= 0) {
                model.children.erase(model.children.begin() + position);
            }
        } else if (operation <= 4) {
            auto& node = tree.FindCreate(AttributeKey(key), occurrence);
            node.SetValue(CVordalInt(step));
            model.Create(key, occurrence).value = step;
            held.push_back({which, &node, key, occurrence});
        } else if (operation <= 6) {
            tree.FindCreate(AttributeKey(key), 0).Add(AttributeKey(L"below"), CVordalInt(step), 0);
            model.Create(key, 0).children.push_back({L"below", step, {}});
        } else if (operation <= 8 && !held.empty()) {
            auto const& h = held[static_cast<std::size_t>(below(static_cast<int>(held.size())))];
            h.node->SetValue(CVordalInt(step));
            auto& target = subjects[h.subject].model;
            target.At(target.Position(h.key, h.occurrence)).value = step;
        } else if (operation == 9) {
            auto const other = static_cast<std::size_t>(below(3));
            if (subjects[other].model.children.size() < 200 || below(10) == 0) {
                vordal::Merge(tree, subjects[other].tree);
                model.Merge(Model(subjects[other].model));
            }
        } else if (operation == 10) {
            vordal::SetChildValue(tree, AttributeKey(key), CVordalInt(step));
            model.Create(key, 0).value = step;
        } else if (operation == 11) {
            std::erase_if(held, [&](Held const& h) { return h.subject == which; });
            vordal::ForgetReferences(tree);
        } else if (operation == 12 && model.Position(key, 0) >= 0) {
            // A child under another key of another tree.
            auto const& child = std::as_const(tree).Find(AttributeKey(key));
            auto& other = subjects[(which + 1) % 3];
            other.tree.FindCreate(AttributeKey(L"moved")) = child;
            auto moved = Model(model.At(model.Position(key, 0)));
            moved.key = L"moved";
            other.model.Create(L"moved", 0) = moved;
        } else if (below(60) == 0) {
            std::erase_if(held, [&](Held const& h) { return h.subject == which; });
            tree.RemoveChildren();
            model.children.clear();
        }
        for (auto const& subject : subjects) {
            auto const probe = anyKey();
            ASSERT_EQ(subject.tree.Count(AttributeKey(probe)), subject.model.Count(probe)) << step;
            for (int n = 0; n < 3; ++n) {
                int const position = subject.model.Position(probe, n);
                auto const* found = subject.tree.GetAttrMap(AttributeKey(probe), n);
                ASSERT_EQ(found != nullptr, position >= 0) << step;
                ASSERT_TRUE(found == nullptr || found == &subject.tree.GetChild(position)) << step;
            }
        }
        if (step % 10 == 0) {
            for (auto const& subject : subjects) {
                ASSERT_NO_FATAL_FAILURE(ExpectSame(subject.tree, subject.model)) << step;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, testing::Range(1U, 41U));

} // namespace
