#include "core/Ids.h"

#include <QUuid>

#include <algorithm>

QString Ids::newRegistryId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QString Ids::newUniqueId()
{
    return QUuid::createUuid().toString(QUuid::Id128).toLower();
}

QString Ids::newRuleId()
{
    return newRegistryId();
}

bool Ids::isUsableRegistryId(const QString &id)
{
    if (id.isEmpty() || id.size() > 64)
        return false;
    return std::all_of(id.cbegin(), id.cend(), [](QChar c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' ||
               c == u'_';
    });
}
