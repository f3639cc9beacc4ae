#include "frontend/AppTemplate.h"

QVariantList AppTemplate::tabValues() const
{
    QVariantList values;
    for (const TabConfiguration &tab : tabs)
        values.append(QVariant::fromValue(tab));
    return values;
}
