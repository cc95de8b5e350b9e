// A format plug-in for tests that finds that it cannot be used.

#include <ep/CxRtti.h>

class UnusablePlugin : public ep::CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "unusable.json")
public:
    bool init() override { return false; }
};

#include "UnusablePlugin.moc"
