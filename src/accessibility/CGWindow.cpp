#include "accessibility/CGWindow.h"

#include "platform/Diagnostics.h"
#include "platform/WindowList.h"

namespace tarnvik {

namespace {

std::optional<double> number(const Value *v)
{
    if (!v)
        return std::nullopt;
    if (const auto *i = v->get<std::int64_t>())
        return static_cast<double>(*i);
    if (const auto *d = v->get<double>())
        return *d;
    return std::nullopt;
}

std::optional<std::int64_t> integer(const Value *v)
{
    if (v) {
        if (const auto *i = v->get<std::int64_t>())
            return *i;
    }
    return std::nullopt;
}

} // namespace

std::optional<CGWindow> CGWindow::fromInfo(const ValueDictionary &info)
{
    const Value *boundsValue = info.find(kCGWindowBounds);
    const auto *bounds = boundsValue ? boundsValue->get<ValueDictionary>() : nullptr;
    if (!bounds)
        return std::nullopt;
    const auto x = number(bounds->find("X"));
    const auto y = number(bounds->find("Y"));
    const auto width = number(bounds->find("Width"));
    const auto height = number(bounds->find("Height"));
    const auto layer = integer(info.find(kCGWindowLayer));
    const auto pid = integer(info.find(kCGWindowOwnerPID));
    const Value *owner = info.find(kCGWindowOwnerName);
    const auto *ownerName = owner ? owner->get<std::string>() : nullptr;
    if (!x || !y || !width || !height || !layer || !pid || !ownerName)
        return std::nullopt;
    CGWindow window {makeRect(*x, *y, *width, *height),
                     *layer,
                     static_cast<pid_t>(*pid),
                     *ownerName,
                     std::nullopt,
                     info};
    if (const Value *name = info.find(kCGWindowName)) {
        if (const auto *s = name->get<std::string>())
            window.windowName = *s;
    }
    return window;
}

std::vector<CGWindow> CGWindow::onScreenWindows(WindowList &windowList)
{
    std::vector<CGWindow> windows;
    for (const auto &entry : windowList.onScreenWindowInfo()) {
        const auto *info = entry.get<ValueDictionary>();
        if (!info)
            continue;
        if (auto window = fromInfo(*info))
            windows.push_back(std::move(*window));
        else
            printLine("Failed to build a Window because of missing properties.");
    }
    return windows;
}

bool CGWindow::isMenubar() const
{
    return ownerName == kMenubarOwnerName && windowName == kMenubarWindowName;
}

bool CGWindow::isPanel() const
{
    return ownerName == kMenubarOwnerName && windowName == kPanelWindowName;
}

} // namespace tarnvik
