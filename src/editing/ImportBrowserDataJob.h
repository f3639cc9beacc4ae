#pragma once

#include "core/Job.h"
#include "editing/ImportCategory.h"
#include "editing/ImportSummary.h"
#include "editing/SNExtensionDiscovery.h"

#include <QList>
#include <QString>

// What to bring from a profile of the user's browser into an app (BrowserDataImporter).
struct ImportBrowserDataRequest
{
    QString userDataFolder;
    QString profileKey; // empty: the profile was not found, and nothing is imported
    QList<ImportCategory> categories;
    QList<ImportableExtension> extensions;
    QString bundlePath; // the app that receives the data
};

// Copies browser data into a new app's own profile. The job succeeds even when some item could
// not be copied: the summary says what was and was not imported, for the user to read.
class ImportBrowserDataJob final : public Job
{
    Q_OBJECT

public:
    ImportBrowserDataJob(ImportBrowserDataRequest request, QObject *parent = nullptr);

    const ImportSummary &summary() const { return m_summary; }

protected:
    bool run() override;

private:
    ImportBrowserDataRequest m_request;
    ImportSummary m_summary;
};
