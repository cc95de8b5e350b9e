/**
 * @file
 * What the MAT classes say when a file is not what it should be.
 */
#pragma once

#include <QString>

namespace orn {
namespace matlab {

/**
 * Writes one line of the items "ERROR", "|" and @p message to Qt's critical log, without source file, line or function:
 * the messages are for people who know files, not sources.
 */
void logCritical(const QString& message);

}  // namespace matlab
}  // namespace orn
