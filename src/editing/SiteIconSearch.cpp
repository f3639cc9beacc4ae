#include "editing/SiteIconSearch.h"

#include "editing/SNFaviconHelper.h"

#include <QPointer>
#include <QTimer>
#include <QUrl>

SiteIconSearch::SiteIconSearch(QObject *parent)
    : QObject(parent)
{
}

SiteIconSearch::~SiteIconSearch() = default; // each helper cancels and waits for its search

SNBulkAppsManager::FaviconSearch SiteIconSearch::function()
{
    return [this](const QString &address, SNBulkAppsManager::IconDelivery deliver) -> std::function<void()> {
        return lookUp(address, [deliver](const SNFaviconHelper::Found &found) { deliver(found.image, found.address); });
    };
}

std::function<void()> SiteIconSearch::lookUp(const QString &typed,
                                             std::function<void(const SNFaviconHelper::Found &)> deliver)
{
    const quint64 id = ++m_lastId;
    auto helper = std::make_unique<SNFaviconHelper>();
    helper->lookUpSite(typed, this, [this, id, deliver = std::move(deliver)](const SNFaviconHelper::Found &found) {
        deliver(found);
        finish(id);
    });
    m_searches.emplace(id, std::move(helper));
    QPointer<SiteIconSearch> self(this);
    return [self, id] {
        if (!self)
            return;
        if (const auto search = self->m_searches.find(id); search != self->m_searches.end())
            search->second->isCancelled = true;
        self->finish(id);
    };
}

void SiteIconSearch::finish(quint64 id)
{
    QTimer::singleShot(0, this, [this, id] { m_searches.erase(id); });
}
