#include "core/Ids.h"

#include <QUuid>

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
