#pragma once

#include "platform/PreferenceStore.h"

#include <memory>
#include <mutex>
#include <set>

class QSettings;
class QString;
class QVariant;

namespace tarnvik {

// The user's settings in Qt's store (an INI file under ~/.config on Linux). Values read back
// from a file come as text, so each typed read converts strictly and treats what doesn't
// convert as absent. A QSettings may be used from one thread at a time, and the tree builders
// and the search read preferences on theirs, so every access takes the store's lock.
class QSettingsPreferenceStore : public PreferenceStore
{
public:
    QSettingsPreferenceStore();
    // A store at a file of its own, for tests and for several profiles.
    explicit QSettingsPreferenceStore(const std::string &path);
    ~QSettingsPreferenceStore() override;

    std::optional<bool> boolValue(const std::string &key) const override;
    std::optional<double> doubleValue(const std::string &key) const override;
    std::optional<std::string> stringValue(const std::string &key) const override;
    std::optional<std::vector<std::string>> stringListValue(const std::string &key) const override;

    void setBool(const std::string &key, bool value) override;
    void setDouble(const std::string &key, double value) override;
    void setString(const std::string &key, const std::string &value) override;
    void setStringList(const std::string &key, const std::vector<std::string> &value) override;
    void remove(const std::string &key) override;
    void reportUnusable(const std::string &key, const std::string &wanted) const override;

    // The file behind the store.
    std::string path() const;
    // Reads again what changed in the file since it was last read or written.
    void reload();

private:
    QVariant value(const std::string &key) const;
    void set(const std::string &key, const QVariant &value);
    // One line on standard error when the file can't be read or written, and not again while
    // that lasts. Called with the lock held.
    void checkFile();
    QString keepUnparsableCopy() const;
    // One line on standard error for a value that is there but not of the type wanted.
    void complain(const std::string &key, const QVariant &value, const std::string &wanted) const;

    mutable std::mutex _mutex;
    std::unique_ptr<QSettings> _settings;
    mutable std::set<std::string> _complainedOf;
    int _reportedStatus = 0;
};

} // namespace tarnvik
