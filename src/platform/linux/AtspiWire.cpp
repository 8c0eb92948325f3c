#include "platform/linux/AtspiWire.h"

#include <QDBusMetaType>

namespace tarnvik::linux {

void registerWireTypes()
{
    static const bool registered = [] {
        qDBusRegisterMetaType<ObjectRef>();
        qDBusRegisterMetaType<ObjectRefList>();
        qDBusRegisterMetaType<Extents>();
        qDBusRegisterMetaType<CacheItem>();
        qDBusRegisterMetaType<CacheItemList>();
        qDBusRegisterMetaType<MatchRule>();
        qDBusRegisterMetaType<QList<uint>>();
        qDBusRegisterMetaType<QMap<QString, QString>>();
        return true;
    }();
    (void)registered;
}

QDBusArgument &operator<<(QDBusArgument &a, const ObjectRef &r)
{
    a.beginStructure();
    a << r.service << r.path;
    a.endStructure();
    return a;
}

const QDBusArgument &operator>>(const QDBusArgument &a, ObjectRef &r)
{
    a.beginStructure();
    a >> r.service >> r.path;
    a.endStructure();
    return a;
}

QDBusArgument &operator<<(QDBusArgument &a, const Extents &e)
{
    a.beginStructure();
    a << e.x << e.y << e.width << e.height;
    a.endStructure();
    return a;
}

const QDBusArgument &operator>>(const QDBusArgument &a, Extents &e)
{
    a.beginStructure();
    a >> e.x >> e.y >> e.width >> e.height;
    a.endStructure();
    return a;
}

QDBusArgument &operator<<(QDBusArgument &a, const CacheItem &i)
{
    a.beginStructure();
    a << i.object << i.application << i.parent << i.indexInParent << i.childCount << i.interfaces
      << i.name << i.role << i.description << i.states;
    a.endStructure();
    return a;
}

const QDBusArgument &operator>>(const QDBusArgument &a, CacheItem &i)
{
    a.beginStructure();
    a >> i.object >> i.application >> i.parent >> i.indexInParent >> i.childCount >> i.interfaces
        >> i.name >> i.role >> i.description >> i.states;
    a.endStructure();
    return a;
}

QDBusArgument &operator<<(QDBusArgument &a, const MatchRule &m)
{
    a.beginStructure();
    a << m.states << m.stateMatchType << m.attributes << m.attributeMatchType << m.roles
      << m.roleMatchType << m.interfaces << m.interfaceMatchType << m.invert;
    a.endStructure();
    return a;
}

const QDBusArgument &operator>>(const QDBusArgument &a, MatchRule &m)
{
    a.beginStructure();
    a >> m.states >> m.stateMatchType >> m.attributes >> m.attributeMatchType >> m.roles
        >> m.roleMatchType >> m.interfaces >> m.interfaceMatchType >> m.invert;
    a.endStructure();
    return a;
}

} // namespace tarnvik::linux
