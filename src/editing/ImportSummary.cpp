#include "editing/ImportSummary.h"

using namespace Qt::Literals::StringLiterals;

const QString ImportSummary::MissingSourceMessage = u"Nothing imported — the selected profile wasn't found."_s;
const QString ImportSummary::NothingFoundMessage = u"No matching data was found to import."_s;
const QString ImportSummary::SourceInUseMessage =
    u"The browser is still running on that profile, so its open databases were left alone; quit it and import again."_s;

QStringList ImportSummary::messages() const
{
    if (missingSource)
        return {MissingSourceMessage};
    if (copiedItemCount == 0 && failedItems.isEmpty())
        return {NothingFoundMessage};
    QStringList lines;
    if (sourceInUse)
        lines.append(SourceInUseMessage);
    for (const QString &item : failedItems)
        lines.append(u"%1 couldn't be copied."_s.arg(item));
    return lines;
}

QString ImportSummary::description() const
{
    if (missingSource)
        return u"source profile missing"_s;
    QString text = u"%1 item(s) copied"_s.arg(copiedItemCount);
    if (!failedItems.isEmpty())
        text += u", failed: %1"_s.arg(failedItems.join(u", "_s));
    return text;
}

QVariantMap ImportSummary::toVariantMap() const
{
    return {{u"copiedItemCount"_s, copiedItemCount},
            {u"failedItems"_s, failedItems},
            {u"missingSource"_s, missingSource},
            {u"sourceInUse"_s, sourceInUse},
            {u"messages"_s, messages()}};
}
