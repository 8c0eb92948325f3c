#include "app/ShellStatusItem.h"

namespace tarnvik {

std::unique_ptr<ShellStatusItem> ShellStatusItem::make(gnome::TarnvikGnomeExtension &shell,
                                                       ShellViews::MenuBuilder builder)
{
    if (!shell.showStatusItem(false))
        return nullptr;
    return std::unique_ptr<ShellStatusItem>(new ShellStatusItem(shell, std::move(builder)));
}

ShellStatusItem::ShellStatusItem(gnome::TarnvikGnomeExtension &shell,
                                 ShellViews::MenuBuilder builder)
    : _shell(shell)
    , _builder(std::move(builder))
{
    _shell.onStatusMenu([this] { sendMenu(); },
                        [this](int id) {
                            const auto index = static_cast<std::size_t>(id);
                            // Ids count from 0 in the menu last sent.
                            if (id >= 0 && index < _actions.size() && _actions[index])
                                _actions[index]();
                        });
}

ShellStatusItem::~ShellStatusItem()
{
    _shell.onStatusMenu({}, {});
}

void ShellStatusItem::setVisible(bool visible)
{
    _shell.showStatusItem(visible);
    // A menu with no entries doesn't open: the item is never shown without one.
    if (visible)
        sendMenu();
}

void ShellStatusItem::sendMenu()
{
    _actions.clear();
    const auto identify = [this](const std::function<void()> &action) {
        _actions.push_back(action);
        return static_cast<int>(_actions.size()) - 1;
    };
    std::vector<gnome::ShellMenuEntry> menu;
    for (const auto &entry : _builder()) {
        gnome::ShellMenuEntry sent {.id = entry.action ? identify(entry.action) : -1,
                                    .title = entry.title};
        for (const auto &item : entry.submenu)
            sent.submenu.emplace_back(identify(item.action), item.title);
        menu.push_back(std::move(sent));
    }
    _shell.setStatusMenu(std::move(menu));
}

} // namespace tarnvik
