#include "core/ExclusiveRename.h"

#include "core/Logger.h"

using namespace Qt::Literals::StringLiterals;

bool ExclusiveRename::move(const QString &from, const QString &to, QString *error)
{
    bool taken = false;
    QString reason;
    if (rename(from, to, &taken, &reason))
        return true;
    return Logger::fail(error, taken ? u"Cannot move %1 to %2: it already exists"_s.arg(from, to)
                                     : u"Cannot move %1 to %2: %3"_s.arg(from, to, reason));
}
