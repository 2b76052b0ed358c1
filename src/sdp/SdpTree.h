// How a tree goes: without memory, for it goes in destructors.
#pragma once

#include <nlohmann/json.hpp>

#include <utility>

namespace quill::sdp_module
{

/// Empties the tree, from its leaves up. The JSON library takes apart what is in a tree by way of a list for which it
/// needs memory, in destructors that must not throw: without memory the process would end there. Nothing is left for
/// that list when the values in the tree are empty. A description's tree is a few values deep.
inline void TakeApart(nlohmann::json& tree) noexcept
{
    if (!tree.is_structured()) return;
    for (nlohmann::json& child : tree)
        TakeApart(child);
    tree.clear();
}

/// A tree that goes so at the end of its scope, unless its value has been moved away.
struct ScopedTree
{
    explicit ScopedTree(nlohmann::json tree) noexcept : value(std::move(tree)) {}
    ~ScopedTree() { TakeApart(value); }
    ScopedTree(const ScopedTree&) = delete;
    ScopedTree& operator=(const ScopedTree&) = delete;

    nlohmann::json value;
};

} // namespace quill::sdp_module
