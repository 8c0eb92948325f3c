#pragma once

#include "platform/LoginItem.h"

#include <QString>

namespace tarnvik {

// The login item as the desktops agree on it: an entry in the user's XDG autostart folder that
// starts this program with `argument`, by which it knows it was started at login.
class XdgAutostart final : public LoginItem
{
public:
    XdgAutostart(QString program, QString argument)
        : _program(std::move(program))
        , _argument(std::move(argument))
    { }

    void setEnabled(bool enabled) override;

    // $XDG_CONFIG_HOME/autostart/tarnvik.desktop
    static QString entryPath();

private:
    QString _program;
    QString _argument;
};

} // namespace tarnvik
