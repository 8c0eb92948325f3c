#pragma once

#include "accessibility/UITree.h"

#include <string>
#include <vector>

namespace tarnvik::test {

// An element that belongs to no application, for trees built by hand.
inline UIElementPtr element(const std::string &role, CGRect frame)
{
    return std::make_shared<UIElement>(std::nullopt, role, frame.origin, frame.size);
}

// A tree built by hand, parents before children.
class HandTree
{
public:
    HandTree(const std::string &role, CGRect frame)
        : root(element(role, frame))
    {
        tree = UITree::make(root);
    }

    UIElementPtr add(const UIElementPtr &parent, const std::string &role, CGRect frame)
    {
        auto e = element(role, frame);
        if (!tree->add(e, parent->id))
            throw std::logic_error("element not added");
        return e;
    }

    UIElementPtr root;
    std::shared_ptr<UITree> tree;
};

// "role title" of each element, for readable expectations; the value stands in for an absent
// title.
inline std::vector<std::string> names(const std::vector<UIElementPtr> &elements)
{
    std::vector<std::string> result;
    for (const auto &e : elements) {
        std::string name = e->role;
        if (auto text = e->title ? e->title : e->value)
            name += " " + *text;
        result.push_back(name);
    }
    return result;
}

} // namespace tarnvik::test
