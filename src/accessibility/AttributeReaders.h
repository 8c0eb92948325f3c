#pragma once

#include "platform/Accessibility.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

// Readers of single attributes. Each returns the raw AXError of a failed call, and an empty
// optional, with no error, when the value has another type: callers tell the two apart.
template<class T>
using AttributeRead = AXResult<std::optional<T>>;

AttributeRead<AXUIElement> elementAttribute(Accessibility &ax, const std::string &name,
                                            const AXUIElement &of);
AttributeRead<std::vector<AXUIElement>>
elementsAttribute(Accessibility &ax, const std::string &name, const AXUIElement &of);
AttributeRead<std::string> stringAttribute(Accessibility &ax, const std::string &name,
                                           const AXUIElement &of);
AttributeRead<CGPoint> pointAttribute(Accessibility &ax, const std::string &name,
                                      const AXUIElement &of);
AttributeRead<CGSize> sizeAttribute(Accessibility &ax, const std::string &name,
                                    const AXUIElement &of);

// Many attributes in one round trip; a slot holds an AXError where its attribute failed.
AXResult<ValueArray> batchAttributes(Accessibility &ax, const std::vector<std::string> &names,
                                     const AXUIElement &of);
// The first `maxValues` entries of an array attribute.
AXResult<ValueArray> limitedAttribute(Accessibility &ax, const std::string &name,
                                      const AXUIElement &of, long maxValues);

// The elements of an array that holds handles only; nothing if any entry is something else.
std::optional<std::vector<AXUIElement>> elementsOf(const ValueArray &values);

} // namespace tarnvik
