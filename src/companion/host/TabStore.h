#pragma once

#include <QString>
#include <QStringList>

// The app's last open tabs, kept for its launcher script in Contents/Resources:
// tabs-session.json ({"session":{"tabs":["<address>",...]}}) and restore.json ("true"/"false").
class TabStore final
{
public:
    static constexpr qsizetype MaximumTabs = 500;

    struct Result
    {
        qsizetype saved = -1; // the number of tabs kept, or -1 on failure
        QString error;
    };

    explicit TabStore(QString folder);

    // Keeps the http and https tabs and drops the rest. With none left the tabs file is removed,
    // since the script would read an empty list as one tab.
    Result save(const QStringList &tabs, bool restoreSession) const;

private:
    QString m_folder;
};
