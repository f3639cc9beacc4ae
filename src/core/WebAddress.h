#pragma once

#include <QString>
#include <QStringList>

// How an address a person types becomes the address an app is saved with, wherever it is typed
// (the wizard, the bulk list, the command line, suggestions). A typed address without a scheme
// is tried over https first and over http when https does not answer (the site search decides);
// without a search it gets https.
namespace WebAddress {

// Whether `text` starts with a scheme an app opens: http://, https:// or file://.
bool hasScheme(const QString &text);

// Whether `text` names a scheme of any kind ("ftp://...", "javascript:..."); "localhost:8080/"
// is a host and a port, not a scheme.
bool hasAnyScheme(const QString &text);

// `typed` trimmed, with "<scheme>://" in front when it names no scheme; empty stays empty, and an
// address with another scheme is kept as it is, for the checks to refuse.
QString withScheme(const QString &typed, const QString &scheme = QStringLiteral("https"));

// The addresses to try for `typed`, in order: itself when it has a scheme, else over https, then
// over http.
QStringList candidates(const QString &typed);

} // namespace WebAddress
