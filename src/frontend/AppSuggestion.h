#pragma once

#include "frontend/AppCategory.h"
#include "frontend/TabConfiguration.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantList>

// One ready-made suggestion: a well-known web app or a multi-tab template.
struct AppSuggestion
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString url MEMBER url)
    Q_PROPERTY(QString iconName MEMBER iconName)
    Q_PROPERTY(AppCategory::Category category MEMBER category)
    Q_PROPERTY(QString description MEMBER description)
    Q_PROPERTY(QVariantList tabs READ tabValues)
    Q_PROPERTY(bool isPopular MEMBER isPopular)
    Q_PROPERTY(bool incognito MEMBER incognito)
    Q_PROPERTY(bool isTemplate MEMBER isTemplate)
    Q_PROPERTY(bool isInstalled MEMBER isInstalled)

public:
    QString id; // stable, lower case
    QString name;
    QString url;
    QString iconName; // key into the icon mappings
    AppCategory::Category category = AppCategory::Category::Other;
    QString description;
    QList<TabConfiguration> tabs;
    bool isPopular = false;
    bool incognito = false;
    bool isTemplate = false;
    bool isInstalled = false;

    QVariantList tabValues() const;
    // The tab addresses, in order.
    QStringList tabUrls() const;

    friend bool operator==(const AppSuggestion &, const AppSuggestion &) = default;
};

Q_DECLARE_METATYPE(AppSuggestion)
