#include "platform/gnome/GnomeOverview.h"

#include "platform/AXNames.h"
#include "platform/linux/X11Keys.h"

namespace tarnvik::gnome {

std::optional<AXUIElement> GnomeOverview::rootElement()
{
    const auto shell = _extension.shellProcess();
    if (!isOpen() || !shell)
        return std::nullopt;
    // The shell's one window is its stage; its first child, the shell's whole interface, holds
    // the overview while it shows. The stage itself won't do as the root: GNOME Shell 48 reports
    // it 87 by 55 pixels at 0, 54, which would leave every preview outside it.
    const auto first = [this](const AXUIElement &element, const char *attribute) {
        auto values = _ax.copyAttributeValue(element, attribute);
        const auto *array = values.ok() ? values.value().get<ValueArray>() : nullptr;
        const auto *found = array && !array->empty() ? array->front().get<AXUIElement>() : nullptr;
        return found ? std::optional(*found) : std::nullopt;
    };
    const auto stage =
        first(_ax.createApplication(static_cast<pid_t>(*shell)), NSAccessibilityWindowsAttribute);
    return stage ? first(*stage, NSAccessibilityChildrenAttribute) : std::nullopt;
}

std::optional<std::string> GnomeOverview::unavailable()
{
    const auto refused = _extension.ensureRegistered();
    if (!refused)
        return std::nullopt;
    return std::string("Tarnvik: labels over the overview need the GNOME Shell extension ")
        + TarnvikGnomeExtension::uuid + " (" + *refused
        + "); enable it with: gnome-extensions enable " + TarnvikGnomeExtension::uuid;
}

GnomeOverviewKeys::GnomeOverviewKeys(TarnvikGnomeExtension &extension, KeyboardLayout &layout)
    : _extension(extension)
    , _layout(layout)
{
    // The extension lets go 1.5 s after the last renewal.
    _renewal.setInterval(500);
    QObject::connect(&_renewal, &QTimer::timeout, [this] { _extension.renewKeys(); });
}

bool GnomeOverviewKeys::start(Handler handler)
{
    _handler = std::move(handler);
    _extension.onKey([this](const linux::TypedKey &typed) { key(typed); });
    if (!_extension.holdKeys(true))
        return false;
    _renewal.start();
    return true;
}

void GnomeOverviewKeys::stop()
{
    if (!_handler)
        return;
    _renewal.stop();
    _handler = nullptr;
    _extension.onKey({});
    _extension.holdKeys(false);
}

void GnomeOverviewKeys::key(const linux::TypedKey &typed)
{
    if (!_handler)
        return;
    if (const auto event = linux::keyEventOf(typed, _layout))
        _handler(*event);
}

void GnomeOverviewHotKeys::setHandler(Handler handler)
{
    if (_desktop)
        _desktop->setHandler(handler);
    _extension.onShortcut([this, handler](std::uint32_t index) {
        if (index >= _keys.size() || !handler)
            return;
        handler(_keys[index].first, EventType::keyDown);
        handler(_keys[index].first, EventType::keyUp);
    });
}

bool GnomeOverviewHotKeys::registerHotKey(HotKeyId id, std::uint16_t keyCode,
                                          std::uint64_t modifierFlags)
{
    if (_desktop && !_desktop->registerHotKey(id, keyCode, modifierFlags))
        return false;
    if (const auto xKey = linux::xKeyCode(keyCode)) {
        std::erase_if(_keys, [id](const auto &key) { return key.first == id; });
        _keys.push_back({id, {*xKey, linux::xModifiers(modifierFlags)}});
        tellExtension();
    }
    return true;
}

bool GnomeOverviewHotKeys::unregisterHotKey(HotKeyId id)
{
    if (std::erase_if(_keys, [id](const auto &key) { return key.first == id; }))
        tellExtension();
    return !_desktop || _desktop->unregisterHotKey(id);
}

void GnomeOverviewHotKeys::tellExtension()
{
    std::vector<std::pair<std::uint32_t, std::uint32_t>> shortcuts;
    for (const auto &key : _keys)
        shortcuts.push_back(key.second);
    _extension.watchShortcuts(std::move(shortcuts));
}

} // namespace tarnvik::gnome
