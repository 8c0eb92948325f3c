#pragma once

namespace tarnvik {

// Whether the program starts at login: the preference decides, and is written out at each start.
class LoginItem
{
public:
    virtual ~LoginItem() = default;
    virtual void setEnabled(bool enabled) = 0;
};

} // namespace tarnvik
