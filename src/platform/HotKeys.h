#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace tarnvik {

// System-wide hot keys: a key with exact modifiers reaches the program whatever is in front.
class HotKeys
{
public:
    using HotKeyId = std::uint32_t;
    // Called on the main thread with the event type: key down (10) or key up (11).
    using Handler = std::function<void(HotKeyId, int eventType)>;

    virtual ~HotKeys() = default;

    // One handler for all hot keys; set before registering.
    virtual void setHandler(Handler handler) = 0;
    // False when the system refuses the combination (another program has it).
    virtual bool registerHotKey(HotKeyId id, std::uint16_t keyCode,
                                std::uint64_t modifierFlags) = 0;
    virtual bool unregisterHotKey(HotKeyId id) = 0;
};

} // namespace tarnvik
