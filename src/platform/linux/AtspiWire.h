#pragma once

// The AT-SPI types as they travel on the accessibility bus. Only the Linux backend includes this.

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace tarnvik::linux {

// (so): an object as the bus addresses it.
struct ObjectRef
{
    QString service;
    QDBusObjectPath path;
    bool isNull() const { return service.isEmpty() || path.path() == QLatin1String("/org/a11y/atspi/null"); }
};
using ObjectRefList = QList<ObjectRef>;

// (iiii) of Component.GetExtents.
struct Extents
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// One entry of Cache.GetItems: a((so)(so)(so)iiassusau).
struct CacheItem
{
    ObjectRef object;
    ObjectRef application;
    ObjectRef parent;
    int indexInParent = 0;
    int childCount = 0;
    QStringList interfaces;
    QString name;
    uint role = 0;
    QString description;
    QList<uint> states;
};
using CacheItemList = QList<CacheItem>;

// (aiia{ss}iaiiasib): the rule of Collection.GetMatches.
struct MatchRule
{
    QList<int> states;
    int stateMatchType = 0;
    QMap<QString, QString> attributes;
    int attributeMatchType = 0;
    QList<int> roles;
    int roleMatchType = 0;
    QStringList interfaces;
    int interfaceMatchType = 0;
    bool invert = false;
};

void registerWireTypes();

QDBusArgument &operator<<(QDBusArgument &a, const ObjectRef &r);
const QDBusArgument &operator>>(const QDBusArgument &a, ObjectRef &r);
QDBusArgument &operator<<(QDBusArgument &a, const Extents &e);
const QDBusArgument &operator>>(const QDBusArgument &a, Extents &e);
QDBusArgument &operator<<(QDBusArgument &a, const CacheItem &i);
const QDBusArgument &operator>>(const QDBusArgument &a, CacheItem &i);
QDBusArgument &operator<<(QDBusArgument &a, const MatchRule &m);
const QDBusArgument &operator>>(const QDBusArgument &a, MatchRule &m);

} // namespace tarnvik::linux

Q_DECLARE_METATYPE(tarnvik::linux::ObjectRef)
Q_DECLARE_METATYPE(tarnvik::linux::Extents)
Q_DECLARE_METATYPE(tarnvik::linux::CacheItem)
Q_DECLARE_METATYPE(tarnvik::linux::MatchRule)
