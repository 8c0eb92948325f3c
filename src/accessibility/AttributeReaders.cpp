#include "accessibility/AttributeReaders.h"

#include "platform/Diagnostics.h"

namespace tarnvik {

namespace {

AXResult<Value> read(Accessibility &ax, const std::string &name, const AXUIElement &of)
{
    auto result = ax.copyAttributeValue(of, name);
    if (result.ok() && result.value().isEmpty())
        fatal("AXUIElementCopyAttributeValue: success without a value");
    return result;
}

template<class T>
AttributeRead<T> readAs(Accessibility &ax, const std::string &name, const AXUIElement &of)
{
    auto result = read(ax, name, of);
    if (!result.ok())
        return result.error();
    if (const T *v = result.value().get<T>())
        return std::optional<T>(*v);
    return std::optional<T>();
}

} // namespace

std::optional<std::vector<AXUIElement>> elementsOf(const ValueArray &values)
{
    std::vector<AXUIElement> elements;
    elements.reserve(values.size());
    for (const auto &v : values) {
        const auto *e = v.get<AXUIElement>();
        if (!e)
            return std::nullopt;
        elements.push_back(*e);
    }
    return elements;
}

AttributeRead<AXUIElement> elementAttribute(Accessibility &ax, const std::string &name,
                                            const AXUIElement &of)
{
    return readAs<AXUIElement>(ax, name, of);
}

AttributeRead<std::vector<AXUIElement>>
elementsAttribute(Accessibility &ax, const std::string &name, const AXUIElement &of)
{
    auto result = read(ax, name, of);
    if (!result.ok())
        return result.error();
    if (const auto *array = result.value().get<ValueArray>())
        return elementsOf(*array);
    return std::optional<std::vector<AXUIElement>>();
}

AttributeRead<std::string> stringAttribute(Accessibility &ax, const std::string &name,
                                           const AXUIElement &of)
{
    return readAs<std::string>(ax, name, of);
}

AttributeRead<CGPoint> pointAttribute(Accessibility &ax, const std::string &name,
                                      const AXUIElement &of)
{
    return readAs<CGPoint>(ax, name, of);
}

AttributeRead<CGSize> sizeAttribute(Accessibility &ax, const std::string &name,
                                    const AXUIElement &of)
{
    return readAs<CGSize>(ax, name, of);
}

AXResult<ValueArray> batchAttributes(Accessibility &ax, const std::vector<std::string> &names,
                                     const AXUIElement &of)
{
    return ax.copyMultipleAttributeValues(of, names);
}

AXResult<ValueArray> limitedAttribute(Accessibility &ax, const std::string &name,
                                      const AXUIElement &of, long maxValues)
{
    return ax.copyAttributeValues(of, name, 0, maxValues);
}

} // namespace tarnvik
