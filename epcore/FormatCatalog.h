/**
 * @file
 * Which classes serve which files.
 */
#pragma once

#include <ep/CxImageFormatManager.h>

#include "FormatPlugins.h"

#include <QHash>
#include <QSet>

#include <mutex>

struct QMetaObject;

namespace ep {

enum class ExFormatUse { Read, Write };

/** Everything that is registered or declared by a plug-in, by file name. Thread-safe. */
class FormatCatalog {
public:
    FormatCatalog();

    void addPluginFolder(const QString& folder);
    QList<SxFormatInfo> formats() const;

    /**
     * The class of highest rank for the file @p fileName (in lower case) that is not in @p tried; of equals the one
     * registered first. A plug-in is loaded when its rank makes it the next.
     * @param failure is set to the reason when a plug-in could not be loaded
     * @return null when there is none
     */
    const QMetaObject* next(ExFormatUse use, const QString& fileName, const QSet<const QMetaObject*>& tried,
                            QString& failure);

private:
    /** Looks for the plug-ins that come with this library until there are some. */
    void findOwnPlugins() const;
    const QList<SxFormatInfo>& formatsOf(const QMetaObject& metaObject, ExFormatUse use) const;

    mutable std::mutex m_mutex;  // not Qt's, which race detectors cannot see through
    mutable QHash<const QMetaObject*, QList<SxFormatInfo>> m_formats;  // what each class said; asking takes an object
    mutable FormatPlugins m_plugins;
    mutable bool m_hasOwnPlugins = false;
};

/** The classes that may serve one file, one after another. One thread at a time. */
class FormatCandidates {
public:
    FormatCandidates(FormatCatalog& catalog, ExFormatUse use, const QString& fileName)
        : m_catalog(catalog), m_use(use), m_fileName(fileName)
    {
    }
    /** The next best class; null when there is none left. */
    const QMetaObject* next();
    /** Why a plug-in could not be loaded; empty when all could. */
    const QString& pluginFailure() const { return m_pluginFailure; }

private:
    FormatCatalog& m_catalog;
    ExFormatUse m_use;
    QString m_fileName;
    QSet<const QMetaObject*> m_tried;
    QString m_pluginFailure;
};

}  // namespace ep
