// A model of attribute trees that is too simple to be wrong, for comparing.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vordal::test {

/// A tree whose every copy is a full copy. What stands for a key is compared and nothing else.
template <typename Key>
struct ModelOf
{
    Key key;
    int value = -1; ///< -1 for none
    std::vector<ModelOf> children;

    int Position(Key const& wanted, int occurrence) const
    {
        for (std::size_t i = 0; i < children.size(); ++i) {
            if (children[i].key == wanted && occurrence-- == 0) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }
    int Count(Key const& wanted) const
    {
        int count = 0;
        for (auto const& child : children) {
            count += child.key == wanted ? 1 : 0;
        }
        return count;
    }
    ModelOf& At(int position) { return children[static_cast<std::size_t>(position)]; }
    ModelOf& Create(Key const& wanted, int occurrence)
    {
        while (Count(wanted) <= occurrence) {
            children.push_back({wanted, -1, {}});
        }
        return At(Position(wanted, occurrence));
    }
    void Merge(ModelOf const& given)
    {
        for (std::size_t i = 0; i < given.children.size(); ++i) {
            auto const& child = given.children[i];
            int own = 0;
            for (std::size_t j = 0; j < i; ++j) {
                own += given.children[j].key == child.key ? 1 : 0;
            }
            if (child.children.empty() && child.value != -1) {
                Create(child.key, 0).value = child.value;
            } else {
                auto& node = Create(child.key, own);
                if (child.value != -1) {
                    node.value = child.value;
                }
                node.Merge(child);
            }
        }
    }
};

using Model = ModelOf<std::wstring>;

} // namespace vordal::test
