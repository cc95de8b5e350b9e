#include "FormatFilter.h"

#include <algorithm>

namespace ep {

namespace {

const QLatin1String anySuffix("*");

}  // namespace

QStringList filterSuffixes(const QString& filter)
{
    const int open = filter.lastIndexOf(QLatin1Char('('));
    const int close = filter.indexOf(QLatin1Char(')'), open);
    if (open < 0 || close < 0)
        return {};
    QStringList suffixes;
    const QString patterns = filter.mid(open + 1, close - open - 1).toLower().simplified();
    for (const QString& pattern : patterns.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString suffix = pattern.startsWith(QLatin1String("*.")) ? pattern.mid(2) : pattern;
        if (!suffix.isEmpty() && !suffixes.contains(suffix))
            suffixes.append(suffix);
    }
    return suffixes;
}

bool hasSuffix(const QString& fileName, const QStringList& suffixes)
{
    return std::any_of(suffixes.cbegin(), suffixes.cend(), [&](const QString& suffix) {
        return suffix == anySuffix || fileName.endsWith(QLatin1Char('.') + suffix);
    });
}

}  // namespace ep
