#pragma once

#include "platform/PreferenceStore.h"

#include <map>
#include <mutex>
#include <variant>

namespace tarnvik::fake {

// Preferences in memory, each value kept with the type it was stored with.
class FakePreferenceStore : public PreferenceStore
{
public:
    using Stored = std::variant<bool, double, std::string, std::vector<std::string>>;

    std::optional<bool> boolValue(const std::string &key) const override;
    std::optional<double> doubleValue(const std::string &key) const override;
    std::optional<std::string> stringValue(const std::string &key) const override;
    std::optional<std::vector<std::string>> stringListValue(const std::string &key) const override;

    void setBool(const std::string &key, bool value) override { put(key, value); }
    void setDouble(const std::string &key, double value) override { put(key, value); }
    void setString(const std::string &key, const std::string &value) override { put(key, value); }
    void setStringList(const std::string &key, const std::vector<std::string> &value) override
    {
        put(key, value);
    }
    void remove(const std::string &key) override;
    void reportUnusable(const std::string &key, const std::string &wanted) const override;

    // Each report as "key: wanted", in order.
    std::vector<std::string> reports() const;

private:
    template<class T>
    std::optional<T> get(const std::string &key) const;
    void put(const std::string &key, Stored value);

    mutable std::mutex _mutex;
    std::map<std::string, Stored> _values;
    mutable std::vector<std::string> _reports;
};

} // namespace tarnvik::fake
