#include "ListCommand.h"

#include "maintenance/AppList.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>
#include <clocale>
#include <cwchar>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// How many cells of a terminal `text` takes: two for a wide character (CJK, most emoji), none for
// a combining mark. The C library knows the widths, but only under a UTF-8 character locale, which
// the user's may not be; so it is asked under C.UTF-8, for this thread alone.
qsizetype screenWidth(const QString &text)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t(nullptr));
    const locale_t previous = utf8 ? uselocale(utf8) : locale_t(nullptr);
    qsizetype cells = 0;
    for (const char32_t codePoint : text.toUcs4()) {
        const int width = utf8 ? wcwidth(wchar_t(codePoint)) : 1;
        cells += width < 0 ? 1 : width;
    }
    if (utf8)
        uselocale(previous);
    return cells;
}

// Rows as columns a person reads: each column as wide on the screen as its widest cell, two
// spaces apart; the last column is not padded.
QStringList aligned(const QList<QStringList> &rows)
{
    QList<qsizetype> widths;
    for (const QStringList &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], screenWidth(row[column]));
    }
    QStringList lines;
    for (const QStringList &row : rows) {
        QString line;
        for (qsizetype column = 0; column < row.size(); ++column) {
            line += row[column];
            if (column + 1 < row.size())
                line += QString(widths[column] - screenWidth(row[column]) + 2, u' ');
        }
        lines.append(line);
    }
    return lines;
}

} // namespace

int ListCommand::run(const QCommandLineParser &parser, Context &context)
{
    QList<SNAppItem> items = AppList::loadAppItems(context);
    // The registry has no order of its own; people read names, in their language's order and
    // without regard to case ("Calendar" before "CRM").
    QCollator collator{QLocale::system().collation()};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    std::stable_sort(items.begin(), items.end(), [&collator](const SNAppItem &a, const SNAppItem &b) {
        const int order = collator.compare(a.name, b.name);
        return order != 0 ? order < 0 : a.path < b.path;
    });
    if (parser.isSet(u"json"_s)) {
        QVariantList apps;
        for (const SNAppItem &item : items)
            apps.append(QVariantMap{{u"appId"_s, item.appId},
                                    {u"path"_s, item.path},
                                    {u"name"_s, item.name},
                                    {u"urls"_s, item.urls},
                                    {u"type"_s, item.type},
                                    {u"typeIcon"_s, item.typeIcon},
                                    {u"browserIcon"_s, item.browserIcon},
                                    {u"browserName"_s, item.browserName}});
        printJson(apps);
        return Success;
    }
    if (items.isEmpty()) {
        printNote(u"No apps yet: `sorvane create` makes one."_s, parser);
        return Success;
    }
    QList<QStringList> rows;
    for (const SNAppItem &item : items)
        rows.append({item.name, item.type, item.browserName, item.path});
    // Piped, one tab-separated line per app for the next program; at a terminal, columns.
    if (!isatty(STDOUT_FILENO)) {
        for (const QStringList &row : rows)
            print(row.join(u'\t'));
        return Success;
    }
    rows.prepend({u"NAME"_s, u"KIND"_s, u"BROWSER"_s, u"BUNDLE"_s});
    print(aligned(rows).join(u'\n'));
    return Success;
}
