// Attribute trees as JSON and back.
#include "json/json_parser.h"
#include "json/tree_json.h"

#include <VordalAttributesR/CVordalType.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace qx5::cli::scenario_tree_test {
namespace {

CAttributeMap Read(std::string const& text)
{
    return ReadTree(ParseJson(text).Root(), JsonPath());
}

std::string Rewritten(std::string const& text)
{
    return WriteJson(WriteTree(Read(text)));
}

template <typename Use>
std::string RefusalOf(Use const& use)
{
    try {
        use();
    } catch (InvalidDocument const& failure) {
        return failure.Path() + ": " + failure.what();
    }
    return "accepted";
}

/// Of reading and of checking alone, which are to be the same.
std::string Refusal(std::string const& text)
{
    auto const refusal = RefusalOf([&] { Read(text); });
    EXPECT_EQ(RefusalOf([&] { CheckTree(ParseJson(text).Root(), JsonPath()); }), refusal);
    return refusal;
}

TEST(Tree, ReadsEveryType)
{
    auto const tree = Read(R"([["i","int",-2147483648],["u","uint",4294967295],["l","int64",9223372036854775807],
        ["b","bool",true],["d","double",50],["p","pair",[1,"-inf"]],["s","string","a\ud83d\ude00"],
        ["is","ints",[1,-2]],["ds","doubles",[0.5,"nan"]],["r","dataid",[1,78,2,3]],["o","offset",[1,2,3.5]]])");
    int integer = 0;
    EXPECT_TRUE(tree.FindValue(L"i").Get(integer));
    EXPECT_EQ(integer, -2147483647 - 1);
    unsigned natural = 0;
    EXPECT_TRUE(tree.FindValue(L"u").Get(natural));
    EXPECT_EQ(natural, 4294967295U);
    std::int64_t wide = 0;
    EXPECT_TRUE(tree.FindValue(L"l").Get(wide));
    EXPECT_EQ(wide, 9223372036854775807);
    bool truth = false;
    EXPECT_TRUE(tree.FindValue(L"b").Get(truth));
    EXPECT_TRUE(truth);
    double number = 0.0;
    EXPECT_TRUE(tree.FindValue(L"d").Get(number));
    EXPECT_EQ(number, 50.0);
    EXPECT_FALSE(tree.FindValue(L"d").Get(integer));
    double second = 0.0;
    EXPECT_TRUE(tree.FindValue(L"p").Get(number, second));
    EXPECT_EQ(number, 1.0);
    EXPECT_TRUE(std::isinf(second) && second < 0.0);
    CString text;
    EXPECT_TRUE(tree.FindValue(L"s").Get(text));
    EXPECT_EQ(text, CString(L"a\U0001F600"));
    EXPECT_EQ(text.GetLength(), 2);
    std::vector<int> integers;
    EXPECT_TRUE(tree.FindValue(L"is").Get(integers));
    EXPECT_EQ(integers, (std::vector{1, -2}));
    std::vector<double> doubles;
    EXPECT_TRUE(tree.FindValue(L"ds").Get(doubles));
    ASSERT_EQ(doubles.size(), 2U);
    EXPECT_TRUE(doubles[0] == 0.5 && std::isnan(doubles[1]));
    CDataInfo reference;
    EXPECT_TRUE(tree.FindValue(L"r").Get(reference));
    EXPECT_EQ(reference, CDataInfo(CDataId(1, 78, 2, 3), 65535, 65535));
    CCompOffset offset;
    EXPECT_TRUE(tree.FindValue(L"o").Get(offset));
    EXPECT_EQ(offset, CCompOffset(1.0, 2.0, 3.5));
}

TEST(Tree, WritesEveryTypeAsItIsRead)
{
    for (std::string const text : {
             R"([["i","int",3],["i","int",-4]])",
             R"([["u","uint",4294967295],["l","int64",-9223372036854775808]])",
             R"([["b","bool",false],["d","double",-0.0],["d","double","nan"],["d","double","-inf"]])",
             R"([["p","pair",[10.0,-10.5]],["o","offset",[0.0,1e+300,"inf"]]])",
             R"([["s","string","é\n\"x\""],["is","ints",[]],["ds","doubles",[0.1]],["r","dataid",[1,78,1,65535]]])",
             R"([["branch",[["leaf","none"],["leaf","int",1]]],["both","int",3,[["x","none"]]]])",
             R"([["","none"]])",
             R"([])",
         }) {
        EXPECT_EQ(Rewritten(text), text);
    }
}

TEST(Tree, ReadsKeysOfAnyLength)
{
    for (std::size_t const length : {0U, 1U, 47U, 48U, 49U, 500U}) {
        std::string const key(length, 'k');
        auto const tree = "[[\"" + key + "\",\"none\"],[\"" + key + "\xC3\xA9\",[[\"" + key + "\",\"int\",7]]]]";
        EXPECT_EQ(Rewritten(tree), tree);
    }
}

