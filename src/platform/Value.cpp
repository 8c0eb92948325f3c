#include "platform/Value.h"

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

} // namespace tarnvik
