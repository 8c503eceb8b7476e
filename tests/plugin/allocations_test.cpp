// What a request costs in memory when there is nothing in it for any handler: no allocation.
#include "one_sonar.h"
#include "reference_host/attributes/tree_merge.h"

#include <bench/allocations.h>

#include <cstddef>
#include <string>

namespace {

using bench::Allocations;

class RequestMemory : public OneSonar
{
protected:
    /// How often the request, delivered a second time, takes memory.
    std::size_t AllocationsOf(CAttributeMap& request)
    {
        m_host.DeliverRequest(*device, &request);
        auto const before = Allocations();
        m_host.DeliverRequest(*device, &request);
        return Allocations() - before;
    }
};

TEST_F(RequestMemory, TheCountSeesTheHostsOwnAllocations)
{
    auto const before = Allocations();
    CAttributeMap tree;
    tree.Add(L"NobodyKnows", CVordalInt(1), 0);
    EXPECT_GT(Allocations(), before);
    CAttributeMap range = One(L"x5Range", CVordalDouble(50.0));
    EXPECT_GT(AllocationsOf(range), 0U);
}

TEST_F(RequestMemory, AnEmptyRequestTakesNone)
{
    CAttributeMap request;
    EXPECT_EQ(AllocationsOf(request), 0U);
    EXPECT_EQ(traffic.lines, Lines());
}

TEST_F(RequestMemory, KeysThatNoHandlerKnowsTakeNone)
{
    // From one key, which the key filters tell from all others, to so many that they tell nothing any more.
    for (int const count : {1, 5, 400}) {
        CAttributeMap request;
        for (int i = 0; i < count; ++i) {
            request.Add(CString(L"NobodyKnows" + std::to_wstring(i)), CVordalInt(i), 0);
        }
        EXPECT_EQ(AllocationsOf(request), 0U) << count;
    }
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Stored().Count(), 0);
}

TEST_F(RequestMemory, AnAbsentKeyOfATreeTakesNone)
{
    CAttributeMap tree;
    for (int i = 0; i < 400; ++i) {
        tree.Add(CString(L"NobodyKnows" + std::to_wstring(i)), CVordalInt(i), 0);
    }
    CAttributeMap const& read = tree;
    int value = 7;
    auto const before = Allocations();
    bool const there = read.Has(L"x5Range") || read.GetAttrMap(L"x5Range") != nullptr ||
                       read.Find(L"x5Range").HasValue() || read.FindValue(L"x5Range").Get(value) ||
                       read.Count(L"x5Range") != 0 || tree.Remove(L"x5Range");
    EXPECT_EQ(Allocations(), before);
    EXPECT_FALSE(there);
    EXPECT_EQ(value, 7);
}

TEST(MergeMemory, ValuesThatAreToldAgainTakeNone)
{
    CAttributeMap into;
    CAttributeMap given;
    for (int i = 0; i < 400; ++i) {
        auto const key = CString(L"NobodyKnows" + std::to_wstring(i % 100));
        into.Add(key, CVordalInt(i % 100), 0);
        given.Append(CAttributeMap(key, new CVordalInt(i % 100)));
    }
    auto const before = Allocations();
    vordal::Merge(into, given);
    EXPECT_EQ(Allocations(), before);
}

} // namespace
