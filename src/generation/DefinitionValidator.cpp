#include "generation/DefinitionValidator.h"

#include "companion/SNRoutingConfig.h"
#include "core/Context.h"
#include "core/EngineSwitches.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/AppNameRule.h"
#include "generation/SNAppScriptHelper.h"
#include "generation/SNChromePrefsHelper.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

template<typename T>
T refuse(QString *error, const QString &text, T value = {})
{
    if (error)
        *error = text;
    return value;
}

} // namespace

DefinitionValidator::DefinitionValidator(Context &context, const QString &baseFolder)
    : m_context(context), m_baseFolder(baseFolder)
{
}

QString DefinitionValidator::quoted(const QString &text)
{
    QString out = u"'"_s;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u == u'\n')
            out += u"\\n"_s;
        else if (u == u'\t')
            out += u"\\t"_s;
        else if (u == u'\r')
            out += u"\\r"_s;
        else if (u < 0x20 || u == 0x7f || (u >= 0x80 && u < 0xa0))
            out += u"\\x%1"_s.arg(int(u), 2, 16, QChar(u'0'));
        else
            out += c;
    }
    return out + u'\'';
}

bool DefinitionValidator::isWebAddress(const QString &address)
{
    if (address.isEmpty() || address != address.trimmed())
        return false;
    for (const QChar c : address) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
    }
    const QUrl url(address, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == u"http"_s || scheme == u"https"_s) && !url.host().isEmpty();
}

bool DefinitionValidator::isValidPattern(const QString &pattern)
{
    QString host = pattern.trimmed();
    if (host.startsWith(u"*."_s))
        host = host.mid(2);
    const qsizetype colon = host.lastIndexOf(u':');
    if (colon >= 0) {
        bool number = false;
        const int port = host.mid(colon + 1).toInt(&number);
        if (!number || port < 1 || port > 65535 || host.mid(colon + 1).startsWith(u'+'))
            return false;
        host = host.left(colon);
    }
    if (host.endsWith(u'.'))
        host.chop(1);
    // International names are checked in the form the extension compares them in.
    const QByteArray ace = QUrl::toAce(host);
    static const QRegularExpression label(u"^(?!-)[a-z0-9-]{1,63}(?<!-)$"_s, QRegularExpression::CaseInsensitiveOption);
    if (ace.isEmpty() || ace.size() > 253)
        return false;
    const QStringList labels = QString::fromLatin1(ace).split(u'.');
    return std::all_of(labels.begin(), labels.end(), [](const QString &part) { return label.match(part).hasMatch(); });
}

std::optional<QVariantMap> DefinitionValidator::appDestination(const QString &path, QString *error) const
{
    if (path.isEmpty())
        return refuse<std::optional<QVariantMap>>(error, u"no app bundle given"_s);
    const QString absolute = QDir::cleanPath(QDir(m_baseFolder).absoluteFilePath(path));
    const QFileInfo bundle(absolute);
    if (!bundle.isDir() || bundle.suffix() != u"app"_s)
        return refuse<std::optional<QVariantMap>>(error, u"%1 is not an app bundle"_s.arg(quoted(absolute)));
    const QVariantMap info = PropertyList::readFile(absolute + u"/Contents/Info.plist"_s).toMap();
    if (!info.value(u"SorvaneApp"_s).toBool())
        return refuse<std::optional<QVariantMap>>(error,
                                                  u"%1 is not an app made by Sorvane"_s.arg(quoted(absolute)));
    QString name = info.value(u"CFBundleDisplayName"_s).toString();
    if (name.isEmpty())
        name = info.value(u"CFBundleName"_s).toString();
    if (name.isEmpty())
        name = bundle.completeBaseName();
    QVariantMap destination{{SNRoutingConfig::keyType(), SNRoutingConfig::typeSorvaneApp()},
                            {u"path"_s, absolute},
                            {u"name"_s, name}};
    if (const QString appId = SNAppTracker(m_context).idForBundle(absolute); !appId.isEmpty())
        destination.insert(u"appId"_s, appId);
    return destination;
}

