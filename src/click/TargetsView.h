#pragma once

#include "accessibility/UITrees.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

// The labels of one search result: which element has which label, which label is focused,
// how much of each is typed, where each stands and which overlapping ones are on top. A view
// draws it; a new result makes a new one.
class TargetsView
{
public:
    TargetsView(std::vector<UIElementPtr> elements, UITrees uiTrees,
                std::vector<std::string> labels, bool focusFirst);

    const std::vector<UIElementPtr> &elements() const { return _elements; }
    const UITrees &uiTrees() const { return _uiTrees; }
    const std::vector<std::string> &labels() const { return _labels; }

    std::optional<std::size_t> focusedIndex() const { return _focused; }
    UIElementPtr focusedElement() const;
    // An index outside the list does nothing. The focused label hides behind its highlight.
    void focus(std::size_t index);
    // Both wrap at the ends; nothing without a focus.
    void focusNext();
    void focusPrevious();

    // Marks in every label that starts with `query` the typed part.
    void setLabelQuery(const std::string &query);
    const std::vector<int> &matchedPrefixes() const { return _matched; }

    // Places the labels, given their sizes, over a window that covers `screenFrame` (the
    // accessibility space); frames are in the window's coordinates, y downwards.
    void layoutLabels(const std::vector<CGSize> &labelSizes, const CGRect &screenFrame);
    const std::vector<CGRect> &labelFrames() const { return _frames; }
    // Groups of overlapping labels; the first of a group is drawn on top.
    const std::vector<std::vector<std::size_t>> &clusters() const { return _clusters; }
    // Label indices from the bottom of the drawing to its top.
    std::vector<std::size_t> drawingOrder() const;
    void rotateClusters();
    // The focus highlight's frame in the window, if something is focused.
    std::optional<CGRect> focusFrame(const CGRect &screenFrame) const;

    bool isLabelHidden(std::size_t index) const { return _allHidden || _focused == index; }
    // After a click: every label goes, and the highlight flashes.
    void hideAllLabels() { _allHidden = true; }

private:
    // The element's visible frame in the window's coordinates.
    CGRect windowFrame(std::size_t index, const CGRect &screenFrame) const;

    std::vector<UIElementPtr> _elements;
    UITrees _uiTrees;
    std::vector<std::string> _labels;
    std::optional<std::size_t> _focused;
    std::vector<int> _matched;
    std::vector<CGRect> _frames;
    std::vector<std::vector<std::size_t>> _clusters;
    bool _allHidden = false;
};

// Where a label of `size` stands for an element whose visible frame is `element` (window
// coordinates, y downwards): centred on the element's lower edge, kept inside the window.
CGPoint labelOrigin(const CGRect &element, const CGSize &size, const CGSize &window);

} // namespace tarnvik
