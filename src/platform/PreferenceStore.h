#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

// The user's persistent settings, a flat set of named values. Typed reads answer nothing for an
// absent key and for a value stored with another type. Safe for concurrent use.
class PreferenceStore
{
public:
    virtual ~PreferenceStore() = default;

    virtual std::optional<bool> boolValue(const std::string &key) const = 0;
    virtual std::optional<double> doubleValue(const std::string &key) const = 0;
    virtual std::optional<std::string> stringValue(const std::string &key) const = 0;
    virtual std::optional<std::vector<std::string>>
    stringListValue(const std::string &key) const = 0;

    virtual void setBool(const std::string &key, bool value) = 0;
    virtual void setDouble(const std::string &key, double value) = 0;
    virtual void setString(const std::string &key, const std::string &value) = 0;
    virtual void setStringList(const std::string &key, const std::vector<std::string> &value) = 0;
    virtual void remove(const std::string &key) = 0;

    // The stored value of `key` is of its type but unusable: it is not `wanted` (for example
    // "a number from 0 to 1"). Says so once for each value written, naming where it is written;
    // the reader falls back as the key documents, and nothing is written back.
    virtual void reportUnusable(const std::string &key, const std::string &wanted) const = 0;
};

} // namespace tarnvik
