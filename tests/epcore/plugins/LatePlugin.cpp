// A format plug-in for tests: it says aloud when it is loaded, and whether it can be used is up to the process.

#include "DumpFormat.h"

#include <QtGlobal>

using Formats = QList<QPair<QString, int>>;

/** Reads what the plug-in declares. */
class LateLoader : public testing::DumpLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Late Loader")
public:
    Q_INVOKABLE LateLoader() = default;
    Formats formats() const override { return {{QStringLiteral("Late image (*.late *.both)"), 4}}; }
};

/** Writes it. */
class LateSaver : public testing::DumpSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Late Saver")
public:
    Q_INVOKABLE LateSaver() = default;
    Formats formats() const override { return {{QStringLiteral("Late image (*.late *.both)"), 4}}; }
};

class LatePlugin : public ep::CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "late.json")
public:
    LatePlugin() { qInfo("the late plug-in is loaded"); }
    bool init() override
    {
        ep::CxRtti* registry = ep::CxRtti::instance();
        registry->registerClass(this, LateLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
        registry->registerClass(this, LateSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
        return true;
    }
};

#include "LatePlugin.moc"
