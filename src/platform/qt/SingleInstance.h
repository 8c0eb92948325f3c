#pragma once

#include <QDBusVirtualObject>
#include <QString>

#include <functional>

namespace tarnvik {

// One program per session: the first start owns a well-known name on the session bus, and a
// later start asks it to reopen (org.freedesktop.Application's Activate) instead of running.
class SingleInstance final : public QDBusVirtualObject
{
public:
    static constexpr const char *serviceName = "com.ostrelline.Tarnvik";
    static constexpr const char *objectPath = "/com/ostrelline/Tarnvik";

    explicit SingleInstance(std::function<void()> reopen)
        : _reopen(std::move(reopen))
    { }

    enum class Claim { Owned, Reopened, NoBus };
    // Owns the name, or, where another instance does, asks that one to reopen.
    Claim claim();

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    std::function<void()> _reopen;
};

} // namespace tarnvik