std::optional<QVariantMap> DefinitionValidator::checkedDestination(const QVariant &destination, const QString &field,
                                                                   QString *error) const
{
    using Result = std::optional<QVariantMap>;
    if (destination.typeId() != QMetaType::QVariantMap)
        return refuse<Result>(error, field + u": not a destination"_s);
    const QVariantMap record = destination.toMap();
    const QString type = record.value(SNRoutingConfig::keyType()).toString();
    if (type == SNRoutingConfig::typeSorvaneApp()) {
        QString reason;
        const Result app = appDestination(record.value(u"path"_s).toString(), &reason);
        return app ? app : refuse<Result>(error, field + u": "_s + reason);
    }
    if (type == SNRoutingConfig::typeBrowser() && record.value(u"bundleId"_s).toString().isEmpty())
        return refuse<Result>(error, field + u": a browser destination needs a bundle id"_s);
    if (type != SNRoutingConfig::typeInApp() && type != SNRoutingConfig::typeDefault() &&
        type != SNRoutingConfig::typeBrowser())
        return refuse<Result>(error, field + u": unknown destination type %1 (in-app, default, browser or sorvaneApp)"_s.arg(
                                                quoted(type)));
    return SNRoutingConfig::sanitizedDestination(record);
}

bool DefinitionValidator::validate(AppDefinition &app, QString *error) const
{
    switch (AppNameRule::check(app.appName)) {
    case AppNameRule::Verdict::Invalid:
        return refuse<bool>(error, u"name: "_s + SNAppScriptHelper::InvalidNameMessage);
    case AppNameRule::Verdict::TooLong:
        return refuse<bool>(error, u"name: "_s + AppNameRule::tooLongMessage(app.appName));
    case AppNameRule::Verdict::Acceptable:
        break;
    }
    const bool tabbed = app.needTab || !app.tabsList.isEmpty();
    if (!(tabbed && app.appURL.isEmpty()) && !isWebAddress(app.appURL))
        return refuse<bool>(error, u"appURL: %1 is not an http or https address with a host"_s.arg(quoted(app.appURL)));
    for (qsizetype i = 0; i < app.tabsList.size(); ++i) {
        if (!isWebAddress(app.tabsList.at(i).tabUrlString))
            return refuse<bool>(error, u"tabsList[%1]: %2 is not an http or https address with a host"_s.arg(i).arg(
                                           quoted(app.tabsList.at(i).tabUrlString)));
    }
    if (app.appURL.isEmpty() && !app.tabsList.isEmpty())
        app.appURL = app.tabsList.constFirst().tabUrlString;
    if (app.appURL.isEmpty())
        return refuse<bool>(error, u"appURL: a start address or a tab is needed"_s);

    for (qsizetype i = 0; i < app.routingRules.size(); ++i) {
        const QString field = u"routingRules[%1]"_s.arg(i);
        if (app.routingRules.at(i).typeId() != QMetaType::QVariantMap)
            return refuse<bool>(error, field + u": not a rule"_s);
        QVariantMap rule = app.routingRules.at(i).toMap();
        const QString pattern = rule.value(SNRoutingConfig::keyPattern()).toString();
        if (!isValidPattern(pattern))
            return refuse<bool>(error, field + u".pattern: %1 is not a host, *.host or host:port"_s.arg(quoted(pattern)));
        const QString action = rule.value(SNRoutingConfig::keyAction()).toString();
        if (action != SNRoutingConfig::actionAllow() && action != SNRoutingConfig::actionRoute())
            return refuse<bool>(error, field + u".action: %1 is neither allow nor route"_s.arg(quoted(action)));
        if (action == SNRoutingConfig::actionRoute()) {
            const auto destination =
                checkedDestination(rule.value(SNRoutingConfig::keyDestination()), field + u".destination"_s, error);
            if (!destination)
                return false;
            rule.insert(SNRoutingConfig::keyDestination(), *destination);
        }
        app.routingRules[i] = rule;
    }
    if (app.defaultDestination) {
        const auto destination = checkedDestination(*app.defaultDestination, u"defaultDestination"_s, error);
        if (!destination)
            return false;
        app.defaultDestination = destination;
    }
    if (const QString reason = EngineSwitches::check(app.engineSwitches, u"engineSwitches"_s); !reason.isEmpty())
        return refuse<bool>(error, reason);
    if (!app.accentColor.isEmpty() && !SNChromePrefsHelper::storedColor(app.accentColor))
        return refuse<bool>(error, u"accentColor: %1 is not six hexadecimal digits"_s.arg(quoted(app.accentColor)));
    return true;
}
