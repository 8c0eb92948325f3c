#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"

#include <QObject>
#include <QStringList>

#include <map>
#include <optional>

namespace tarnvik::kwin {

// KDE's global shortcuts (the kglobalaccel service, inside KWin on Plasma 6): each hot key is an
// action of the component "tarnvik", shown in System Settings' shortcuts under Tarnvik. The keys
// are this program's to choose: what System Settings keeps for an action is not loaded back.
class KGlobalAccelHotKeys final : public QObject, public HotKeys
{
    Q_OBJECT

public:
    // `layout` names the keys the shortcuts are made of.
    explicit KGlobalAccelHotKeys(KeyboardLayout &layout);
    // Whether the session bus has KDE's global shortcut service.
    static bool available();

    void setHandler(Handler handler) override { _handler = std::move(handler); }
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId id) override;

private Q_SLOTS:
    void pressed(const QString &component, const QString &action, qlonglong timestamp);
    void released(const QString &component, const QString &action, qlonglong timestamp);

private:
    void listen();
    std::optional<HotKeyId> idOf(const QString &component, const QString &action) const;

    KeyboardLayout &_layout;
    Handler _handler;
    bool _listening = false;
    std::map<HotKeyId, QStringList> _actions;
};

// A key with modifiers as Qt names it (Qt::Key and Qt::KeyboardModifier bits), which is how
// KDE's shortcuts are given; nothing for keys Qt has no name for.
std::optional<int> qtKeyOf(std::uint16_t keyCode, std::uint64_t modifierFlags,
                           KeyboardLayout &layout);

} // namespace tarnvik::kwin
