/**
 * @file
 * The module, loaded as the program loads it.
 */
#pragma once

#include <charts/IxCharts.h>

#include <QPluginLoader>

namespace testing {

/** Something that draws; null when the module cannot be loaded. One at a time. */
inline std::unique_ptr<charts::IxCharts> startCharts()
{
    QPluginLoader loader(QStringLiteral(ORN_CHARTS_MODULE));
    loader.setLoadHints(QLibrary::PreventUnloadHint);
    auto* module = qobject_cast<charts::IxChartsModule*>(loader.instance());
    return module ? module->start() : nullptr;
}

}  // namespace testing