TEST(Tree, WritesOneFormForEachNode)
{
    EXPECT_EQ(Rewritten(R"([["a",[]]])"), R"([["a","none"]])");
    EXPECT_EQ(Rewritten(R"([["a","int",3,[]]])"), R"([["a","int",3]])");
    EXPECT_EQ(Rewritten(R"([["a","double",50],["b","double",5e1],["c","double",1e-400]])"),
              R"([["a","double",50.0],["b","double",50.0],["c","double",0.0]])");
}

TEST(Tree, SaysWhereItIsWrong)
{
    EXPECT_EQ(Refusal(R"([["a","int",1,[["b","none"]]],["c",[]]])"), "accepted");
    EXPECT_EQ(Refusal("{}"), "$: a tree is an array of nodes, not an object");
    EXPECT_EQ(Refusal("null"), "$: a tree is an array of nodes, not null");
    auto const shape = std::string(": a node is [key, type, value], [key, [nodes]], [key, type, value, [nodes]] or "
                                   "[key, \"none\"]");
    EXPECT_EQ(Refusal(R"([["a","none"],"a"])"), "$[1]" + shape);
    EXPECT_EQ(Refusal(R"([["a"]])"), "$[0]" + shape);
    EXPECT_EQ(Refusal(R"([["a","int",1,[],[]]])"), "$[0]" + shape);
    EXPECT_EQ(Refusal(R"([[1,"int",1]])"), "$[0][0]: a text is expected here, not an integer");
    EXPECT_EQ(Refusal(R"([["a","dbl",1]])"), "$[0][1]: unknown type \"dbl\"");
    EXPECT_EQ(Refusal(R"([["a",7]])"), "$[0][1]: a text is expected here, not an integer");
    EXPECT_EQ(Refusal(R"([["a","int"]])"), "$[0]: the value is missing");
    EXPECT_EQ(Refusal(R"([["a","none",[]]])"), "$[0]: nothing may follow the type \"none\"");
    EXPECT_EQ(Refusal(R"([["a",[],[]]])"), "$[0]: nothing may follow the children of a branch");
    EXPECT_EQ(Refusal(R"([["a",[["b","int",1.5]]]])"),
              "$[0][1][0][2]: an integer is expected here, not a number with a point or an exponent");
    EXPECT_EQ(Refusal(R"([["a","int",2147483648]])"),
              "$[0][2]: 2147483648 is out of range, which is -2147483648 to 2147483647");
    EXPECT_EQ(Refusal(R"([["a","uint",-1]])"), "$[0][2]: -1 is out of range, which is 0 to 4294967295");
    EXPECT_EQ(Refusal(R"([["a","int64",9223372036854775808]])"),
              "$[0][2]: 9223372036854775808 is out of range, which is -9223372036854775808 to 9223372036854775807");
    EXPECT_EQ(Refusal(R"([["a","bool",1]])"), "$[0][2]: true or false is expected here, not an integer");
    EXPECT_EQ(Refusal(R"([["a","double","NaN"]])"),
              "$[0][2]: a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not a text");
    EXPECT_EQ(Refusal(R"([["a","pair",[1]]])"), "$[0][2]: an array of 2 is expected here, not of 1");
    EXPECT_EQ(Refusal(R"([["a","pair",[1,true]]])"),
              "$[0][2][1]: a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not true");
    EXPECT_EQ(Refusal(R"([["a","string",null]])"), "$[0][2]: a text is expected here, not null");
    EXPECT_EQ(Refusal(R"([["a","ints",[1,2.0]]])"),
              "$[0][2][1]: an integer is expected here, not a number with a point or an exponent");
    EXPECT_EQ(Refusal(R"([["a","doubles",3]])"), "$[0][2]: an array is expected here, not an integer");
    EXPECT_EQ(Refusal(R"([["a","dataid",[1,2,3]]])"), "$[0][2]: an id is four integers, [a, b, c, d]");
    EXPECT_EQ(Refusal(R"([["a","dataid",[1,2,3,65536]]])"), "$[0][2][3]: 65536 is out of range, which is 0 to 65535");
    EXPECT_EQ(Refusal(R"([["a","offset",[1,2,3,4]]])"), "$[0][2]: an array of 3 is expected here, not of 4");
    EXPECT_EQ(Refusal(R"([["a","int",1,{}]])"), "$[0][3]: a tree is an array of nodes, not an object");
}

TEST(Tree, WritesDeepTreesAndRefusesToOverflow)
{
    CAttributeMap tree;
    auto* node = &tree;
    for (int i = 0; i < TreeDepthLimit; ++i) {
        node = node->Add(L"a");
    }
    EXPECT_NO_THROW(WriteTree(tree));
    node->Add(L"a");
    EXPECT_THROW(WriteTree(tree), std::length_error);
}

} // namespace
} // namespace qx5::cli::scenario_tree_test
