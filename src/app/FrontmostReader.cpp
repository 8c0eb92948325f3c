#include "app/FrontmostReader.h"

#include "accessibility/AttributeReaders.h"
#include "accessibility/BuildUITrees.h"
#include "click/SessionGeometry.h"
#include "platform/AXNames.h"

namespace tarnvik {

std::variant<FrontmostReader::Reading, std::string> FrontmostReader::read(bool searchMode) const
{
    auto &ax = _services.platform.ax;
    auto &workspace = _services.platform.workspace;
    ax.invalidateCache();
    const auto app = workspace.frontmostApplication();
    const auto menubarApp = workspace.menuBarOwningApplication();
    if (!app || !menubarApp)
        return std::string("tarnvik: no frontmost application");
    auto windowRef = elementAttribute(ax, NSAccessibilityFocusedWindowAttribute,
                                      ax.createApplication(app->processIdentifier));
    auto window = windowRef.ok() && windowRef.value()
        ? UIElement::fullElement(ax, *windowRef.value())
        : nullptr;
    const auto screens = _services.screens.screens();
    const auto screen = window ? chooseScreen(window->frame(), screens) : std::nullopt;
    if (!screen)
        return std::string(
            "Mode: unable to find a frontmost window or active menu bar. deactivating.");
    const double height = screens.front().frame.size.height;
    UITreePtr dock = BuildUITree(_services.platform, searchMode, false).buildDock();
    if (dock && !dockFrameOnScreen(*dock, *screen, height))
        dock = nullptr;
    BuildUITrees builder({_services.platform, _services.preferences, _services.scheduler}, *app,
                         window, menubarApp, dock, searchMode);
    auto trees = builder.build({});
    if (!trees)
        return std::string("tarnvik: the frontmost window could not be read");
    return Reading {std::move(*trees), *screen, height};
}

} // namespace tarnvik
