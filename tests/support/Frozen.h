#pragma once

#include <QFile>
#include <QProcess>
#include <QString>

#include <unistd.h>

// Makes a folder's entries impossible to rename or remove, for root too; undone on destruction.
class Frozen
{
public:
    explicit Frozen(const QString &folder) : m_folder(folder)
    {
        m_frozen = geteuid() == 0 ? QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("+i"), folder}) == 0
                                  : QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
    }
    ~Frozen()
    {
        if (geteuid() == 0)
            QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), m_folder});
        else
            QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    Q_DISABLE_COPY_MOVE(Frozen)
    bool frozen() const { return m_frozen; }

private:
    QString m_folder;
    bool m_frozen = false;
};
