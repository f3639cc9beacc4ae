#include "core/ShellEscaping.h"

#include "support/TestContext.h"

#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// What bash prints for `printf %s <word>`, run in `folder` under `locale`.
QString bashPrints(const QString &word, const QString &folder, const QString &locale)
{
    QProcess bash;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), locale);
    bash.setProcessEnvironment(environment);
    bash.setWorkingDirectory(folder);
    bash.start(QStringLiteral("/bin/bash"), {QStringLiteral("-c"), QStringLiteral("printf %s ") + word});
    if (!bash.waitForFinished(10000) || bash.exitStatus() != QProcess::NormalExit || bash.exitCode() != 0)
        return QStringLiteral("<bash failed: %1>").arg(QString::fromUtf8(bash.readAllStandardError()));
    return QString::fromUtf8(bash.readAllStandardOutput());
}

const QStringList locales{QStringLiteral("C"), QStringLiteral("C.UTF-8")};

} // namespace

class ShellEscapingValue : public ::testing::TestWithParam<QString>
{
};

TEST_P(ShellEscapingValue, RoundTripsThroughItsInverse)
{
    const QString value = GetParam();
    EXPECT_EQ(ShellEscaping::unescapeDoubleQuoted(ShellEscaping::doubleQuoted(value)), value);
    EXPECT_EQ(ShellEscaping::unescapeUnquoted(ShellEscaping::unquoted(value)), value);
}

TEST_P(ShellEscapingValue, BashReadsExactlyTheValueAndRunsNothing)
{
    const QString value = GetParam();
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    for (const QString &locale : locales) {
        SCOPED_TRACE(locale.toStdString());
        EXPECT_EQ(bashPrints(u'"' + ShellEscaping::doubleQuoted(value) + u'"', folder.path(), locale), value);
        EXPECT_EQ(bashPrints(ShellEscaping::unquoted(value), folder.path(), locale), value);
    }
    // Values that would run `touch pwned` if they broke out of their quoting.
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList());
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, ShellEscapingValue,
    ::testing::Values(QString(), QStringLiteral("plain"), QStringLiteral("My App"),
                      QStringLiteral("  blanks  around  "), QStringLiteral("\"quoted\""), QStringLiteral("it's"),
                      QStringLiteral("'"), QStringLiteral("\""), QStringLiteral("$HOME"), QStringLiteral("${PATH}x"),
                      QStringLiteral("$(touch pwned)"), QStringLiteral("`touch pwned`"),
                      QStringLiteral("a; touch pwned"), QStringLiteral("a && touch pwned"),
                      QStringLiteral("a | touch pwned"), QStringLiteral("'; touch pwned; '"),
                      QStringLiteral("\"; touch pwned; \""), QStringLiteral("(paren)"), QStringLiteral("*"),
                      QStringLiteral("~"), QStringLiteral("~/x"), QStringLiteral("!"), QStringLiteral("!!"),
                      QStringLiteral("a\\b"), QStringLiteral("trailing\\"), QStringLiteral("\\\""),
                      QStringLiteral("#hash"), QStringLiteral("a=b"), QStringLiteral("-n"),
                      QStringLiteral("%s%d"), QStringLiteral("?[abc]{a,b}"), QStringLiteral("<in >out"),
                      QStringLiteral("tab\there"), QStringLiteral("line\nbreak\n"),
                      QStringLiteral("/Users/me/Library/Application Support/Sorvane/tracker.plist"),
                      QStringLiteral("Grüße aus Köln"), QStringLiteral("日本語のアプリ"),
                      QStringLiteral("Привет мир"), QStringLiteral("emoji 😀 app"),
                      QStringLiteral("👩‍👩‍👧\u00a0nbsp")));

struct ExactEscaping
{
    QString value;
    QString doubleQuoted;
    QString unquoted;
};

void PrintTo(const ExactEscaping &c, std::ostream *os)
{
    *os << c.value.toStdString();
}

class ShellEscapingExact : public ::testing::TestWithParam<ExactEscaping>
{
};

