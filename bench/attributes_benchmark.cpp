// What attribute trees cost: look-ups of present and absent keys, copies, and changes while a copy is kept.
#include <attributes/tree_merge.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

/// Keys with the hash made beforehand, and the texts that they refer to.
struct Keys
{
    explicit Keys(int count, wchar_t const* prefix)
    {
        texts.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            texts.push_back(prefix + std::to_wstring(i));
            keys.emplace_back(std::wstring_view(texts.back()));
        }
    }
    std::vector<std::wstring> texts;
    std::vector<AttributeKey> keys;
};

CAttributeMap WideTree(Keys const& keys)
{
    CAttributeMap tree;
    for (auto const& key : keys.keys) {
        vordal::SetChildValue(tree, key, CVordalDouble(1.0));
    }
    return tree;
}

void AbsentKeys400(benchmark::State& state)
{
    Keys const absent(400, L"x5Setting");
    CAttributeMap request;
    Keys const present(static_cast<int>(state.range(0)), L"x5Requested");
    for (auto const& key : present.keys) {
        request.Add(key, CVordalDouble(50.0));
    }
    CAttributeMap const& map = request;
    for (auto _ : state) {
        for (auto const& key : absent.keys) {
            double value = 0.0;
            benchmark::DoNotOptimize(map.FindValue(key).Get(value));
        }
    }
}
BENCHMARK(AbsentKeys400)->Arg(0)->Arg(1)->Arg(3);

void AbsentKeys400Has(benchmark::State& state)
{
    Keys const absent(400, L"x5Setting");
    CAttributeMap request;
    Keys const present(static_cast<int>(state.range(0)), L"x5Requested");
    for (auto const& key : present.keys) {
        request.Add(key, CVordalDouble(50.0));
    }
    CAttributeMap const& map = request;
    for (auto _ : state) {
        for (auto const& key : absent.keys) {
            benchmark::DoNotOptimize(map.Has(key));
        }
    }
}
BENCHMARK(AbsentKeys400Has)->Arg(0)->Arg(1)->Arg(3);

void LookUpPresent(benchmark::State& state)
{
    Keys const keys(static_cast<int>(state.range(0)), L"x5Setting");
    auto const tree = WideTree(keys);
    std::size_t at = 0;
    for (auto _ : state) {
        double value = 0.0;
        benchmark::DoNotOptimize(tree.FindValue(keys.keys[at]).Get(value));
        at = (at + 7) % keys.keys.size();
    }
}
BENCHMARK(LookUpPresent)->Arg(1)->Arg(3)->Arg(500)->Arg(5000);

void LookUpAbsent(benchmark::State& state)
{
    Keys const keys(static_cast<int>(state.range(0)), L"x5Setting");
    Keys const absent(512, L"x5Absent");
    auto const tree = WideTree(keys);
    std::size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tree.Has(absent.keys[at]));
        at = (at + 7) % absent.keys.size();
    }
}
BENCHMARK(LookUpAbsent)->Arg(500)->Arg(5000);

void Copy(benchmark::State& state)
{
    auto const tree = WideTree(Keys(static_cast<int>(state.range(0)), L"x5Setting"));
    for (auto _ : state) {
        CAttributeMap copy(tree);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Copy)->Arg(500)->Arg(5000);

void CopyAndChangeOne(benchmark::State& state)
{
    Keys const keys(static_cast<int>(state.range(0)), L"x5Setting");
    auto tree = WideTree(keys);
    CAttributeMap kept;
    std::size_t at = 0;
    double value = 0.0;
    for (auto _ : state) {
        kept = tree;
        value += 1.0;
        vordal::SetChildValue(tree, keys.keys[at], CVordalDouble(value));
        at = (at + 7) % keys.keys.size();
    }
}
BENCHMARK(CopyAndChangeOne)->Arg(500)->Arg(5000);

void MergeOneKeyEcho(benchmark::State& state)
{
    Keys const keys(static_cast<int>(state.range(0)), L"x5Setting");
    auto tree = WideTree(keys);
    CAttributeMap kept;
    double value = 0.0;
    for (auto _ : state) {
        kept = tree;
        value += 1.0;
        CAttributeMap echo;
        echo.Add(keys.keys[static_cast<std::size_t>(state.range(0)) / 2], CVordalDouble(value), 0);
        vordal::Merge(tree, echo);
    }
}
BENCHMARK(MergeOneKeyEcho)->Arg(500)->Arg(5000);

void ChangeUnshared(benchmark::State& state)
{
    Keys const keys(static_cast<int>(state.range(0)), L"x5Setting");
    auto tree = WideTree(keys);
    std::size_t at = 0;
    double value = 0.0;
    for (auto _ : state) {
        value += 1.0;
        vordal::SetChildValue(tree, keys.keys[at], CVordalDouble(value));
        at = (at + 7) % keys.keys.size();
    }
}
BENCHMARK(ChangeUnshared)->Arg(5000);

void BuildEcho(benchmark::State& state)
{
    static constexpr AttributeKey Key{L"x5Requested"};
    for (auto _ : state) {
        CAttributeMap echo;
        echo.Add(Key, CVordalDouble(50.0), 0);
        benchmark::DoNotOptimize(echo);
    }
}
BENCHMARK(BuildEcho);

void BuildWide(benchmark::State& state)
{
    Keys const keys(static_cast<int>(state.range(0)), L"x5Setting");
    for (auto _ : state) {
        auto tree = WideTree(keys);
        benchmark::DoNotOptimize(tree);
    }
}
BENCHMARK(BuildWide)->Arg(500)->Arg(5000);

void OccurrenceAmongThousands(benchmark::State& state)
{
    static constexpr AttributeKey Key{L"x5Repeated"};
    CAttributeMap tree;
    for (int i = 0; i < 5000; ++i) {
        tree.Append(CAttributeMap(Key, VordalTypeCreator::MakeValue(i)));
    }
    CAttributeMap const& map = tree;
    int at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&map.Find(Key, at));
        benchmark::DoNotOptimize(map.Count(Key));
        at = (at + 7) % 5000;
    }
}
BENCHMARK(OccurrenceAmongThousands);

} // namespace
