#include "frontend/AppSuggestion.h"

QVariantList AppSuggestion::tabValues() const
{
    QVariantList values;
    for (const TabConfiguration &tab : tabs)
        values.append(QVariant::fromValue(tab));
    return values;
}

QStringList AppSuggestion::tabUrls() const
{
    QStringList urls;
    for (const TabConfiguration &tab : tabs)
        urls.append(tab.url);
    return urls;
}
