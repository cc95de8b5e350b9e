/**
 * @file
 * The class registry through which hosts find implementations of an interface.
 */
#pragma once

#include <ep/Export.h>

#include <QList>
#include <QMetaObject>
#include <QObject>
#include <QString>

#include <memory>

/** The interface identifier that a format plug-in names in Q_PLUGIN_METADATA. */
#define CxPlugin_iid "ep.CxPlugin/1"

namespace ep {

/**
 * A dynamically loaded plug-in module, seen from the registry. A module derives from it, names Q_PLUGIN_METADATA and
 * registers its classes in init().
 */
class EP_EXPORT CxPlugin : public QObject {
    Q_OBJECT
public:
    explicit CxPlugin(QObject* parent = nullptr);
    ~CxPlugin() override;

    /** Registers the module's classes with CxRtti; called once after loading. False when the module is unusable. */
    virtual bool init() = 0;
};

/**
 * Process-wide map from interface names to the classes that implement them. All members are thread-safe.
 *
 * The interface names in use are "IxImageDataLoader", "IxImageDataSaver", "IxMetadataLoader", "IxMetadataSaver" and
 * "IxMetadata" (metadata items). At first use the registry holds the saver, loader and item of CxCommonImageMetadata.
 */
class EP_EXPORT CxRtti {
public:
    /** The one registry; never null. */
    static CxRtti* instance();

    /**
     * Records that the class described by @p metaObject implements the interface called @p interfaceName.
     * Registering the same class under the same name again changes nothing.
     * @param plugin the module that brings the class; null when it belongs to no module. Not owned.
     * @param metaObject must stay valid until the process ends
     */
    void registerClass(CxPlugin* plugin, const QMetaObject& metaObject, const QString& interfaceName);

    /** The classes registered under @p interfaceName, in the order of registration. */
    QList<const QMetaObject*> classes(const QString& interfaceName) const;

    /** The names under which anything is registered, in the order of their first registration. */
    QList<QString> interfaces() const;

    /** The module that registered @p metaObject under @p interfaceName; null when none did. */
    CxPlugin* plugin(const QMetaObject& metaObject, const QString& interfaceName) const;

    /** The display name of a class: its class info "CustomName", else its class name. */
    static QString displayName(const QMetaObject& metaObject);

    CxRtti(const CxRtti&) = delete;
    CxRtti& operator=(const CxRtti&) = delete;

private:
    CxRtti();
    ~CxRtti();
    struct Private;
    std::unique_ptr<Private> m_d;
};

}  // namespace ep
