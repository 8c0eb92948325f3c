#pragma once

#include "click/ModeViews.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tarnvik {

// The search bar of a search-mode session: its text rules and its place under the window.
class SearchBarWindowController
{
public:
    // `textChanged` runs after every edit, once the text rules have applied.
    SearchBarWindowController(std::unique_ptr<SearchBarWindow> window,
                              std::function<void()> textChanged);
    ~SearchBarWindowController();

    SearchBarWindow &window() { return *_window; }

    // Centred 15 points under the frontmost window (screen space), kept above the bottom of the
    // window's screen and above the lower two thirds of a Dock along the bottom.
    void place(const CGRect &windowFrame, const std::optional<CGRect> &dockRect,
               const Screen &screen);
    void close();

private:
    std::unique_ptr<SearchBarWindow> _window;
    bool _closed = false;
};

// "*" and ";" show everything: typed after text they replace it, and text typed after them
// replaces them.
std::string applySearchTextRules(const std::string &text);

// The panel's origin for the rule of place().
CGPoint searchBarOrigin(const CGRect &windowFrame, const CGSize &size,
                        const std::optional<CGRect> &dockRect, const Screen &screen);

} // namespace tarnvik
