#include "MatFormat.h"

#include "MatNames.h"

namespace orn {
namespace matlab {

QList<QPair<QString, int>> matFormats()
{
    return {{QStringLiteral("MATLAB matrix (*.mat)"), 1}};
}

QString matName(const QMap<QString, QVariant>& options)
{
    const QString name = options.value(QStringLiteral("matname")).toString();
    return name.isEmpty() ? defaultBaseName() : name;
}

}  // namespace matlab
}  // namespace orn
