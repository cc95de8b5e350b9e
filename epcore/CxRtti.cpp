#include <ep/CxRtti.h>

#include <ep/CxCommonImageMetadata.h>

#include "CxCommonMetadataLoader.h"
#include "CxCommonMetadataSaver.h"

#include <QHash>
#include <QMetaClassInfo>
#include <QVector>

#include <mutex>
#include <shared_mutex>

namespace ep {

namespace {

struct SxRegistration {
    CxPlugin* plugin;
    const QMetaObject* metaObject;
};

}  // namespace

struct CxRtti::Private {
    mutable std::shared_mutex mutex;  // not Qt's, which race detectors cannot see through
    QHash<QString, QVector<SxRegistration>> registrations;
    QList<QString> interfaces;
};

CxRtti::CxRtti() : m_d(new Private)
{
    registerClass(nullptr, CxCommonMetadataLoader::staticMetaObject, QStringLiteral("IxMetadataLoader"));
    registerClass(nullptr, CxCommonMetadataSaver::staticMetaObject, QStringLiteral("IxMetadataSaver"));
    registerClass(nullptr, CxCommonImageMetadata::staticMetaObject, QStringLiteral("IxMetadata"));
}

CxRtti::~CxRtti() = default;

CxRtti* CxRtti::instance()
{
    // Never destroyed: static objects of other libraries may still ask while the process ends.
    static CxRtti* const registry = new CxRtti;
    return registry;
}

void CxRtti::registerClass(CxPlugin* plugin, const QMetaObject& metaObject, const QString& interfaceName)
{
    const std::unique_lock<std::shared_mutex> lock(m_d->mutex);
    if (!m_d->interfaces.contains(interfaceName))
        m_d->interfaces.append(interfaceName);
    QVector<SxRegistration>& registrations = m_d->registrations[interfaceName];
    for (const SxRegistration& registration : qAsConst(registrations))
        if (registration.metaObject == &metaObject)
            return;
    registrations.append({plugin, &metaObject});
}

QList<const QMetaObject*> CxRtti::classes(const QString& interfaceName) const
{
    const std::shared_lock<std::shared_mutex> lock(m_d->mutex);
    QList<const QMetaObject*> classes;
    const QVector<SxRegistration> registrations = m_d->registrations.value(interfaceName);
    for (const SxRegistration& registration : registrations)
        classes.append(registration.metaObject);
    return classes;
}

QList<QString> CxRtti::interfaces() const
{
    const std::shared_lock<std::shared_mutex> lock(m_d->mutex);
    return m_d->interfaces;
}

CxPlugin* CxRtti::plugin(const QMetaObject& metaObject, const QString& interfaceName) const
{
    const std::shared_lock<std::shared_mutex> lock(m_d->mutex);
    const QVector<SxRegistration> registrations = m_d->registrations.value(interfaceName);
    for (const SxRegistration& registration : registrations)
        if (registration.metaObject == &metaObject)
            return registration.plugin;
    return nullptr;
}

QString CxRtti::displayName(const QMetaObject& metaObject)
{
    const int index = metaObject.indexOfClassInfo("CustomName");
    return QString::fromUtf8(index < 0 ? metaObject.className() : metaObject.classInfo(index).value());
}

}  // namespace ep
