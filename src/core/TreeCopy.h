#pragma once

#include <QString>

#include <filesystem>
#include <optional>
#include <system_error>

// Copies a file, or a folder with everything in it, under a policy each caller spells out.
//
// The source the caller names is read through a link; below it no link is ever followed, so
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
        Skip, // left out
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
