#include "click/SearchBarWindowController.h"

namespace tarnvik {

namespace {

bool isShowAll(char c)
{
    return c == '*' || c == ';';
}

} // namespace

std::string applySearchTextRules(const std::string &text)
{
    if (text.size() >= 2 && isShowAll(text.front()))
        return text.substr(1);
    if (text.size() >= 2 && isShowAll(text.back()))
        return text.substr(text.size() - 1);
    return text;
}

CGPoint searchBarOrigin(const CGRect &windowFrame, const CGSize &size,
                        const std::optional<CGRect> &dockRect, const Screen &screen)
{
    const double x = windowFrame.origin.x + windowFrame.size.width * 0.5 - size.width * 0.5;
    double y = windowFrame.origin.y - 15 - size.height;
    if (y < screen.frame.origin.y + 10)
        y = screen.frame.origin.y + 10;
    if (dockRect && dockRect->size.width > dockRect->size.height) {
        const double dockTop = dockRect->origin.y + dockRect->size.height * 2 / 3;
        if (y < dockTop)
            y = dockTop;
    }
    return CGPoint {x, y};
}

SearchBarWindowController::SearchBarWindowController(std::unique_ptr<SearchBarWindow> window,
                                                     std::function<void()> textChanged)
    : _window(std::move(window))
{
    _window->onTextChanged([this, textChanged = std::move(textChanged)] {
        const auto text = _window->text();
        const auto ruled = applySearchTextRules(text);
        if (ruled != text)
            _window->setText(ruled);
        textChanged();
    });
}

SearchBarWindowController::~SearchBarWindowController()
{
    close();
}

void SearchBarWindowController::place(const CGRect &windowFrame,
                                      const std::optional<CGRect> &dockRect, const Screen &screen)
{
    _window->moveTo(searchBarOrigin(windowFrame, _window->size(), dockRect, screen));
}

void SearchBarWindowController::close()
{
    if (_closed)
        return;
    _closed = true;
    _window->onTextChanged({});
    _window->close();
}

} // namespace tarnvik
