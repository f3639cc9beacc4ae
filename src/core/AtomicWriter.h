#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>

// Every file Sorvane writes into a bundle, its support folder or a profile goes through here:
// the data lands in a hidden temporary file beside the target, is synced to the disk, and only
// then renamed over the target, so a reader never sees half a file and a failed write (a full
// disk, a failing device) leaves the old file exactly as it was.
//
// Written with plain POSIX calls because QSaveFile is not enough: when the last bytes only reach
// the disk as commit() closes the file, a failed flush there is lost and the short file still
// replaces the good one; nor does it sync the file or its folder before and after the rename.
class AtomicWriter final
{
public:
    // Writes `data` to `path` (a link is written through to the file it names). The file keeps
    // the permission bits of the one it replaces; a new file gets 0666 less the umask. False, with
    // "Cannot write <path>: <reason>", when anything fails; the temporary file is then gone.
    [[nodiscard]] static bool write(const QString &path, const QByteArray &data, QString *error = nullptr);
    // The same with the file's permission bits given (the umask does not apply).
    [[nodiscard]] static bool writeWithMode(const QString &path, const QByteArray &data,
                                            QFileDevice::Permissions mode, QString *error = nullptr);

    // While one lives, writes on its thread to files below `folder` skip their own syncs: the folder
    // is one unit that its owner syncs whole, once, before it publishes it (a staged bundle of some
    // thirty files would otherwise cost some sixty syncs). Writes anywhere else sync as always.
    class DeferredSync final
    {
    public:
        explicit DeferredSync(const QString &folder);
        ~DeferredSync();
        Q_DISABLE_COPY_MOVE(DeferredSync)

    private:
        QString m_previous;
    };

    // Syncs the whole file system that holds `folder`: one call for a staged folder whose writes
    // deferred their syncs, which also covers what other programs and plain copies wrote there and
    // reports a write that failed late. False, with "Cannot sync <folder>: <reason>", when not.
    [[nodiscard]] static bool syncFileSystemOf(const QString &folder, QString *error = nullptr);

    // Whether `fileName` is the temporary name of a write ("." + name + "." + random + ".tmp"),
    // which only a writer killed before its rename leaves behind.
    static bool isTemporaryName(const QString &fileName);
};
