#pragma once

#include "frontend/AppCategory.h"
#include "frontend/TabConfiguration.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantList>

// A multi-tab template of the suggestions resource: one app that opens several sites as tabs.
// Its dictionary in the resource carries "id", "name", "description", "iconName", "category",
// "incognito" and "tabs" (each {"name", "url"}).
struct AppTemplate
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString description MEMBER description)
    Q_PROPERTY(QString iconName MEMBER iconName)
    Q_PROPERTY(AppCategory::Category category MEMBER category)
    Q_PROPERTY(bool incognito MEMBER incognito)
    Q_PROPERTY(QVariantList tabs READ tabValues)

public:
    QString id;
    QString name;
    QString description;
    QString iconName;
    AppCategory::Category category = AppCategory::Category::Workspaces;
    bool incognito = false;
    QList<TabConfiguration> tabs;

    QVariantList tabValues() const;

    friend bool operator==(const AppTemplate &, const AppTemplate &) = default;
};

Q_DECLARE_METATYPE(AppTemplate)
