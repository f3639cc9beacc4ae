#include "core/ShellEscaping.h"

#include "support/TestContext.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// What bash prints for `printf %s <word>`, run in `folder`.
QString bashPrints(const QString &word, const QString &folder)
{
    const Outcome bash = runProgram(u"/usr/bin/env"_s, {u"LC_ALL=C.UTF-8"_s, u"/bin/bash"_s, u"-c"_s, u"printf %s "_s + word},
                                    environmentWith(), folder);
    return bash.exitCode == 0 ? QString::fromUtf8(bash.out) : u"<bash failed>"_s;
}

} // namespace

// Each value stands for a way out of the quoting; those that get out run `touch pwned`.
TEST(ShellEscaping, BashReadsBackExactlyTheValueInBothFormsAndRunsNothing)
{
    const QStringList corpus{
        QString(), u"My App"_s, u"  blanks  around  "_s, u"it's \"quoted\""_s, u"$HOME ${PATH}x"_s,
        u"$(touch pwned)"_s, u"`touch pwned`"_s, u"a; b && c | touch pwned &"_s, u"'; touch pwned; '"_s,
        u"\"; touch pwned; \""_s, u"(x) <in >out"_s, u"~/x {a,b}"_s, u"a\\b"_s, u"\\\"trailing\\"_s,
        u"#hash"_s, u"tab\there"_s, u"line\nbreak\n"_s, u"Grüße 日本語 Привет"_s, u"emoji 😀 👩‍👩‍👧\u00a0"_s};
    QTemporaryDir folder;
    for (const QString &value : corpus) {
        SCOPED_TRACE(value.toStdString());
        EXPECT_EQ(ShellEscaping::unescapeDoubleQuoted(ShellEscaping::doubleQuoted(value)), value);
        EXPECT_EQ(ShellEscaping::unescapeUnquoted(ShellEscaping::unquoted(value)), value);
        EXPECT_EQ(bashPrints(u'"' + ShellEscaping::doubleQuoted(value) + u'"', folder.path()), value);
        EXPECT_EQ(bashPrints(ShellEscaping::unquoted(value), folder.path()), value);
    }
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

// Ordinary values must come out unchanged: generated scripts are compared with fixed templates.
TEST(ShellEscaping, GivesTheFixedText)
{
    const std::tuple<QString, QString, QString> table[] = {
        {u"A-Za-z0-9._-+,:@%/="_s, u"A-Za-z0-9._-+,:@%/="_s, u"A-Za-z0-9._-+,:@%/="_s},
        {u"My App"_s, u"My App"_s, u"My\\ App"_s},
        {u"a\"b$c`d\\e"_s, u"a\\\"b\\$c\\`d\\\\e"_s, u"a\\\"b\\$c\\`d\\\\e"_s},
        {u"Café 😀"_s, u"Café 😀"_s, u"Caf\\é\\ \\😀"_s}, // one backslash per character, never inside a pair
        {QString(), QString(), u"''"_s}};
    for (const auto &[value, doubleQuoted, unquoted] : table) {
        EXPECT_EQ(ShellEscaping::doubleQuoted(value), doubleQuoted);
        EXPECT_EQ(ShellEscaping::unquoted(value), unquoted);
    }
}

// Scripts may hold quoting that we did not write ourselves; the read-back must agree with bash.
TEST(ShellEscaping, UnescapesForeignQuotingAsBashReadsIt)
{
    QTemporaryDir folder;
    for (const QString &text : {u"a\\b"_s, u"\\\\n"_s, u"x\\\ny"_s, u"a\\'b"_s, u"C:\\\\path\\\\"_s,
                                u"\\%\\=\\é"_s, u"a' b \\ 'c\\ d'e'"_s}) {
        SCOPED_TRACE(text.toStdString());
        EXPECT_EQ(ShellEscaping::unescapeDoubleQuoted(text), bashPrints(u'"' + text + u'"', folder.path()));
        EXPECT_EQ(ShellEscaping::unescapeUnquoted(text), bashPrints(text, folder.path()));
    }
}

TEST(ShellEscaping, PercentEncodesOnlyWhatAddressesForbidRaw)
{
    EXPECT_EQ(ShellEscaping::percentEncodeAddress(u"https://a.example/ \"<>`\\^{|}"_s),
              u"https://a.example/%20%22%3C%3E%60%5C%5E%7B%7C%7D"_s);
    for (const QString &address : {u"https://a.example/u/0?x=1&y=%20#top"_s, u"https://ü.example/$(x);'é'"_s})
        EXPECT_EQ(ShellEscaping::percentEncodeAddress(address), address);
}

TEST(ShellEscaping, AcceptsAppNamesWithoutSlashesOrControlCharacters)
{
    for (const QString &name : {QString(), u"a/b"_s, QString(QChar(0)), u"x\x1f"_s, u"x\x7f"_s, u"tab\t"_s})
        EXPECT_FALSE(ShellEscaping::isAcceptableAppName(name)) << name.toStdString();
    for (const QString &name : {u" "_s, u"My App"_s, u"$(rm ~) \"it's\" `x` \\"_s, u"日本語 😀\u0080\u00a0"_s})
        EXPECT_TRUE(ShellEscaping::isAcceptableAppName(name)) << name.toStdString();
}
