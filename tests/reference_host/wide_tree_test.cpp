// Random operations on nodes so wide that their children stand several pages deep, compared with plain lists.
#include <attributes/tree_merge.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstddef>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// A tree and, in the same order, what its children are to be: key and value.
struct WideSubject
{
    CAttributeMap tree;
    std::vector<std::pair<int, int>> model;
};

std::wstring TextOf(int key)
{
    return L"Sibling" + std::to_wstring(key);
}

void ExpectWide(WideSubject const& subject)
{
    auto const& [tree, model] = subject;
    ASSERT_EQ(tree.Count(), static_cast<int>(model.size()));
    auto at = tree.begin();
    for (std::size_t i = 0; i < model.size(); ++i, ++at) {
        ASSERT_EQ(at->KeyText(), TextOf(model[i].first)) << i;
        int value = -1;
        ASSERT_TRUE(at->Value().Get(value));
        ASSERT_EQ(value, model[i].second) << i;
        ASSERT_EQ(&tree.GetChild(static_cast<int>(i)), &*at) << i;
        ASSERT_EQ(tree.GetAttrMap(AttributeKey(at->KeyText())), &*at) << i;
    }
    ASSERT_TRUE(at == tree.end());
}

class WideTree : public testing::TestWithParam<int>
{
};

TEST_P(WideTree, MatchesAPlainListThroughChangesOfItAndOfItsCopies)
{
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    auto const below = [&random](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
    std::vector<WideSubject> subjects(4);
    int nextKey = 0;
    auto const append = [&nextKey](WideSubject& subject) {
        int const key = nextKey++;
        subject.tree.Append(CAttributeMap(AttributeKey(TextOf(key)), new CVordalInt(key)));
        subject.model.emplace_back(key, key);
    };
    auto const remove = [](WideSubject& subject, std::size_t position) {
        auto const key = TextOf(subject.model[position].first);
        ASSERT_TRUE(subject.tree.Remove(AttributeKey(key), 0));
        ASSERT_FALSE(subject.tree.Has(AttributeKey(key), 0));
        subject.model.erase(subject.model.begin() + static_cast<std::ptrdiff_t>(position));
    };
    // The sizes at which another level of pages comes and goes, and beyond.
    for (int i = 0; i < GetParam(); ++i) {
        append(subjects[0]);
    }
    for (int step = 0; step < 1200; ++step) {
        auto& subject = subjects[below(subjects.size())];
        auto const size = subject.model.size();
        switch (below(10)) {
        case 0:
            subject = WideSubject(subjects[below(subjects.size())]);
            break;
        case 1: // the last ones, so that pages behind go
            for (std::size_t i = below(700); i > 0 && !subject.model.empty(); --i) {
                ASSERT_NO_FATAL_FAILURE(remove(subject, subject.model.size() - 1));
            }
            break;
        case 2: // a run, so that chunks in the middle go
            for (std::size_t i = below(200), at = size > 0 ? below(size) : 0; i > 0 && at < subject.model.size(); --i) {
                ASSERT_NO_FATAL_FAILURE(remove(subject, at));
            }
            break;
        case 3:
            for (std::size_t i = below(900); i > 0; --i) {
                append(subject);
            }
            break;
        case 4:
        case 5:
            append(subject);
            break;
        case 6:
            if (size > 0) {
                ASSERT_NO_FATAL_FAILURE(remove(subject, below(size)));
            }
            break;
        case 7: // by a reference, which keeps its place from being shared
            if (size > 0) {
                auto& [key, value] = subject.model[below(size)];
                value = step;
                subject.tree.FindCreate(AttributeKey(TextOf(key)), 0).SetValue(CVordalInt(step));
            }
            break;
        case 8:
            vordal::ForgetReferences(subject.tree);
            break;
        default:
            if (size > 0) {
                auto& [key, value] = subject.model[below(size)];
                value = step;
                vordal::SetChildValue(subject.tree, AttributeKey(TextOf(key)), CVordalInt(step));
            }
            break;
        }
        if (step % 150 == 149) {
            for (auto const& each : subjects) {
                ASSERT_NO_FATAL_FAILURE(ExpectWide(each)) << step;
            }
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Sizes, WideTree, testing::Values(500, 520, 8180, 8200, 20'000));

// One level more than any other test has, with what is left of it counted.
TEST(VeryWideTree, OfAHundredThousandAndMoreShrinksToNothing)
{
    constexpr int count = 140'000;
    CAttributeMap tree;
    for (int i = 0; i < count; ++i) {
        tree.Append(CAttributeMap(AttributeKey(TextOf(i)), new CVordalInt(i)));
    }
    CAttributeMap const kept(tree);
    for (int i = count - 1; i >= 0; --i) {
        // From both ends in turn.
        int const key = i % 2 == 0 ? i / 2 : count - 1 - i / 2;
        ASSERT_TRUE(tree.Remove(AttributeKey(TextOf(key)), 0)) << key;
        ASSERT_EQ(tree.Count(), i);
    }
    EXPECT_TRUE(tree.begin() == tree.end());
    ASSERT_EQ(kept.Count(), count);
    for (int i = 0; i < count; ++i) {
        int value = -1;
        ASSERT_TRUE(kept.FindValue(AttributeKey(TextOf(i)), 0).Get(value)) << i;
        ASSERT_EQ(value, i);
    }
}

// A tree that was put together has no index yet; whoever looks for a key first makes it, and so may all that read it.
TEST(WideTreeOfManyReaders, IsLookedAtFirstByAllOfThemAtOnce)
{
    constexpr int count = 500;
    for (int round = 0; round < 40; ++round) {
        CAttributeMap tree;
        for (int i = 0; i < count; ++i) {
            tree.Append(CAttributeMap(AttributeKey(TextOf(i % 400)), new CVordalInt(i)));
        }
        std::barrier start(4);
        std::atomic<int> wrong = 0;
        auto const read = [&](CAttributeMap mine, bool writes) {
            start.arrive_and_wait();
            if (writes) {
                mine.Append(CAttributeMap(AttributeKey(TextOf(count)), new CVordalInt(count)));
            }
            for (int i = 0; i < count; ++i) {
                int value = -1;
                bool const isThere = std::as_const(mine).FindValue(AttributeKey(TextOf(i % 400)), i / 400).Get(value);
                wrong += isThere && value == i ? 0 : 1;
            }
            wrong += mine.Count(AttributeKey(TextOf(0))) == 2 ? 0 : 1;
            wrong += mine.Has(AttributeKey(TextOf(count))) == writes ? 0 : 1;
        };
        std::vector<std::thread> readers;
        for (int reader = 0; reader < 4; ++reader) {
            readers.emplace_back(read, tree, reader == 3);
        }
        for (auto& reader : readers) {
            reader.join();
        }
        ASSERT_EQ(wrong, 0) << round;
    }
}

} // namespace
