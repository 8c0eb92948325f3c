#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace tarnvik {

// What a backend keeps to address one accessibility object of another process. Only the backend
// that made it looks inside; the core compares and hashes.
class PlatformElement
{
public:
    virtual ~PlatformElement() = default;
    virtual bool equals(const PlatformElement &other) const = 0;
    virtual std::size_t hash() const = 0;
};

// A handle of one element of another application, with the platform's value equality and hash.
class AXUIElement
{
public:
    explicit AXUIElement(std::shared_ptr<const PlatformElement> element)
        : _element(std::move(element))
        , _hash(_element->hash())
    { }

    const PlatformElement &platform() const { return *_element; }
    std::size_t hash() const { return _hash; }

    friend bool operator==(const AXUIElement &a, const AXUIElement &b)
    {
        return a._element == b._element || (a._hash == b._hash && a._element->equals(*b._element));
    }

private:
    std::shared_ptr<const PlatformElement> _element;
    std::size_t _hash;
};

} // namespace tarnvik

template<>
struct std::hash<tarnvik::AXUIElement>
{
    std::size_t operator()(const tarnvik::AXUIElement &e) const noexcept { return e.hash(); }
};
