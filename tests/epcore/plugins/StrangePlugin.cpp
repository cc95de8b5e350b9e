// A plug-in for tests that is of another kind.

#include <QObject>

class StrangePlugin : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "somebody.else/1" FILE "strange.json")
};

#include "StrangePlugin.moc"
