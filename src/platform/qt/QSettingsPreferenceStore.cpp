#include "platform/qt/QSettingsPreferenceStore.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>

#include <cstdio>

namespace tarnvik {

namespace {

QString key(const std::string &k)
{
    return QString::fromStdString(k);
}

} // namespace

QSettingsPreferenceStore::QSettingsPreferenceStore()
    : _settings(std::make_unique<QSettings>(QStringLiteral("tarnvik"), QStringLiteral("tarnvik")))
{
    std::lock_guard lock(_mutex);
    checkFile();
}

QSettingsPreferenceStore::QSettingsPreferenceStore(const std::string &path)
    : _settings(std::make_unique<QSettings>(QString::fromStdString(path), QSettings::IniFormat))
{
    std::lock_guard lock(_mutex);
    checkFile();
}

QSettingsPreferenceStore::~QSettingsPreferenceStore() = default;

std::optional<bool> QSettingsPreferenceStore::boolValue(const std::string &k) const
{
    const QVariant v = value(k);
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    if (v.typeId() == QMetaType::QString) {
        if (v.toString() == QLatin1String("true"))
            return true;
        if (v.toString() == QLatin1String("false"))
            return false;
    }
    complain(k, v, "true or false");
    return std::nullopt;
}

std::optional<double> QSettingsPreferenceStore::doubleValue(const std::string &k) const
{
    const QVariant v = value(k);
    if (v.typeId() == QMetaType::Double || v.typeId() == QMetaType::Int
        || v.typeId() == QMetaType::LongLong)
        return v.toDouble();
    if (v.typeId() == QMetaType::QString) {
        bool ok = false;
        const double d = v.toString().toDouble(&ok);
        if (ok)
            return d;
    }
    complain(k, v, "a number");
    return std::nullopt;
}

std::optional<std::string> QSettingsPreferenceStore::stringValue(const std::string &k) const
{
    const QVariant v = value(k);
    if (v.typeId() == QMetaType::QString)
        return v.toString().toStdString();
    complain(k, v, "a text");
    return std::nullopt;
}

std::optional<std::vector<std::string>>
QSettingsPreferenceStore::stringListValue(const std::string &k) const
{
    const QVariant v = value(k);
    // The file keeps a list of one as that one text, which is also how a person writes it.
    if (v.typeId() != QMetaType::QStringList && v.typeId() != QMetaType::QString)
        return std::nullopt;
    std::vector<std::string> list;
    for (const auto &s : v.toStringList())
        list.push_back(s.toStdString());
    return list;
}

void QSettingsPreferenceStore::setBool(const std::string &k, bool value)
{
    set(k, value);
}

void QSettingsPreferenceStore::setDouble(const std::string &k, double value)
{
    set(k, value);
}

void QSettingsPreferenceStore::setString(const std::string &k, const std::string &value)
{
    set(k, QString::fromStdString(value));
}

void QSettingsPreferenceStore::setStringList(const std::string &k,
                                             const std::vector<std::string> &value)
{
    QStringList list;
    for (const auto &s : value)
        list << QString::fromStdString(s);
    set(k, QVariant::fromValue(list));
}

void QSettingsPreferenceStore::remove(const std::string &k)
{
    std::lock_guard lock(_mutex);
    _settings->remove(key(k));
}

std::string QSettingsPreferenceStore::path() const
{
    std::lock_guard lock(_mutex);
    return _settings->fileName().toStdString();
}

void QSettingsPreferenceStore::reload()
{
    std::lock_guard lock(_mutex);
    _settings->sync();
    checkFile();
}

void QSettingsPreferenceStore::checkFile()
{
    const int status = _settings->status();
    if (status == _reportedStatus)
        return;
    _reportedStatus = status;
    const QString file = _settings->fileName();
    if (status == QSettings::FormatError)
        std::fprintf(stderr,
                     "tarnvik: %s can't be read whole as settings; what can be read of it "
                     "stands, and it is kept as %s before anything is written to it\n",
                     qPrintable(file), qPrintable(keepUnparsableCopy()));
    else if (status == QSettings::AccessError)
        std::fprintf(stderr,
                     "tarnvik: %s can't be read or written; the defaults stand, and changes last "
                     "until Tarnvik quits\n",
                     qPrintable(file));
}

// Qt reads what it can of such a file and writes only that back, so a person's hand edit would
// be lost at the next change. The copy is named for the file's time: the same file is kept
// once, and a later one beside it.
QString QSettingsPreferenceStore::keepUnparsableCopy() const
{
    const QFileInfo file(_settings->fileName());
    const QString copy = file.absoluteFilePath() + ".unparsable-"
        + file.lastModified().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    if (!QFile::exists(copy) && !QFile::copy(file.absoluteFilePath(), copy))
        return QStringLiteral("nothing (no copy could be made)");
    return copy;
}

void QSettingsPreferenceStore::reportUnusable(const std::string &k, const std::string &wanted) const
{
    complain(k, value(k), wanted);
}

void QSettingsPreferenceStore::complain(const std::string &k, const QVariant &v,
                                        const std::string &wanted) const
{
    if (!v.isValid())
        return;
    const QString written =
        v.typeId() == QMetaType::QStringList ? v.toStringList().join(", ") : v.toString();
    std::lock_guard lock(_mutex);
    // Once for each value written: the same read comes back at every use.
    if (!_complainedOf.insert(k + "=" + written.toStdString()).second)
        return;
    std::fprintf(stderr, "tarnvik: %s=%s in %s is not %s; its default stands\n", k.c_str(),
                 qPrintable(written), qPrintable(_settings->fileName()), wanted.c_str());
}

QVariant QSettingsPreferenceStore::value(const std::string &k) const
{
    std::lock_guard lock(_mutex);
    return _settings->value(key(k));
}

void QSettingsPreferenceStore::set(const std::string &k, const QVariant &value)
{
    std::lock_guard lock(_mutex);
    _settings->setValue(key(k), value);
    // Written now rather than at Qt's next idle moment, so that a file that can't be written
    // is said at the change that needed it.
    _settings->sync();
    checkFile();
}

} // namespace tarnvik
