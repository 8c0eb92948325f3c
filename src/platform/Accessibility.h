#pragma once

#include "platform/AXError.h"
#include "platform/AXUIElement.h"
#include "platform/Value.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace tarnvik {

// The accessibility operations of the platform, in its vocabulary: roles, attribute and action
// names, AXError results. Every call may block on another process, and every call is bounded by
// a time-out: the default one, or the element's own after setMessagingTimeout. Implementations
// are safe to call from several threads at once; the tree build reads three applications in
// parallel.
class Accessibility
{
public:
    virtual ~Accessibility() = default;

    // The application-level element of a process. Never fails; calls on it fail if the process
    // has no accessible application.
    virtual AXUIElement createApplication(pid_t pid) = 0;

    // One attribute. A success always carries a value: an absent one is NoValue or
    // AttributeUnsupported.
    virtual AXResult<Value> copyAttributeValue(const AXUIElement &element,
                                               const std::string &name) = 0;

    // All named attributes in one round trip, one slot per name in order; an attribute that can't
    // be read puts its AXError in its slot and doesn't fail the call.
    virtual AXResult<ValueArray>
    copyMultipleAttributeValues(const AXUIElement &element,
                                const std::vector<std::string> &names) = 0;

    // A slice of an array attribute: at most maxValues entries from index on. By default the
    // whole attribute is read and cut.
    virtual AXResult<ValueArray> copyAttributeValues(const AXUIElement &element,
                                                     const std::string &name, long index,
                                                     long maxValues)
    {
        auto value = copyAttributeValue(element, name);
        if (!value.ok())
            return value.error();
        return slice(value.value(), index, maxValues);
    }

    // The action names; a backend answers with strings but callers don't rely on it.
    virtual AXResult<ValueArray> copyActionNames(const AXUIElement &element) = 0;

    virtual AXResult<Value> copyParameterizedAttributeValue(const AXUIElement &element,
                                                            const std::string &name,
                                                            const Value &parameter) = 0;

    // The deepest element of the application under a point of the accessibility space.
    virtual AXResult<AXUIElement> copyElementAtPosition(const AXUIElement &application, float x,
                                                        float y) = 0;

    virtual AXError setAttributeValue(const AXUIElement &element, const std::string &name,
                                      const Value &value) = 0;

    // Bounds every later call on this element (and, for an application element, on elements
    // reached through it) by `seconds`.
    virtual AXError setMessagingTimeout(const AXUIElement &element, float seconds) = 0;

    // Returns once the application has taken the request, not once it has acted.
    virtual AXError performAction(const AXUIElement &element, const std::string &action) = 0;

    virtual AXResult<pid_t> getPid(const AXUIElement &element) = 0;

    // Whether this program may read and drive other applications at all.
    virtual bool isProcessTrusted() = 0;

    // What is about to be read of some elements: these attributes, the action names of those
    // whose role `actionNamesOf` accepts (none without it), and with `showingDescendants` the
    // same of everything showing below them, since the caller will walk into them.
    struct ReadAhead
    {
        const std::vector<std::string> &attributes;
        bool (*actionNamesOf)(const std::string &role) = nullptr;
        bool showingDescendants = false;
    };

    // A hint that those reads come next, one by one: a backend that can fetch them together
    // does so.
    virtual void prefetch(const std::vector<AXUIElement> &elements, const ReadAhead &reads)
    {
        (void)elements;
        (void)reads;
    }

    // Values read before this call are not answered from a backend's cache after it: each
    // reading of the desktop starts fresh.
    virtual void invalidateCache() { }
};

} // namespace tarnvik
