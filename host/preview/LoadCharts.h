/**
 * @file
 * The module that draws pictures with text.
 */
#pragma once

#include <charts/IxCharts.h>

/** Loads the module on first use and gets it ready; null, with the reason, when it is missing or does not fit. */
std::unique_ptr<charts::IxCharts> loadCharts(QString& reason);
