// How the costs of attribute trees grow with the number of siblings.
#include "curve.h"

#include "bench/measure.h"
#include "bench/stage.h"
#include "reference_host/attributes/host_keys.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <vordalhostdllR/DataManager.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace bench {

namespace {

AttributeKey KeyOf(std::wstring const& text)
{
    return AttributeKey(std::wstring_view(text));
}

/// All values at the top, kept from one use to the next: a million takes a while.
CAttributeMap const& WideTree(std::size_t siblings)
{
    static std::map<std::size_t, CAttributeMap> trees;
    auto& tree = trees[siblings];
    if (tree.Count() == 0) {
        CAttributeMap made;
        for (std::size_t i = 0; i < siblings; ++i) {
            std::wstring const key = L"Value" + std::to_wstring(i);
            made.Append(CAttributeMap(KeyOf(key), new CVordalInt(static_cast<int>(i))));
        }
        tree = made;
    }
    return tree;
}

/// A change of a copy, while the tree that it was copied from is kept.
template <typename Change>
Curve ChangeOfCopy(std::string name, std::string work, Change change)
{
    return {std::move(name),
            std::move(work),
            {1000, 10'000, 100'000, 1'000'000},
            logarithmic,
            {{1'000'000, 10'000.0}},
            [change](std::size_t size, std::vector<double>& nanoseconds) {
                CAttributeMap const& kept = WideTree(size);
                // Steps through all of the tree, so that no sample profits from the one before.
                std::size_t at = 0;
                for (int i = 0; i < 200; ++i) {
                    at = (at + 7919) % size;
                    std::wstring const key = L"Value" + std::to_wstring(at);
                    CAttributeMap copy(kept);
                    Time(1, 1, nanoseconds, [&] { change(copy, KeyOf(key)); });
                }
            }};
}

} // namespace

std::vector<Curve> TreeCurves()
{
    std::vector<Curve> curves;
    curves.push_back(ChangeOfCopy("tree-remove-shared", "one of N siblings taken out of a copy",
                                  [](CAttributeMap& copy, AttributeKey const& key) { copy.Remove(key, 0); }));
    curves.push_back(ChangeOfCopy("tree-append-shared", "a sibling appended to a copy with N of them",
                                  [](CAttributeMap& copy, AttributeKey const&) {
                                      copy.Append(CAttributeMap(rangeKey, new CVordalDouble(1.0)));
                                      Keep(copy.Has(rangeKey, 0));
                                  }));
    curves.push_back(ChangeOfCopy("tree-change-shared", "one of N siblings given a value in a copy",
                                  [](CAttributeMap& copy, AttributeKey const& key) {
                                      copy.FindCreate(key, 0).ReplaceValue(new CVordalDouble(1.0));
                                  }));
    return curves;
}

/// A host's requests; the tree of the sonar that they are for has N siblings, or the request has N children.
std::vector<Curve> RequestCurves(Stage& stage)
{
    std::vector<Curve> curves;
    curves.push_back({"request-wide-device",
                      "a request of one key, recorded, for a device with N attributes beside each other",
                      {1000, 10'000, 100'000, 1'000'000},
                      logarithmic,
                      {{1'000'000, 6000.0}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          LiveSonar sonar(stage.Host(), 3, WideTree(size));
                          stage.OnHostRecorded([&] {
                              double value = 10.0;
                              for (int i = 0; i < 200; ++i) {
                                  CAttributeMap request;
                                  value = value == 10.0 ? 20.0 : 10.0;
                                  request.Add(rangeKey, CVordalDouble(value), 0);
                                  Time(1, 1, nanoseconds, [&] { sonar.GetDevice().DeliverRequest(&request); });
                              }
                          });
                      }});
    curves.push_back({"request-many-requests",
                      "a tree with N requests, and another key beside them",
                      {250, 1000, 4000, 16'000},
                      1.0,
                      {{16'000, 15e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          CAttributeMap tree;
                          tree.Add(L"NoRequest", CVordalInt(1), 0);
                          for (std::size_t i = 0; i < size; ++i) {
                              std::wstring const key = L"Other" + std::to_wstring(i);
                              tree.Add(vordal::keys::Request)->Add(KeyOf(key), CVordalInt(1), 0);
                          }
                          CDataId const id = stage.Drained().GetDevice().GetDataId();
                          stage.OnHostRecorded([&] {
                              Time(1, 1, nanoseconds,
                                   [&] { DataManager::GetDataManager().SetAttributeMap(id, tree, 4, false); });
                          });
                      }});
    return curves;
}

} // namespace bench
