#include "platform/fake/FakePreferenceStore.h"

namespace tarnvik::fake {

template<class T>
std::optional<T> FakePreferenceStore::get(const std::string &key) const
{
    std::lock_guard lock(_mutex);
    auto it = _values.find(key);
    if (it == _values.end())
        return std::nullopt;
    if (const T *v = std::get_if<T>(&it->second))
        return *v;
    return std::nullopt;
}

std::optional<bool> FakePreferenceStore::boolValue(const std::string &key) const
{
    return get<bool>(key);
}

std::optional<double> FakePreferenceStore::doubleValue(const std::string &key) const
{
    return get<double>(key);
}

std::optional<std::string> FakePreferenceStore::stringValue(const std::string &key) const
{
    return get<std::string>(key);
}

std::optional<std::vector<std::string>>
FakePreferenceStore::stringListValue(const std::string &key) const
{
    return get<std::vector<std::string>>(key);
}

void FakePreferenceStore::put(const std::string &key, Stored value)
{
    std::lock_guard lock(_mutex);
    _values[key] = std::move(value);
}

void FakePreferenceStore::remove(const std::string &key)
{
    std::lock_guard lock(_mutex);
    _values.erase(key);
}

void FakePreferenceStore::reportUnusable(const std::string &key, const std::string &wanted) const
{
    std::lock_guard lock(_mutex);
    _reports.push_back(key + ": " + wanted);
}

std::vector<std::string> FakePreferenceStore::reports() const
{
    std::lock_guard lock(_mutex);
    return _reports;
}

} // namespace tarnvik::fake
