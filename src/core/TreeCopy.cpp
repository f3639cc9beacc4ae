#include "core/TreeCopy.h"

#include "core/Logger.h"

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

// Closes the descriptor when it goes; a failed close of a written file is the caller's to check.
class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return m_fd; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

// Opens `path` for reading only when it is a regular file itself, not a link to one: the check
// and the open are one step, so nothing swapped in meanwhile is followed. -1 on failure.
int openRegularFile(const fs::path &path, struct stat &status, std::error_code &code)
{
    Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0)
        code = lastError();
    else if (::fstat(file.get(), &status) != 0)
        code = lastError();
    else if (!S_ISREG(status.st_mode))
        code = std::make_error_code(std::errc::not_supported);
    return code ? -1 : file.release();
}

// Copies the bytes of the regular file `source` into the new file `target`, with the source's
// permission bits; a link at either place is not followed.
std::error_code copyBytes(const fs::path &source, const fs::path &target)
{
    struct stat status{};
    std::error_code code;
    const Descriptor in(openRegularFile(source, status, code));
    if (code)
        return code;
    Descriptor out(::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                          status.st_mode & 0777));
    if (out.get() < 0)
        return lastError();
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(in.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return lastError();
        if (got == 0)
            break;
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::write(out.get(), buffer + done, static_cast<size_t>(got - done));
            if (put < 0 && errno == EINTR)
                continue;
            if (put < 0)
                return lastError();
            done += put;
        }
    }
    if (::close(out.release()) != 0)
        return lastError();
    return {};
}

// The parts of a path below a root, or nothing when one would leave it or stay in place.
std::optional<QStringList> plainParts(const QString &relative)
{
    const QStringList parts = relative.split(u'/', Qt::SkipEmptyParts);
    if (parts.isEmpty() || parts.contains(u"."_s) || parts.contains(u".."_s))
        return std::nullopt;
    return parts;
}

QString joined(const QString &root, const QString &relative)
{
    return root.endsWith(u'/') ? QString(root + relative) : QString(root + u'/' + relative);
}

} // namespace

TreeCopy::Kind TreeCopy::kindBelow(const QString &root, const QString &relative)
{
    const std::optional<QStringList> parts = plainParts(relative);
    if (!parts)
        return Kind::Other;
    fs::path at = nativePath(root);
    for (qsizetype i = 0; i < parts->size(); ++i) {
        at /= nativePath(parts->at(i));
        std::error_code code;
        const fs::file_type type = fs::symlink_status(at, code).type();
        if (type == fs::file_type::symlink)
            return Kind::Link;
        if (type == fs::file_type::not_found)
            return Kind::Absent;
        const bool last = i + 1 == parts->size();
        if (!last && type != fs::file_type::directory)
            return type == fs::file_type::none ? Kind::Other : Kind::Absent;
        if (last && type == fs::file_type::directory)
            return Kind::Folder;
        if (last && type == fs::file_type::regular)
            return Kind::File;
    }
    return Kind::Other;
}

std::optional<QString> TreeCopy::copyBelow(const QString &root, const QString &relative, const QString &destination,
                                           Existing existing, Errors errors)
{
    if (!plainParts(relative))
        return u"%1 is not a path inside %2."_s.arg(relative, root);
    const QString source = joined(root, relative);
    switch (kindBelow(root, relative)) {
    case Kind::Absent:
        return std::nullopt;
    case Kind::Link:
        Logger::log(u"%1 leads through a link and was left out"_s.arg(source));
        return std::nullopt;
    case Kind::Other:
        return u"%1 could not be read."_s.arg(source);
    case Kind::Folder:
    case Kind::File:
        break;
    }
    const fs::path from = nativePath(source);
    std::error_code code;
    const fs::file_type type = fs::symlink_status(from, code).type();
    TreeCopy walk({.links = Links::Skip, .existing = existing, .errors = errors});
    walk.copyEntry(from, type, nativePath(destination));
    return walk.m_firstError;
}

std::optional<QByteArray> TreeCopy::readFileBelow(const QString &root, const QString &relative, qint64 maximumBytes,
                                                  QString *error)
{
    const QString path = joined(root, relative);
    const auto refuse = [&](const QString &reason) -> std::optional<QByteArray> {
        if (error)
            *error = reason;
        return std::nullopt;
    };
    switch (kindBelow(root, relative)) {
    case Kind::File:
        break;
    case Kind::Link:
        return refuse(u"%1 leads through a link, which is not followed."_s.arg(path));
    case Kind::Absent:
        return refuse(u"%1 does not exist."_s.arg(path));
    case Kind::Folder:
    case Kind::Other:
        return refuse(u"%1 is not a file."_s.arg(path));
    }
    struct stat status{};
    std::error_code code;
    Descriptor fd(openRegularFile(nativePath(path), status, code));
    if (code)
        return refuse(u"%1 could not be read: %2"_s.arg(path, reason(code)));
    if (status.st_size > maximumBytes)
        return refuse(u"%1 is larger than %2 bytes."_s.arg(path).arg(maximumBytes));
    QFile file;
    if (!file.open(fd.release(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return refuse(u"%1 could not be read: %2"_s.arg(path, file.errorString()));
    QByteArray data = file.read(maximumBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return refuse(u"%1 could not be read: %2"_s.arg(path, file.errorString()));
    if (data.size() > maximumBytes)
        return refuse(u"%1 is larger than %2 bytes."_s.arg(path).arg(maximumBytes));
    return data;
}

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
    if (type == fs::file_type::symlink && m_options.links == Links::Skip)
        Logger::log(u"%1 is a link and was left out"_s.arg(qtPath(source)));
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
    code = copyBytes(source, temporary);
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
