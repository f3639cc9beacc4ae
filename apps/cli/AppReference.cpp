#include "AppReference.h"

#include "core/SNAppTracker.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

std::optional<AppReference> AppReference::resolve(const QString &argument, Context &context, QString *error)
{
    const QVariantMap records = SNAppTracker(context).getTracker();
    const QFileInfo folder(argument);
    if (!argument.isEmpty() && folder.isDir()) {
        AppReference reference{QDir::cleanPath(folder.absoluteFilePath()), {}};
        reference.appId = SNAppTracker(context).idForBundle(reference.path);
        if (reference.appId.isEmpty()) {
            const QString fromScript =
                SNUpdaterHelper::appInfo(reference.path).value_or(QVariantMap{}).value(u"appID"_s).toString();
            if (records.contains(fromScript))
                reference.appId = fromScript;
        }
        return reference;
    }
    const QString id = argument.trimmed().toUpper();
    if (!id.isEmpty() && records.contains(id)) {
        const QString path = records.value(id).toMap().value(u"appPath"_s).toString();
        if (!path.isEmpty())
            return AppReference{path, id};
    }
    if (error)
        *error = u"no app at %1, and no app with that id in the registry"_s.arg(argument);
    return std::nullopt;
}
