#include "ProfilesCommand.h"

#include "AppOptions.h"

#include "core/BrowserCatalogue.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"
#include "generation/DefinitionValidator.h"

#include <QVariant>

using namespace Qt::Literals::StringLiterals;

namespace {

// Names come from the browser's files: control characters are written out, so a name cannot move
// the cursor or repaint the terminal.
QString shown(const QString &text)
{
    return DefinitionValidator::quoted(text).mid(1).chopped(1);
}

} // namespace

void ProfilesCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"BROWSER"_s, u"The browser's key (see `sorvane browsers`)."_s);
}

int ProfilesCommand::run(const QCommandLineParser &parser, Context &context)
{
    QString error;
    const int number = AppOptions::browserNumber(parser.positionalArguments().constFirst(), &error);
    if (number < 0) {
        printFailure(CliMessage::UnknownBrowserArgument,
                     {DefinitionValidator::quoted(parser.positionalArguments().constFirst())});
        return Failure;
    }
    SNProfileDiscovery discovery(context, BrowserCatalogue::byNumber(number).typeKey);
    const QList<ImportableProfile> profiles = discovery.profiles();
    if (profiles.isEmpty())
        printNote(u"no profiles found in %1"_s.arg(discovery.userDataFolder()), parser);

    QVariantList documents;
    QStringList lines;
    for (const ImportableProfile &profile : profiles) {
        const QList<ImportableExtension> extensions =
            SNExtensionDiscovery::offerableExtensions(discovery.preferencesOf(profile.key).value_or(QJsonObject()));
        QVariantList extensionDocuments;
        lines.append(u"%1  %2"_s.arg(shown(profile.key), shown(profile.name)));
        for (const ImportableExtension &extension : extensions) {
            extensionDocuments.append(QVariantMap{{u"id"_s, extension.id}, {u"name"_s, extension.name}});
            lines.append(u"    %1  %2"_s.arg(extension.id, shown(extension.name)));
        }
        documents.append(QVariantMap{{u"key"_s, profile.key}, {u"name"_s, profile.name}, {u"extensions"_s, extensionDocuments}});
    }
    if (parser.isSet(u"json"_s))
        printJson(documents);
    else if (!lines.isEmpty())
        print(lines.join(u'\n'));
    return Success;
}
