#include "CriticalLog.h"

#include <QDebug>
#include <QMessageLogger>

namespace orn {
namespace matlab {

void logCritical(const QString& message)
{
    QMessageLogger().critical() << "ERROR"
                                << "|" << QStringLiteral("%1").arg(message);
}

}  // namespace matlab
}  // namespace orn
