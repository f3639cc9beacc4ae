#pragma once

#include "editing/SNBulkAppsManager.h"
#include "editing/SNFaviconHelper.h"

#include <QObject>

#include <map>
#include <memory>


// The bulk list's icon search on the web: each search runs SNFaviconHelper on a thread of its
// own and delivers on this object's thread. A search that is stopped (its row went away) is
// cancelled and dropped; every search still running when this object goes is cancelled too.
class SiteIconSearch final : public QObject
{
public:
    explicit SiteIconSearch(QObject *parent = nullptr);
    ~SiteIconSearch() override;

    // What SNBulkAppsManager::setFaviconSearch takes; valid while this object lives.
    SNBulkAppsManager::FaviconSearch function();
    // Searches the site of an address as typed; `deliver` runs on this object's thread unless the
    // search is stopped first. Returns what stops it. Each search has its own time bounds, so a
    // search started while another runs is not held up by it.
    std::function<void()> lookUp(const QString &typed, std::function<void(const SNFaviconHelper::Found &)> deliver);

    int running() const { return static_cast<int>(m_searches.size()); }

private:
    // Drops a search later, from the event loop: its own completion may be what ended it.
    void finish(quint64 id);

    std::map<quint64, std::unique_ptr<SNFaviconHelper>> m_searches;
    quint64 m_lastId = 0;
};
