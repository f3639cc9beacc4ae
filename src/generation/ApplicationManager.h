#pragma once

#include "core/AppDefinition.h"
#include "core/SNBulkApp.h"
#include "core/SNError.h"
#include "generation/AppCreator.h"
#include "generation/BundleLayout.h"
#include "generation/ProfileSeeder.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Context;
class SNImage;

// The generation manager: the definition of the app being made and the entry points of
// creation. It holds state and forwards; the work is done by AppCreator (the whole creation),
// BundleWriter (each part of a bundle) and EngineBuilder (the in-process engine route).
class ApplicationManager final
{
public:
    explicit ApplicationManager(Context &context);
    ~ApplicationManager();
    Q_DISABLE_COPY_MOVE(ApplicationManager)

    // The manager over the shared context.
    static ApplicationManager &sharedManager();

    Context &context() const { return m_context; }

    AppDefinition &definition() { return m_definition; }
    const AppDefinition &definition() const { return m_definition; }

    // The paths of the bundle being made (or last made).
    const BundleLayout &layout() const { return m_layout; }
    void setLayout(const BundleLayout &layout) { m_layout = layout; }

    // Profile seeding inputs, filled by profile discovery when the user chose a browser profile.
    ProfileSource profileSource;

    // The bulk run's input and the entries it made.
    QList<SNBulkApp> bulkApps;
    QList<SNBulkApp> bulkInstalledApps;
    // Told after each bulk entry (its index, whether it was made) while created() describes it.
    std::function<void(qsizetype index, bool made)> bulkProgress;

    // What the last successful creation made.
    const CreatedApp &created() const { return m_created; }

    QString fetchApplicationsPath();
    QString generateAppNmeFor(const SNBulkApp &entry);
    // Creates the bundle of the current definition; runs `completion` on success. With
    // `numberIfTaken` a taken name becomes the first free "<name> N".
    bool createForReal(const std::function<void()> &completion = {}, SNError *error = nullptr,
                       bool numberIfTaken = false);
    // Creates the app into the first of the eight folders of newAppDirectories.
    bool createWithDirectories(const QStringList &directories, SNError *error = nullptr);
    // Creates every entry of bulkApps in turn; `callback` gets whether all of them were made.
    void create(bool duplicate, const std::function<void(bool)> &callback = {});

    // The eight folders of a new bundle, in the order they are created.
    static QStringList newAppDirectories(const QString &applicationsFolder, const QString &appName);
    bool makeNewAppDirectoriesWithDirectories(const QStringList &directories, SNError *error);
    // Writes Contents/Info.plist for the current definition.
    bool createPlistFileWithDestinationDirectory(const QString &contentsFolder, const QString &appName,
                                                 bool registerAsBrowser, SNError *error);
    bool convertImagesWithSourceImage(const SNImage &image, const QString &destinationFolder, SNError *error);
    // Writes "<appID>.config" for the current definition.
    bool saveAppConfig(const QString &appID);
    static QString imageData(const SNImage &image);

    // The engine executable the generator itself uses (see BrowserCatalogue::enginePathForGenerator).
    QString getCromePath() const;
    // Whether the app loads the companion extension.
    bool includesCompanion() const;

    // The in-process engine route (EngineBuilder) into the layout's resources folder.
    std::optional<SNError> createInternalApplication();

private:
    Context &m_context;
    AppDefinition m_definition;
    BundleLayout m_layout;
    CreatedApp m_created;
};
