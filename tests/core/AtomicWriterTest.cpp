#include "core/AtomicWriter.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

mode_t modeOf(const QString &path)
{
    struct stat info
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : mode_t(-1);
}

// Files may grow to `limit` bytes while it lives: a write beyond fails with EFBIG, the way a full
// disk fails one, after a short write up to the limit.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t limit)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_old);
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit lowered{limit, m_old.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lowered);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = SIG_DFL;
};

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

TEST(AtomicWriter, ReplacesWholeFilesKeepingTheirModeOrTheOneGiven)
{
    TestContext test;
    const QString path = test.root() + u"/file.txt"_s;
    const mode_t umask = ::umask(022);
    ASSERT_TRUE(AtomicWriter::write(path, "first"));
    EXPECT_EQ(modeOf(path), mode_t(0644)) << "a new file: 0666 less the umask";
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0750), 0);
    ASSERT_TRUE(AtomicWriter::write(path, "second"));
    EXPECT_EQ(readAll(path), QByteArray("second"));
    EXPECT_EQ(modeOf(path), mode_t(0750)) << "the replaced file's mode is kept";

    ::umask(077);
    const QString program = test.root() + u"/program"_s;
    ASSERT_TRUE(AtomicWriter::writeWithMode(program, "#!/bin/sh\n", QFile::ReadOwner | QFile::WriteOwner |
                                                                         QFile::ExeOwner | QFile::ReadGroup |
                                                                         QFile::ExeGroup | QFile::ReadOther |
                                                                         QFile::ExeOther));
    ::umask(umask);
    EXPECT_EQ(modeOf(program), mode_t(0755)) << "a given mode ignores the umask";

    // A link is written through; the link stays.
    const QString link = test.root() + u"/link.txt"_s;
    ASSERT_TRUE(QFile::link(path, link));
    ASSERT_TRUE(AtomicWriter::write(link, "third"));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(readAll(path), QByteArray("third"));
    EXPECT_EQ(namesIn(test.root()), (QStringList{u"file.txt"_s, u"home"_s, u"link.txt"_s, u"program"_s}));
}

TEST(AtomicWriter, AFailedWriteLeavesTheOldFileAndNoTemporaryAndSaysWhy)
{
    struct Case
    {
        const char *name;
        QString target; // relative to the test folder
        QByteArray data;
        std::function<void(const QString &)> arrange;
        rlim_t sizeLimit; // 0: none
        QString reason;
    };
    const QByteArray big(256 * 1024, 'b');
    const QList<Case> cases{
        // The first write is cut short at the limit, the next refused: a disk filling up.
        {"file grows past what the disk takes", u"data.json"_s, big, {}, 100 * 1024, u"File too large"_s},
        {"nothing can be written at all", u"data.json"_s, "{}", {}, 1, u"File too large"_s},
        {"folder missing", u"missing/data.json"_s, "{}", {}, 0, u"No such file or directory"_s},
        {"a folder at the path", u"data.json"_s, "{}",
         [](const QString &path) {
             QFile::remove(path);
             QDir().mkpath(path);
         },
         0, u"Is a directory"_s},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const QString folder = test.root() + u"/folder"_s;
        const QString path = folder + u'/' + row.target;
        writeFile(folder + u"/data.json"_s, "old contents");
        if (row.arrange)
            row.arrange(path);
        const QStringList before = namesIn(folder);
        QString error;
        bool written = true;
        {
            std::optional<FileSizeLimit> limit;
            if (row.sizeLimit != 0)
                limit.emplace(row.sizeLimit);
            written = AtomicWriter::write(path, row.data, &error);
        }
        EXPECT_FALSE(written);
        EXPECT_EQ(error, u"Cannot write %1: %2"_s.arg(path, row.reason));
        EXPECT_EQ(namesIn(folder), before) << "no temporary file is left";
        if (!row.arrange) {
            EXPECT_EQ(readAll(folder + u"/data.json"_s), QByteArray("old contents"));
        }
    }
}
