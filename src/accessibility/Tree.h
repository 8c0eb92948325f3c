#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarnvik {

// A rooted tree of shared elements with parent and child links by id, the root first and every
// element after its parent. `Element` is a pointer to a record with a string `id`. Elements are
// also numbered in the order they were added, so that the algorithms of a subclass can walk the
// links without hashing ids.
template<class Element>
class Tree
{
public:
    using ID = std::string;

    explicit Tree(Element root)
        : _rootId(root->id)
    {
        append(std::move(root), none);
    }

    const ID &rootId() const { return _rootId; }
    std::size_t size() const { return _nodes.size(); }
    bool contains(const ID &id) const { return _indexById.contains(id); }

    // Nothing if the id isn't in the tree.
    Element element(const ID &id) const
    {
        const Index i = indexOf(id);
        return i == none ? Element {} : _nodes[i].element;
    }

    std::optional<ID> parentId(const ID &id) const
    {
        const Index i = indexOf(id);
        if (i == none || _nodes[i].parent == none)
            return std::nullopt;
        return _nodes[_nodes[i].parent].element->id;
    }

    // Nothing for an element without children.
    std::optional<std::vector<ID>> childIds(const ID &id) const
    {
        const Index i = indexOf(id);
        if (i == none || _nodes[i].children.empty())
            return std::nullopt;
        std::vector<ID> ids;
        for (Index c : _nodes[i].children)
            ids.push_back(_nodes[c].element->id);
        return ids;
    }

    // Every element, in the order it was added.
    std::vector<Element> elementsInOrder() const
    {
        std::vector<Element> all;
        all.reserve(_nodes.size());
        for (const auto &node : _nodes)
            all.push_back(node.element);
        return all;
    }

    // The bare link step: false if the element is in the tree already or the parent isn't.
    bool addChild(Element element, const ID &parentId)
    {
        const Index parent = indexOf(parentId);
        if (parent == none || _indexById.contains(element->id))
            return false;
        append(std::move(element), parent);
        return true;
    }

protected:
    using Index = std::uint32_t;
    static constexpr Index none = std::numeric_limits<Index>::max();

    struct Node
    {
        Element element;
        Index parent;
        std::vector<Index> children;
    };

    Index indexOf(const ID &id) const
    {
        auto it = _indexById.find(id);
        return it == _indexById.end() ? none : it->second;
    }

    const Node &node(Index i) const { return _nodes[i]; }
    Index lastIndex() const { return static_cast<Index>(_nodes.size() - 1); }

private:
    void append(Element element, Index parent)
    {
        const auto index = static_cast<Index>(_nodes.size());
        _indexById.emplace(element->id, index);
        _nodes.push_back(Node {std::move(element), parent, {}});
        if (parent != none)
            _nodes[parent].children.push_back(index);
    }

    ID _rootId;
    std::vector<Node> _nodes;
    std::unordered_map<ID, Index> _indexById;
};

} // namespace tarnvik
