#include "core/TreeCopy.h"

#include <QFile>

#include <algorithm>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

using namespace Qt::Literals::StringLiterals;

namespace {

fs::path nativePath(const QString &path)
{
    return fs::path(QFile::encodeName(path).toStdString());
}

QString qtPath(const fs::path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

QString reason(const std::error_code &code)
{
    return QString::fromStdString(code.message());
}

// A name beside `path` for what is about to be renamed over it.
fs::path besides(const fs::path &path, const char *suffix)
{
    fs::path temporary = path;
    temporary += suffix;
    return temporary;
}

} // namespace

std::optional<QString> TreeCopy::copy(const QString &source, const QString &destination,
                                      const Options &options)
{
    TreeCopy walk(options);
    const fs::path from = nativePath(source);
    std::error_code code;
    const fs::file_type type = fs::status(from, code).type();
    if (code)
        walk.fail(u"%1 could not be read: %2"_s, from, code);
    else
        walk.copyEntry(from, type, nativePath(destination));
    return walk.m_firstError;
}

std::optional<QString> TreeCopy::placeLink(const QString &target, const QString &linkPath)
{
    const fs::path place = nativePath(linkPath);
    const fs::path temporary = besides(place, ".sorvane-link");
    std::error_code code;
    fs::remove(temporary, code);
    fs::create_symlink(nativePath(target), temporary, code);
    if (!code)
        fs::rename(temporary, place, code);
    if (!code)
        return std::nullopt;
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return u"The link %1 could not be created: %2"_s.arg(linkPath, reason(code));
}

bool TreeCopy::fail(const QString &description)
{
    if (!m_firstError)
        m_firstError = description;
    return m_options.errors == Errors::KeepGoing;
}

bool TreeCopy::fail(const QString &format, const fs::path &path, const std::error_code &code)
{
    return fail(format.arg(qtPath(path), reason(code)));
}

bool TreeCopy::copyEntry(const fs::path &source, fs::file_type type, const fs::path &destination)
{
    const bool copied = type == fs::file_type::directory || type == fs::file_type::regular ||
                        (type == fs::file_type::symlink && m_options.links == Links::Keep);
    if (!copied)
        return true;
    if (m_options.existing == Existing::Fail) {
        std::error_code code;
        const fs::file_type present = fs::symlink_status(destination, code).type();
        if (present != fs::file_type::not_found)
            return code ? fail(u"%1 could not be read: %2"_s, destination, code)
                        : fail(u"%1 already exists."_s.arg(qtPath(destination)));
    }
    switch (type) {
    case fs::file_type::directory:
        return copyFolder(source, destination);
    case fs::file_type::symlink:
        return copyLink(source, destination);
    default:
        return copyFile(source, destination);
    }
}

bool TreeCopy::copyFolder(const fs::path &source, const fs::path &destination)
{
    std::error_code code;
    const fs::file_type present = fs::symlink_status(destination, code).type();
    // Anything but a real folder goes first: everything below a link left here would be written
    // wherever it points.
    if (present != fs::file_type::not_found && present != fs::file_type::directory) {
        fs::remove(destination, code);
        if (code)
            return fail(u"%1 could not be replaced: %2"_s, destination, code);
    }
    fs::create_directories(destination, code);
    if (code)
        return fail(u"The folder %1 could not be created: %2"_s, destination, code);

    std::vector<std::pair<fs::path, fs::file_type>> entries;
    for (fs::directory_iterator it(source, code); !code && it != fs::directory_iterator(); it.increment(code))
        entries.emplace_back(it->path(), it->symlink_status(code).type());
    if (code)
        return fail(u"The folder %1 could not be read: %2"_s, source, code);
    std::sort(entries.begin(), entries.end());
    for (const auto &[path, type] : entries) {
        if (!copyEntry(path, type, destination / path.filename()))
            return false;
    }
    return true;
}

bool TreeCopy::copyFile(const fs::path &source, const fs::path &destination)
{
    const fs::path temporary = besides(destination, ".sorvane-copy");
    std::error_code code;
    fs::remove(temporary, code);
    fs::copy_file(source, temporary, code);
    if (!code)
        fs::rename(temporary, destination, code);
    if (!code)
        return true;
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return fail(u"%1 could not be copied to %2: %3"_s.arg(qtPath(source), qtPath(destination), reason(code)));
}

bool TreeCopy::copyLink(const fs::path &source, const fs::path &destination)
{
    std::error_code code;
    const fs::path target = fs::read_symlink(source, code);
    if (code)
        return fail(u"The link %1 could not be read: %2"_s, source, code);
    if (std::optional<QString> error = placeLink(qtPath(target), qtPath(destination)))
        return fail(*error);
    return true;
}
