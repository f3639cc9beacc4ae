#pragma once

#include <QObject>
#include <QString>

class Context;

// Acts on a "sorvane:" URL given to the desktop app (by the platform, or by a second start of
// it): "sorvane://edit-app?id=<registry id>" brings the home screen forward and asks for that
// app's editor. Any other scheme or host is ignored without a trace.
class DeepLinkHandler final : public QObject
{
    Q_OBJECT
public:
    explicit DeepLinkHandler(Context &context, QObject *parent = nullptr);

    // True when the URL was one of ours and was acted on.
    Q_INVOKABLE bool handleURL(const QString &url);

    static const QString Scheme; // "sorvane"
    static const QString EditAppHost; // "edit-app"

Q_SIGNALS:
    // Bring the app to the front and show the home screen window.
    void activationRequested();

private:
    Context &m_context;
};
