#include "LoadCharts.h"

#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

std::unique_ptr<charts::IxCharts> loadCharts(QString& reason)
{
    const QFileInfo program(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget());
    const QString file = QDir::cleanPath(program.path() + QStringLiteral("/../" ORN_CHARTS_FILE));
    if (!QFileInfo::exists(file)) {
        reason = QStringLiteral("the module that draws it is not installed: there is no %1").arg(file);
        return nullptr;
    }
    QPluginLoader loader(file);
    // Qt's widgets do not survive being unloaded and loaded again.
    loader.setLoadHints(QLibrary::PreventUnloadHint);
    auto* module = qobject_cast<charts::IxChartsModule*>(loader.instance());
    if (module)
        return module->start();
    reason = QStringLiteral("the module that draws it cannot be used: %1")
                 .arg(loader.isLoaded() ? QStringLiteral("it belongs to another version") : loader.errorString());
    return nullptr;
}
