#pragma once

#include "platform/qt/QtAccessibility.h"

namespace tarnvik {

// This program's elements to the in-process backend, every other application's to the
// platform's.
class SplitAccessibility final : public Accessibility
{
public:
    SplitAccessibility(Accessibility &others, QtAccessibility &own)
        : _others(others)
        , _own(own)
    { }

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
    AXError setMessagingTimeout(const AXUIElement &element, float seconds) override;
    AXError performAction(const AXUIElement &element, const std::string &action) override;
    AXResult<pid_t> getPid(const AXUIElement &element) override;
    bool isProcessTrusted() override { return _others.isProcessTrusted(); }
    void prefetch(const std::vector<AXUIElement> &elements, const ReadAhead &reads) override;
    void invalidateCache() override { _others.invalidateCache(); }

private:
    Accessibility &of(const AXUIElement &element)
    {
        return QtAccessibility::owns(element) ? static_cast<Accessibility &>(_own) : _others;
    }

    Accessibility &_others;
    QtAccessibility &_own;
};

} // namespace tarnvik
