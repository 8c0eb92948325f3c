#pragma once

#include "platform/Accessibility.h"

#include <string>

namespace tarnvik {

// This program's own windows (its settings, its prompt), read in the process through Qt's
// accessibility rather than over the accessibility bus: Qt answers the bus on the main thread,
// so a read of itself from there would wait for its own answer. Every call runs on the main
// thread, where Qt's accessibility lives; a call from another thread waits for it there.
class QtAccessibility final : public Accessibility
{
public:
    QtAccessibility();

    // Whether the element is one of this backend's.
    static bool owns(const AXUIElement &element);

    AXUIElement createApplication(pid_t pid) override;
    AXResult<Value> copyAttributeValue(const AXUIElement &element,
                                       const std::string &name) override;
    AXResult<ValueArray>
    copyMultipleAttributeValues(const AXUIElement &element,
                                const std::vector<std::string> &names) override;
    AXResult<ValueArray> copyActionNames(const AXUIElement &element) override;
    AXResult<Value> copyParameterizedAttributeValue(const AXUIElement &element,
                                                    const std::string &name,
                                                    const Value &parameter) override;
    AXResult<AXUIElement> copyElementAtPosition(const AXUIElement &application, float x,
                                                float y) override;
    AXError setAttributeValue(const AXUIElement &element, const std::string &name,
                              const Value &value) override;
    AXError setMessagingTimeout(const AXUIElement &, float) override { return AXError::Success; }
    AXError performAction(const AXUIElement &element, const std::string &action) override;
    AXResult<pid_t> getPid(const AXUIElement &element) override;
    bool isProcessTrusted() override { return true; }
};

} // namespace tarnvik
