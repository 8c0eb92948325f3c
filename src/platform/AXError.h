#pragma once

#include <cassert>
#include <utility>
#include <variant>

namespace tarnvik {

// The accessibility error codes, with the platform's values: a failed platform call prints its
// decimal code, and callers tell "unsupported" from "dead" by them.
enum class AXError : int {
    Success = 0,
    Failure = -25200,
    IllegalArgument = -25201,
    InvalidUIElement = -25202,
    InvalidUIElementObserver = -25203,
    CannotComplete = -25204,
    AttributeUnsupported = -25205,
    ActionUnsupported = -25206,
    NotificationUnsupported = -25207,
    NotImplemented = -25208,
    NotificationAlreadyRegistered = -25209,
    NotificationNotRegistered = -25210,
    APIDisabled = -25211,
    NoValue = -25212,
    ParameterizedAttributeUnsupported = -25213,
    NotEnoughPrecision = -25214,
};

constexpr int code(AXError e)
{
    return static_cast<int>(e);
}

// A value or the error of the call that should have produced it, so that a failed call and an
// empty answer never look the same.
template<class T>
class AXResult
{
public:
    AXResult(T value)
        : _storage(std::move(value))
    { }
    AXResult(AXError error)
        : _storage(error)
    {
        assert(error != AXError::Success);
    }

    bool ok() const { return _storage.index() == 0; }
    const T &value() const & { return std::get<0>(_storage); }
    T &&value() && { return std::get<0>(std::move(_storage)); }
    AXError error() const { return ok() ? AXError::Success : std::get<1>(_storage); }

private:
    std::variant<T, AXError> _storage;
};

} // namespace tarnvik
