#pragma once

#include <QString>

// Escaping of user values (names, addresses, paths) for the shell contexts of generated scripts,
// and its exact inverse for reading scripts back. A value escaped here stays one word and never
// runs a command, whatever it contains.
class ShellEscaping final
{
public:
    // The text to place between double quotes: a backslash before `"`, `$`, `` ` `` and `\`.
    static QString doubleQuoted(const QString &value);
    // The text to place outside any quotes: a backslash before every character outside
    // `A-Za-z0-9._-+,:@%/=`, one per code point. A line break, which a backslash would swallow,
    // is written as a single-quoted line break; an empty value as `''`.
    static QString unquoted(const QString &value);

    // An address with the characters that URLs do not allow raw (blank, `"`, `<`, `>`, `` ` ``,
    // `\`, `^`, `{`, `|`, `}`) percent-encoded, so a list of addresses split at blanks stays whole.
    static QString percentEncodeAddress(const QString &address);

    // False for an empty name and for one with `/` or a control character (U+0000-U+001F, U+007F).
    static bool isAcceptableAppName(const QString &name);

    // The value that bash reads from `"<text>"`.
    static QString unescapeDoubleQuoted(const QString &text);
    // The value that bash reads from the unquoted word `<text>` (backslashes, single and double
    // quotes; no expansions).
    static QString unescapeUnquoted(const QString &text);
};
