#include "app/MenubarFrame.h"

#include "accessibility/AttributeReaders.h"
#include "platform/AXNames.h"
#include "platform/linux/LinuxDesktop.h"

namespace tarnvik {

// The menu bar counts as on screen while the frontmost application shows one.
void wireMenubarFrame(linux::LinuxDesktop &d)
{
    auto &x = d.windows();
    auto &ax = d.accessibility();
    x.setMenubarFrame([&x, &ax]() -> std::optional<CGRect> {
        auto app = x.frontmostApplication();
        if (!app)
            return std::nullopt;
        auto bar = elementAttribute(ax, NSAccessibilityMenuBarAttribute,
                                    ax.createApplication(app->processIdentifier));
        if (!bar.ok() || !bar.value())
            return std::nullopt;
        auto frame = batchAttributes(
            ax, {NSAccessibilityPositionAttribute, NSAccessibilitySizeAttribute}, *bar.value());
        if (!frame.ok())
            return std::nullopt;
        const auto *position = frame.value()[0].get<CGPoint>();
        const auto *size = frame.value()[1].get<CGSize>();
        if (!position || !size)
            return std::nullopt;
        return CGRect {*position, *size};
    });
}

} // namespace tarnvik
