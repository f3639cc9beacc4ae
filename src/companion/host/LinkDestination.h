#pragma once

#include <QJsonValue>
#include <QString>

#include <optional>

// Where a link is opened, as a data.json destination record names it: its type and the field
// that identifies it (the bundle identifier of a browser, the bundle path of another app). Other
// fields ("name", "appId") are labels and play no part in comparisons.
class LinkDestination final
{
public:
    enum class Type
    {
        InApp,
        Default,
        Browser,
        SorvaneApp
    };

    // The record cleaned the way the generator cleans it, or nothing when it is not one.
    static std::optional<LinkDestination> fromJson(const QJsonValue &record);
    static LinkDestination defaultBrowser() { return LinkDestination(Type::Default, {}); }

    Type type() const { return m_type; }
    // The bundle identifier or bundle path; empty for the other types.
    const QString &identifier() const { return m_identifier; }

    bool operator==(const LinkDestination &) const = default;

private:
    LinkDestination(Type type, QString identifier);

    Type m_type;
    QString m_identifier;
};
