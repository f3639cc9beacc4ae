#pragma once

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <optional>
#include <system_error>

// Copies a file, or a folder with everything in it, under a policy each caller spells out.
//
// The source given to copy() is read through a link; below it no link is ever followed, so
// nothing outside the source is read and nothing is written outside the destination (a link found
// at a destination path is replaced or refused, never written through). Files land in a
// temporary file beside their place and are renamed over it, with the source's mode. Sockets,
// pipes and devices (a running browser's lock and IPC files) are left out. Entries are copied in
// name order, so "the first error" is the same on every run.
class TreeCopy final
{
public:
    // Links below the source. Neither follows them.
    enum class Links
    {
        Keep, // copied as links, with their target as it is
        Skip, // left out, with a log line
    };
    // Something already at a destination path.
    enum class Existing
    {
        Fail,             // an error, like a file manager's copy
        ReplaceNonFolder, // a file or link is replaced; a folder is copied into
    };
    enum class Errors
    {
        Stop,      // the copy ends at the first error
        KeepGoing, // the entry that failed is left out and the copy goes on
    };

    struct Options
    {
        Links links = Links::Keep;
        Existing existing = Existing::Fail;
        Errors errors = Errors::Stop;
    };

    // The first error, naming its path; nothing when everything was copied.
    static std::optional<QString> copy(const QString &source, const QString &destination,
                                       const Options &options);

    // What lies at `relative` below `root`, seen without following a link: a link at the item or
    // at any folder between makes it Link. A name with "." or ".." parts is Other.
    enum class Kind
    {
        Absent,
        Folder,
        File,
        Link,
        Other,
    };
    static Kind kindBelow(const QString &root, const QString &relative);

    // Copies `relative` below `root` to `destination`, for sources that must never lead elsewhere
    // (a browser's profile): no link is followed or kept there. A link at the item, at a folder on
    // its way or anywhere below it is left out with a log line, so a linked item copies nothing.
    // An absent item is nothing to copy; a name with "." or ".." parts is an error.
    static std::optional<QString> copyBelow(const QString &root, const QString &relative,
                                            const QString &destination, Existing existing, Errors errors);

    // The bytes of the file at `relative` below `root`, read without following a link (see
    // kindBelow); nothing, with the reason, when it is not such a file or is larger than `maximumBytes`.
    static std::optional<QByteArray> readFileBelow(const QString &root, const QString &relative,
                                                   qint64 maximumBytes, QString *error = nullptr);

    // Makes `linkPath` a link to `target`, replacing a file or link already there. The link is made
    // beside its place and renamed over it, so a reader never sees the name missing; a real folder
    // in the way makes the rename fail rather than being deleted. The error names `linkPath`.
    static std::optional<QString> placeLink(const QString &target, const QString &linkPath);

private:
    explicit TreeCopy(const Options &options) : m_options(options) {}

    bool copyEntry(const std::filesystem::path &source, std::filesystem::file_type type,
                   const std::filesystem::path &destination);
    bool copyFolder(const std::filesystem::path &source, const std::filesystem::path &destination);
    bool copyFile(const std::filesystem::path &source, const std::filesystem::path &destination);
    bool copyLink(const std::filesystem::path &source, const std::filesystem::path &destination);
    // Records the error; whether the copy goes on with the next entry.
    bool fail(const QString &description);
    bool fail(const QString &format, const std::filesystem::path &path, const std::error_code &code);

    Options m_options;
    std::optional<QString> m_firstError;
};
