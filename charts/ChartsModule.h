/**
 * @file
 * The entry of the module.
 */
#pragma once

#include <charts/IxCharts.h>

#include <QObject>

namespace charts {

/** What the plug-in loader finds. */
class ChartsModule : public QObject, public IxChartsModule {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ChartsModule_iid)
    Q_INTERFACES(charts::IxChartsModule)
public:
    std::unique_ptr<IxCharts> start() override;
};

}  // namespace charts
