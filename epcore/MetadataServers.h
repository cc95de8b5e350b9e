/**
 * @file
 * The registered metadata savers and loaders by the classes that they serve.
 */
#pragma once

#include <ep/CxRtti.h>

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

namespace ep {

/**
 * One object of every class registered under an interface name, found by the class of item that it serves; of several
 * that serve a class the first registered. Made once per text, so that the registry is not asked for every item.
 */
template <typename Server>
class MetadataServers {
public:
    explicit MetadataServers(const QString& interfaceName)
    {
        const QList<const QMetaObject*> classes = CxRtti::instance()->classes(interfaceName);
        for (const QMetaObject* metaObject : classes) {
            std::unique_ptr<QObject> object(metaObject->newInstance());
            auto* server = qobject_cast<Server*>(object.get());
            if (!server)
                continue;
            m_owned.push_back(std::move(object));
            const QStringList served = server->supportedClasses();
            for (const QString& name : served)
                if (!m_servers.contains(name))
                    m_servers.insert(name, server);
        }
    }

    /** Null when nobody serves the class. */
    Server* find(const QString& className) const { return m_servers.value(className); }

private:
    std::vector<std::unique_ptr<QObject>> m_owned;
    QHash<QString, Server*> m_servers;
};

}  // namespace ep
