// The headers most of Sorvane's files include, precompiled once per build: Qt's, and for test
// programs GoogleTest's. Plain C++ targets (the small programs copied into bundles) use none.
#pragma once
#if defined(__cplusplus) && __has_include(<QtCore/QString>)
#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>
#include <QtCore/QVariant>
#include <QtCore/QVariantMap>
#if defined(SORVANE_PRECOMPILE_GTEST)
#include <QtCore/QProcess>
#include <gtest/gtest.h>
#endif
#endif
