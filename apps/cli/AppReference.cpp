#include "AppReference.h"

#include "CliMessages.h"

#include "core/SNAppTracker.h"
#include "generation/DefinitionValidator.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDir>
#include <QFileInfo>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

// The app's name as its bundle carries it ("<Name>.app").
QString nameOf(const QString &bundlePath)
{
    QString name = QFileInfo(bundlePath).fileName();
    if (name.endsWith(u".app"_s, Qt::CaseInsensitive))
        name.chop(4);
    return name;
}

} // namespace

std::optional<AppReference> AppReference::resolve(const QString &argument, Context &context, QString *error,
                                                  bool *ambiguous)
{
    if (ambiguous)
        *ambiguous = false;
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

    // Each rule in turn; the first that finds any app decides, and must find exactly one.
    const QString id = argument.trimmed().toUpper();
    const QList<std::function<bool(const QString &, const QString &)>> rules{
        [&](const QString &key, const QString &) { return key == id; },
        [&](const QString &key, const QString &) { return id.size() >= MinimumIdPrefix && key.startsWith(id); },
        [&](const QString &, const QString &path) { return nameOf(path) == argument; },
        [&](const QString &, const QString &path) { return nameOf(path).compare(argument, Qt::CaseInsensitive) == 0; },
    };
    for (const auto &matches : rules) {
        QList<AppReference> found;
        for (auto it = records.cbegin(); it != records.cend(); ++it) {
            const QString path = it.value().toMap().value(u"appPath"_s).toString();
            if (!argument.trimmed().isEmpty() && !path.isEmpty() && matches(it.key(), path))
                found.append(AppReference{path, it.key()});
        }
        if (found.size() == 1)
            return found.constFirst();
        if (found.size() > 1) {
            QStringList candidates;
            for (const AppReference &candidate : std::as_const(found))
                candidates << u"%1 (id %2, %3)"_s.arg(nameOf(candidate.path), candidate.appId, candidate.path);
            if (ambiguous)
                *ambiguous = true;
            if (error)
                *error = CliMessages::text(CliMessage::AmbiguousApp, {DefinitionValidator::quoted(argument),
                                                                      QString::number(found.size()),
                                                                      candidates.join(u", "_s)});
            return std::nullopt;
        }
    }
    if (error)
        *error = CliMessages::text(CliMessage::UnknownApp, {DefinitionValidator::quoted(argument)});
    return std::nullopt;
}
