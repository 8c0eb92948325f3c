#pragma once

#include "app/ShellViews.h"
#include "platform/gnome/TarnvikGnomeExtension.h"

#include <memory>

namespace tarnvik {

// The status item in GNOME Shell's top bar, which shows no StatusNotifierItem: the extension
// draws the item and its menu, made here anew each time the menu opens.
class ShellStatusItem final : public StatusItemView
{
public:
    // Nothing where the shell has no extension to show it.
    static std::unique_ptr<ShellStatusItem> make(gnome::TarnvikGnomeExtension &shell,
                                                 ShellViews::MenuBuilder builder);
    ~ShellStatusItem() override;

    void setVisible(bool visible) override;

private:
    ShellStatusItem(gnome::TarnvikGnomeExtension &shell, ShellViews::MenuBuilder builder);
    void sendMenu();

    gnome::TarnvikGnomeExtension &_shell;
    ShellViews::MenuBuilder _builder;
    // The actions of the menu last sent, by the ids its entries carry.
    std::vector<std::function<void()>> _actions;
};

} // namespace tarnvik
