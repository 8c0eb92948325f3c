#include "platform/Value.h"

#include <algorithm>

namespace tarnvik {

const Value *ValueDictionary::find(const std::string &key) const
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (keys[i] == key)
            return &values[i];
    }
    return nullptr;
}

void ValueDictionary::insert(std::string key, Value value)
{
    keys.push_back(std::move(key));
    values.push_back(std::move(value));
}

AXResult<ValueArray> slice(const Value &array, long index, long maxValues)
{
    const auto *values = array.get<ValueArray>();
    if (!values || index < 0 || maxValues < 0)
        return AXError::IllegalArgument;
    const auto begin = std::min(values->size(), static_cast<std::size_t>(index));
    const auto end = std::min(values->size(), begin + static_cast<std::size_t>(maxValues));
    return ValueArray(values->begin() + static_cast<std::ptrdiff_t>(begin),
                      values->begin() + static_cast<std::ptrdiff_t>(end));
}

} // namespace tarnvik
