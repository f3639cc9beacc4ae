#include "core/TreeCopy.h"

#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <gtest/gtest.h>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace {

// Every entry below `folder`, sorted: "name=data" ("*" when executable), "name->target", "name/".
QString listing(const QString &folder)
{
    QStringList entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next(), name = QDir(folder).relativeFilePath(path);
        if (it.fileInfo().isSymLink())
            entries << name + u"->"_s +
                           QString::fromStdString(std::filesystem::read_symlink(path.toStdString()).string());
        else if (it.fileInfo().isDir())
            entries << name + u'/';
        else
            entries << name + u'=' + QString::fromUtf8(readAll(path)) +
                           (it.fileInfo().isExecutable() ? u"*"_s : u""_s);
    }
    entries.sort();
    return entries.join(u' ');
}

} // namespace

// The source holds file, link -> file, out -> <root>/outside and sub/inner, copied in that order.
// "%R" is the test's root; a preset "->x" is a link to <root>/x, anything else a file.
TEST(TreeCopy, FollowsEachPolicy)
{
    using T = TreeCopy;
    const QList<std::pair<QString, QString>> blocked{{u"file/x"_s, u"old"_s}, {u"link/x"_s, u"old"_s}};
    const QString whole = u"file=data* link->file out->%R/outside sub/ sub/inner=inner"_s;
    // clang-format off
    const struct { const char *name; T::Options options; QList<std::pair<QString, QString>> preset; QString error, copy; } rows[] = {
        {"links kept", {T::Links::Keep, T::Existing::Fail, T::Errors::Stop}, {}, {}, whole},
        {"links skipped", {T::Links::Skip, T::Existing::Fail, T::Errors::Stop}, {}, {}, u"file=data* sub/ sub/inner=inner"_s},
        {"existing destination", {T::Links::Keep, T::Existing::Fail, T::Errors::Stop}, {{u"file"_s, u"old"_s}},
         u"%R/dst already exists."_s, u"file=old"_s},
        {"an earlier copy replaced", {T::Links::Keep, T::Existing::ReplaceNonFolder, T::Errors::Stop},
         {{u"file"_s, u"old"_s}, {u"link"_s, u"->victim"_s}, {u"out"_s, u"old"_s}, {u"sub"_s, u"->victim"_s}}, {}, whole},
        {"keeps going", {T::Links::Keep, T::Existing::ReplaceNonFolder, T::Errors::KeepGoing}, blocked,
         u"%R/dst/file: "_s, u"file/ file/x=old link/ link/x=old out->%R/outside sub/ sub/inner=inner"_s},
        {"stops", {T::Links::Keep, T::Existing::ReplaceNonFolder, T::Errors::Stop}, blocked,
         u"%R/dst/file: "_s, u"file/ file/x=old link/ link/x=old"_s},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const QString root = test.root(), destination = root + u"/dst"_s;
        writeFile(root + u"/src/file"_s, "data", QFile::ExeOwner);
        writeFile(root + u"/src/sub/inner"_s, "inner");
        writeFile(root + u"/outside/secret"_s, "secret");
        QDir().mkpath(root + u"/victim"_s);
        QFile::link(u"file"_s, root + u"/src/link"_s);
        QFile::link(root + u"/outside"_s, root + u"/src/out"_s);
        for (const auto &[path, content] : row.preset) {
            if (content.startsWith(u"->"_s))
                QFile::link(root + u'/' + content.mid(2), destination + u'/' + path);
            else
                writeFile(destination + u'/' + path, content.toUtf8());
        }

        const std::optional<QString> error = TreeCopy::copy(root + u"/src"_s, destination, row.options);

        EXPECT_EQ(error.has_value(), !row.error.isEmpty());
        EXPECT_TRUE(error.value_or(QString()).contains(QString(row.error).replace(u"%R"_s, root)))
            << error.value_or(QString()).toStdString();
        // A link followed or written through shows as a folder's or a link's entries here.
        EXPECT_EQ(listing(destination), QString(row.copy).replace(u"%R"_s, root));
    }
}