// Ordinary values must come out unchanged: generated scripts are compared with fixed templates.
TEST_P(ShellEscapingExact, GivesTheFixedText)
{
    EXPECT_EQ(ShellEscaping::doubleQuoted(GetParam().value), GetParam().doubleQuoted);
    EXPECT_EQ(ShellEscaping::unquoted(GetParam().value), GetParam().unquoted);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ShellEscapingExact,
    ::testing::Values(
        ExactEscaping{QStringLiteral("A-Za-z0-9._-+,:@%/="), QStringLiteral("A-Za-z0-9._-+,:@%/="),
                      QStringLiteral("A-Za-z0-9._-+,:@%/=")},
        ExactEscaping{QStringLiteral("My App"), QStringLiteral("My App"), QStringLiteral("My\\ App")},
        ExactEscaping{QStringLiteral("a\"b$c`d\\e"), QStringLiteral("a\\\"b\\$c\\`d\\\\e"),
                      QStringLiteral("a\\\"b\\$c\\`d\\\\e")},
        ExactEscaping{QStringLiteral("it's (x)"), QStringLiteral("it's (x)"), QStringLiteral("it\\'s\\ \\(x\\)")},
        ExactEscaping{QStringLiteral("Café"), QStringLiteral("Café"), QStringLiteral("Caf\\é")},
        // One backslash per character, never one inside a surrogate pair.
        ExactEscaping{QStringLiteral("😀"), QStringLiteral("😀"), QStringLiteral("\\😀")},
        ExactEscaping{QStringLiteral("a\nb"), QStringLiteral("a\nb"), QStringLiteral("a'\n'b")},
        ExactEscaping{QString(), QString(), QStringLiteral("''")}));

class ShellEscapingReadsLikeBash : public ::testing::TestWithParam<QString>
{
};

// Scripts may hold quoting that we did not write ourselves; the read-back must agree with bash.
TEST_P(ShellEscapingReadsLikeBash, WhatBashReads)
{
    QTemporaryDir folder;
    const QString text = GetParam();
    EXPECT_EQ(ShellEscaping::unescapeDoubleQuoted(text),
              bashPrints(u'"' + text + u'"', folder.path(), QStringLiteral("C.UTF-8")));
    EXPECT_EQ(ShellEscaping::unescapeUnquoted(text), bashPrints(text, folder.path(), QStringLiteral("C.UTF-8")));
}

INSTANTIATE_TEST_SUITE_P(Texts, ShellEscapingReadsLikeBash,
                         ::testing::Values(QStringLiteral("plain"), QStringLiteral("a\\b"), QStringLiteral("\\\\n"),
                                           QStringLiteral("x\\\ny"), QStringLiteral("a\\'b"),
                                           QStringLiteral("C:\\\\path\\\\"), QStringLiteral("\\%\\=\\é"),
                                           QStringLiteral("a' b \\ 'c\\ d'e'")));

struct AddressCase
{
    QString address;
    QString encoded;
};

void PrintTo(const AddressCase &c, std::ostream *os)
{
    *os << c.address.toStdString();
}

class ShellEscapingAddress : public ::testing::TestWithParam<AddressCase>
{
};

TEST_P(ShellEscapingAddress, EncodesOnlyWhatUrlsForbidRaw)
{
    EXPECT_EQ(ShellEscaping::percentEncodeAddress(GetParam().address), GetParam().encoded);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ShellEscapingAddress,
    ::testing::Values(
        AddressCase{QStringLiteral("https://mail.example.com/u/0?x=1&y=%20#top"),
                    QStringLiteral("https://mail.example.com/u/0?x=1&y=%20#top")},
        AddressCase{QStringLiteral("https://a.example/b c"), QStringLiteral("https://a.example/b%20c")},
        AddressCase{QStringLiteral(" \"<>`\\^{|}"), QStringLiteral("%20%22%3C%3E%60%5C%5E%7B%7C%7D")},
        AddressCase{QStringLiteral("https://ü.example/$(x);'é'"), QStringLiteral("https://ü.example/$(x);'é'")}));

struct AppNameCase
{
    QString name;
    bool acceptable;
};

void PrintTo(const AppNameCase &c, std::ostream *os)
{
    *os << c.name.toStdString();
}

class ShellEscapingName : public ::testing::TestWithParam<AppNameCase>
{
};

TEST_P(ShellEscapingName, RefusesSlashesAndControlCharacters)
{
    EXPECT_EQ(ShellEscaping::isAcceptableAppName(GetParam().name), GetParam().acceptable);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ShellEscapingName,
    ::testing::Values(AppNameCase{QString(), false}, AppNameCase{QStringLiteral("a/b"), false},
                      AppNameCase{QStringLiteral("/"), false}, AppNameCase{QStringLiteral("tab\t"), false},
                      AppNameCase{QStringLiteral("line\n"), false}, AppNameCase{QString(QChar(0)), false},
                      AppNameCase{QStringLiteral("x\x1f"), false}, AppNameCase{QStringLiteral("x\x7f"), false},
                      AppNameCase{QStringLiteral("My App"), true}, AppNameCase{QStringLiteral(" "), true},
                      AppNameCase{QStringLiteral("$(rm -rf ~) \"it's\" `x` \\"), true},
                      AppNameCase{QStringLiteral("日本語 😀"), true}, AppNameCase{QStringLiteral("x\u0080\u00a0"), true}));
