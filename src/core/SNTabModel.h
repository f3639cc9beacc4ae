#pragma once

#include <QList>
#include <QString>

// One tab of a tabbed app.
class SNTabModel final
{
public:
    SNTabModel() = default;
    explicit SNTabModel(QString address)
        : tabUrlString(std::move(address))
    {
    }

    QString tabUrlString;

    friend bool operator==(const SNTabModel &, const SNTabModel &) = default;
};

using SNTabList = QList<SNTabModel>;
