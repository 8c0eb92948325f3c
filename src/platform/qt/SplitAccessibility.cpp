#include "platform/qt/SplitAccessibility.h"

#include <unistd.h>

namespace tarnvik {

AXUIElement SplitAccessibility::createApplication(pid_t pid)
{
    return pid == getpid() ? _own.createApplication(pid) : _others.createApplication(pid);
}

AXResult<Value> SplitAccessibility::copyAttributeValue(const AXUIElement &element,
                                                       const std::string &name)
{
    return of(element).copyAttributeValue(element, name);
}

AXResult<ValueArray>
SplitAccessibility::copyMultipleAttributeValues(const AXUIElement &element,
                                                const std::vector<std::string> &names)
{
    return of(element).copyMultipleAttributeValues(element, names);
}

AXResult<ValueArray> SplitAccessibility::copyActionNames(const AXUIElement &element)
{
    return of(element).copyActionNames(element);
}

AXResult<Value> SplitAccessibility::copyParameterizedAttributeValue(const AXUIElement &element,
                                                                    const std::string &name,
                                                                    const Value &parameter)
{
    return of(element).copyParameterizedAttributeValue(element, name, parameter);
}

AXResult<AXUIElement> SplitAccessibility::copyElementAtPosition(const AXUIElement &application,
                                                                float x, float y)
{
    return of(application).copyElementAtPosition(application, x, y);
}

AXError SplitAccessibility::setAttributeValue(const AXUIElement &element, const std::string &name,
                                              const Value &value)
{
    return of(element).setAttributeValue(element, name, value);
}

AXError SplitAccessibility::setMessagingTimeout(const AXUIElement &element, float seconds)
{
    return of(element).setMessagingTimeout(element, seconds);
}

AXError SplitAccessibility::performAction(const AXUIElement &element, const std::string &action)
{
    return of(element).performAction(element, action);
}

AXResult<pid_t> SplitAccessibility::getPid(const AXUIElement &element)
{
    return of(element).getPid(element);
}

void SplitAccessibility::prefetch(const std::vector<AXUIElement> &elements, const ReadAhead &reads)
{
    if (!elements.empty() && !QtAccessibility::owns(elements.front()))
        _others.prefetch(elements, reads);
}

} // namespace tarnvik
