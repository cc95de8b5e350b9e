/**
 * @file
 * Format plug-ins: what each declares, and loading it when its turn comes.
 */
#pragma once

#include <ep/CxImageFormatManager.h>

#include <QList>
#include <QString>

#include <vector>

namespace ep {

/** A module that brings formats. */
struct SxFormatPlugin {
    QString path;                 ///< its file
    QString name;                 ///< that without folder and suffix
    QList<SxFormatInfo> formats;  ///< what it declares
    bool isPending = true;        ///< nobody has tried to load it yet, or there was no memory
};

/** The known format plug-ins in the order in which they were found. Not thread-safe. */
class FormatPlugins {
public:
    /** Adds the plug-ins in @p folder whose names are not known yet; none of them is loaded by that. */
    void addFolder(const QString& folder);

    std::vector<SxFormatPlugin>& plugins() { return m_plugins; }
    const std::vector<SxFormatPlugin>& plugins() const { return m_plugins; }

    /** The folder of the plug-ins that come with this library. */
    static QString ownFolder();
    /**
     * Loads @p plugin, which registers its classes and is never unloaded. The reason of a failure, else empty. Throws
     * std::bad_alloc when there is no memory for it.
     */
    static QString load(SxFormatPlugin& plugin);

private:
    std::vector<SxFormatPlugin> m_plugins;
};

}  // namespace ep
