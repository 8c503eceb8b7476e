// The flag words of what handlers tell: none bears any, whatever its kind.
#include "handlers/echo_map.h"
#include "one_sonar.h"
#include "reference_host/common/host_observer.h"
#include <commands/catalogue.h>
#include <commands/sample_request.h>

namespace {

/// How many nodes a tree has below its root; each must bear no flags.
int CheckedNodes(CAttributeMap const& tree)
{
    int count = 0;
    for (int i = 0; i < tree.Count(); ++i) {
        CAttributeMap const& node = tree.GetChild(i);
        EXPECT_EQ(node.GetFlags(), 0U) << std::string(node.GetKey().View().begin(), node.GetKey().View().end());
        count += 1 + CheckedNodes(node);
    }
    return count;
}

class Echoes final : public vordal::HostObserver
{
public:
    int nodes = 0;

    void OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned) override { nodes += CheckedNodes(tree); }
};

using EchoFlags = OneSonar;

TEST_F(EchoFlags, NoEchoOfAnyCommandBearsAny)
{
    Echoes echoes;
    m_host.SetObserver(&echoes);
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        SCOPED_TRACE(entry.handler);
        auto const sample = qx5::SampleOf(*entry.command);
        Store(sample.stored);
        Request(sample.request);
    }
    EXPECT_GT(echoes.nodes, 100);
    m_host.SetObserver(nullptr);
}

TEST_F(EchoFlags, OfBracketsNeither)
{
    Echoes echoes;
    m_host.SetObserver(&echoes);
    CAttributeMap stored;
    stored.Add(L"x5Bracket");
    Store(stored);
    CAttributeMap request;
    request.Add(L"x5Bracket")->Add(L"x5BracketX", CVordalDouble(1.0), 0);
    Request(request);
    EXPECT_GE(echoes.nodes, 5) << "a bracket and its four values";
    m_host.SetObserver(nullptr);
}

TEST_F(EchoFlags, NoKindOfValueBearsAny)
{
    qx5::EchoMap echo;
    echo.Tell(L"int", 1);
    echo.Tell(L"unsigned", 1U);
    echo.Tell(L"int64", std::int64_t{1});
    echo.Tell(L"bool", true);
    echo.Tell(L"double", 1.0);
    echo.Tell(L"pair", 1.0, 2.0);
    echo.Tell(L"string", CString(L"text"));
    echo.Tell(L"offset", CCompOffset(1.0, 2.0, 3.0));
    echo.Tell(L"ints", std::vector<int>{1});
    echo.Tell(L"doubles", std::vector<double>{1.0});
    echo.TellNarrow(L"narrow", "text");
    EXPECT_EQ(CheckedNodes(echo.Tree()), 11);
}

} // namespace
