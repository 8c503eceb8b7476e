// Requests as people type them.
#include <cli/key_values.h>

#include <VordalAttributesR/CVordalType.h>

#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace qx5::cli {
namespace {

TEST(KeyValues, AKeyHasItsOwnKind)
{
    CAttributeMap request;
    std::string error;
    ASSERT_TRUE(AddKeyValue(request, "x5Range=50", error)) << error;
    double range = 0.0;
    EXPECT_TRUE(request.FindValue(AttributeKey(L"x5Range"), 0).Get(range));
    EXPECT_EQ(range, 50.0);
}

TEST(KeyValues, WholeNumbersOf64Bits)
{
    CAttributeMap request;
    std::string error;
    ASSERT_TRUE(AddKeyValue(request, "Spool:int64=-9223372036854775808", error)) << error;
    std::int64_t number = 0;
    EXPECT_TRUE(request.FindValue(AttributeKey(L"Spool"), 0).Get(number));
    EXPECT_EQ(number, std::numeric_limits<std::int64_t>::min());

    EXPECT_FALSE(AddKeyValue(request, "Spool:int64=9223372036854775808", error));
    EXPECT_EQ(error, "'Spool:int64=9223372036854775808': Spool takes a whole number from -9223372036854775808 to "
                     "9223372036854775807 (int64)");
    EXPECT_EQ(request.Count(AttributeKey(L"Spool")), 1);
}

TEST(KeyValues, AnUnknownKindIsToldWithThoseThatThereAre)
{
    CAttributeMap request;
    std::string error;
    EXPECT_FALSE(AddKeyValue(request, "Spool:metres=1", error));
    EXPECT_EQ(error, "'Spool:metres=1': there is no kind 'metres'; write one of int, uint, int64, bool, double, pair, "
                     "dataid, string, ints, doubles, offset, none");
}

TEST(KeyValues, AReferenceToADataItemIsFourNumbers)
{
    CAttributeMap request;
    std::string error;
    ASSERT_TRUE(AddKeyValue(request, "Source:dataid=1.78.3.2", error)) << error;
    CDataInfo held;
    ASSERT_TRUE(request.FindValue(AttributeKey(L"Source"), 0).Get(held));
    EXPECT_EQ(held, CDataInfo(CDataId(1, 78, 3, 2), 65535, 65535));
    EXPECT_FALSE(AddKeyValue(request, "Source:dataid=1.78.3", error));
    EXPECT_EQ(error, "'Source:dataid=1.78.3': Source takes type, group, device and vessel, such as 1.78.1.1 (dataid)");
    EXPECT_FALSE(AddKeyValue(request, "Source:dataid=1.78.3.65536", error));
}

} // namespace
} // namespace qx5::cli
