#pragma once

#include <QDBusVirtualObject>
#include <QString>

#include <functional>
#include <optional>
#include <string>

namespace tarnvik {

// One program per session: the first start owns a well-known name on the session bus, and a
// later start asks it to reopen (org.freedesktop.Application's Activate) instead of running.
// Other programs start its actions through ActivateAction: a desktop's own key bindings, where
// it keeps global shortcuts to itself (sway).
class SingleInstance final : public QDBusVirtualObject
{
public:
    static constexpr const char *serviceName = "com.ostrelline.Tarnvik";
    static constexpr const char *objectPath = "/com/ostrelline/Tarnvik";

    struct Handlers
    {
        std::function<void()> reopen;
        // Starts an action by its name, after the caller has its answer; false for a name it
        // does not know.
        std::function<bool(const std::string &name)> activate;
    };

    explicit SingleInstance(Handlers handlers)
        : _handlers(std::move(handlers))
    { }

    enum class Claim { Owned, Reopened, NoBus };
    // Owns the name, or, where another instance does, asks that one to reopen.
    Claim claim();
    // Asks the running instance to start the action; the reason when it can't.
    static std::optional<std::string> activateAction(const std::string &name);

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    Handlers _handlers;
};

} // namespace tarnvik
