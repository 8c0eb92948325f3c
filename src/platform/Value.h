#pragma once

#include "platform/AXError.h"
#include "platform/AXUIElement.h"
#include "platform/Geometry.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace tarnvik {

struct Value;
using ValueArray = std::vector<Value>;

// String-keyed entries in the order they were given.
struct ValueDictionary
{
    std::vector<std::string> keys;
    std::vector<Value> values;

    const Value *find(const std::string &key) const;
    void insert(std::string key, Value value);
};

// A program value converted from whatever the platform answered: element handles stay handles,
// wrapped points, sizes, rectangles, ranges and errors are unwrapped, the rest is bridged as it
// stands. An empty value is "no value at all", which a successful read must never return.
struct Value
{
    using Storage =
        std::variant<std::monostate, bool, std::int64_t, double, std::string, CGPoint, CGSize,
                     CGRect, CFRange, AXError, AXUIElement, ValueArray, ValueDictionary>;
    Storage storage;

    Value() = default;
    template<class T>
    requires std::is_constructible_v<Storage, T &&> Value(T &&v)
        : storage(std::forward<T>(v))
    { }
    Value(const char *s)
        : storage(std::string(s))
    { }
    Value(int i)
        : storage(std::int64_t {i})
    { }

    bool isEmpty() const { return std::holds_alternative<std::monostate>(storage); }
    template<class T>
    const T *get() const
    {
        return std::get_if<T>(&storage);
    }
};

// The entries of an array value from `index` on, at most `maxValues` of them: the answer to a
// read of part of an array attribute. IllegalArgument when the value is no array.
AXResult<ValueArray> slice(const Value &array, long index, long maxValues);

} // namespace tarnvik
