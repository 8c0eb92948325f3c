#include "platform/linux/WindowSystem.h"

namespace tarnvik::linux {

ValueArray WindowSystem::menubarEntries() const
{
    ValueArray list;
    if (_menubarFrame) {
        if (auto frame = _menubarFrame())
            list.push_back(windowInfo(*frame, 0, kMenubarOwnerName, kMenubarWindowName, 24));
    }
    return list;
}

void WindowSystem::observeActivations(std::function<void(const RunningApplication &)> observer)
{
    _activationObservers.push_back(std::move(observer));
    if (_activationObservers.size() > 1)
        return;
    if (auto app = frontmostApplication())
        _frontmostProcess = app->processIdentifier;
    watchFocus();
}

void WindowSystem::focusMoved()
{
    // Only another application coming to the front counts, not another of its windows.
    auto app = frontmostApplication();
    if (!app || app->processIdentifier == _frontmostProcess)
        return;
    _frontmostProcess = app->processIdentifier;
    for (const auto &observer : _activationObservers)
        observer(*app);
}

} // namespace tarnvik::linux
