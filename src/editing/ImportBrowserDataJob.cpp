#include "editing/ImportBrowserDataJob.h"

#include "editing/BrowserDataImporter.h"

using namespace Qt::Literals::StringLiterals;

ImportBrowserDataJob::ImportBrowserDataJob(ImportBrowserDataRequest request, QObject *parent)
    : Job(parent)
    , m_request(std::move(request))
{
}

bool ImportBrowserDataJob::run()
{
    m_summary = {};
    if (m_request.profileKey.isEmpty()) {
        m_summary.missingSource = true;
    } else {
        m_summary = BrowserDataImporter(m_request.userDataFolder)
                        .importData(m_request.profileKey, m_request.categories, m_request.extensions,
                                    m_request.bundlePath + u"/Contents/Profile/Default"_s);
    }
    setProgress(1.0);
    return true;
}
