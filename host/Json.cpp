#include "Json.h"

#include <QJsonArray>

#include <cmath>

namespace {

QString kindName(ep::ExFileError kind)
{
    switch (kind) {
    case ep::ExFileError::None: break;
    case ep::ExFileError::Unreadable: return QStringLiteral("unreadable");
    case ep::ExFileError::Unsupported: return QStringLiteral("unsupported");
    case ep::ExFileError::TooLarge: return QStringLiteral("too large");
    case ep::ExFileError::Unwritable: return QStringLiteral("unwritable");
    case ep::ExFileError::Refused: return QStringLiteral("refused");
    }
    return QStringLiteral("none");
}

}  // namespace

QJsonObject jsonAnswer(const QString& command)
{
    return {{QStringLiteral("schema"), 1}, {QStringLiteral("command"), command}};
}

QJsonValue jsonNumber(double value)
{
    if (std::isnan(value))
        return QJsonValue::Null;
    if (std::isinf(value))
        return value > 0 ? QStringLiteral("Infinity") : QStringLiteral("-Infinity");
    return value;
}

QJsonValue jsonNumbers(const QVector<double>& values)
{
    QJsonArray array;
    for (double value : values)
        array.append(jsonNumber(value));
    return array;
}

QJsonObject jsonError(const ep::SxFileError& error)
{
    return {{QStringLiteral("kind"), kindName(error.kind)}, {QStringLiteral("reason"), error.reason}};
}
