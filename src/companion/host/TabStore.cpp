#include "companion/host/TabStore.h"

#include "companion/host/LinkAddress.h"
#include "core/AtomicWriter.h"

#include <QFile>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

QString writeAtomically(const QString &path, const QByteArray &content)
{
    QString error;
    if (!AtomicWriter::write(path, content, &error))
        return error;
    return {};
}

} // namespace

TabStore::TabStore(QString folder) : m_folder(std::move(folder)) {}

TabStore::Result TabStore::save(const QStringList &tabs, bool restoreSession) const
{
    if (tabs.size() > MaximumTabs)
        return {-1, u"more than %1 tabs"_s.arg(MaximumTabs)};
    QStringList kept;
    for (const QString &tab : tabs) {
        if (const std::optional<QString> address = LinkAddress::restorableTab(tab))
            kept.append(*address);
    }

    // The setting first: whoever sees the tabs file can read the setting that goes with it.
    if (const QString error =
            writeAtomically(m_folder + u"/restore.json"_s, restoreSession ? "true" : "false");
        !error.isEmpty())
        return {-1, error};
    const QString sessionPath = m_folder + u"/tabs-session.json"_s;
    if (kept.isEmpty()) {
        if (QFile::exists(sessionPath) && !QFile::remove(sessionPath))
            return {-1, u"cannot remove %1"_s.arg(sessionPath)};
    } else {
        // Written by hand in the one compact form the script's cut and sed expect; the addresses
        // hold nothing that JSON would escape.
        const QString session = u"{\"session\":{\"tabs\":[\""_s + kept.join(u"\",\""_s) + u"\"]}}"_s;
        if (const QString error = writeAtomically(sessionPath, session.toUtf8()); !error.isEmpty())
            return {-1, error};
    }
    return {kept.size(), {}};
}
