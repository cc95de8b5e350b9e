#include "RepairReport.h"

#include "Mosaic.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray csvHead(const RepairReport& report)
{
    const auto line = [](const char* key, const QByteArray& value) {
        return QByteArray("# ") + key + ": " + value + '\n';
    };
    return line("orn repair report", "1") + line("width", QByteArray::number(report.width))
           + line("height", QByteArray::number(report.height)) + line("type", report.type.toUtf8())
           + line("channels", QByteArray::number(report.channels)) + line("grid", report.grid.toUtf8())
           + line("planes", report.planes.join(QLatin1Char(',')).toUtf8())
           + line("repaired", QByteArray::number(report.samples.size())) + "x,y,plane,old,new\n";
}

QByteArray csvLine(const orn::SxRepairedSample& sample, const QByteArray& plane)
{
    return QByteArray::number(sample.x) + ',' + QByteArray::number(sample.y) + ',' + plane + ','
           + QByteArray::number(sample.oldValue) + ',' + QByteArray::number(sample.newValue) + '\n';
}

/** Everything but the samples, one key a line; the list of samples is left open. */
QByteArray jsonHead(const RepairReport& report)
{
    const QJsonObject image{
        {QStringLiteral("width"), report.width}, {QStringLiteral("height"), report.height},
        {QStringLiteral("type"), report.type},   {QStringLiteral("channels"), report.channels},
        {QStringLiteral("grid"), report.grid},   {QStringLiteral("planes"), QJsonArray::fromStringList(report.planes)}};
    return "{\"schema\": 1, \"report\": \"repair\", \"version\": 1,\n \"image\": "
           + QJsonDocument(image).toJson(QJsonDocument::Compact)
           + ",\n \"repaired\": " + QByteArray::number(report.samples.size()) + ",\n \"samples\": [";
}

QByteArray jsonLine(const orn::SxRepairedSample& sample, const QByteArray& plane)
{
    return "\n{\"x\": " + QByteArray::number(sample.x) + ", \"y\": " + QByteArray::number(sample.y) + ", \"plane\": \""
           + plane + "\", \"old\": " + QByteArray::number(sample.oldValue)
           + ", \"new\": " + QByteArray::number(sample.newValue) + '}';
}

bool isJson(const QString& file)
{
    return QFileInfo(file).suffix().toLower() == QLatin1String("json");
}

/** Writes sample by sample: a report can be larger than the image. */
bool writeSamples(const RepairReport& report, bool asJson, QFile& file)
{
    QVector<QByteArray> planes;
    for (const QString& plane : report.planes)
        planes << plane.toUtf8();
    const QByteArray head = asJson ? jsonHead(report) : csvHead(report);
    if (file.write(head) != head.size())
        return false;
    for (int i = 0; i < report.samples.size(); ++i) {
        const orn::SxRepairedSample& sample = report.samples[i];
        const QByteArray& plane = planes[sample.plane];
        QByteArray line = asJson ? jsonLine(sample, plane) : csvLine(sample, plane);
        if (asJson && i + 1 < report.samples.size())
            line += ',';
        if (file.write(line) != line.size())
            return false;
    }
    const QByteArray end = asJson ? QByteArray("\n]}\n") : QByteArray();
    return file.write(end) == end.size() && file.flush();
}

}  // namespace

QStringList planeNames(const ep::SxImageInfo& image)
{
    const int count = orn::ImagePlanes(image).size();
    const bool mosaic = isMosaic(image);
    if (mosaic && image.bayerGrid != ep::BayerGridCell)
        return {QStringLiteral("R"), QStringLiteral("G1"), QStringLiteral("B"), QStringLiteral("G2")};
    const QString name = mosaic ? QStringLiteral("place %1") : QStringLiteral("channel %1");
    QStringList names;
    for (int i = 1; i <= count; ++i)
        names << name.arg(i);
    return names;
}

RepairReport reportOn(const ep::SxImageInfo& image)
{
    RepairReport report;
    report.width = image.width;
    report.height = image.height;
    report.channels = image.channels;
    report.type = QLatin1String(ep::sampleFacts(image.dataType).name);
    report.grid = isMosaic(image) ? gridName(image) : QStringLiteral("none");
    report.planes = planeNames(image);
    return report;
}

QString differenceFrom(const RepairReport& report, const ep::SxImageInfo& image)
{
    const RepairReport own = reportOn(image);
    const auto say = [](const QString& other, const QString& mine) {
        return other == mine ? QString() : QStringLiteral("it is on an image of %1, not %2").arg(other, mine);
    };
    const auto size = [](const RepairReport& of) {
        return QStringLiteral("%1 x %2 pixels").arg(of.width).arg(of.height);
    };
    const auto channels = [](const RepairReport& of) { return QStringLiteral("%1 channels").arg(of.channels); };
    const auto grid = [](const RepairReport& of) { return QStringLiteral("grid ") + of.grid; };
    const auto planes = [](const RepairReport& of) {
        return QStringLiteral("planes ") + of.planes.join(QLatin1Char(','));
    };
    for (const QString& difference :
         {say(size(report), size(own)), say(report.type, own.type), say(channels(report), channels(own)),
          say(grid(report), grid(own)), say(planes(report), planes(own))})
        if (!difference.isEmpty())
            return difference;
    return QString();
}

bool isReportName(const QString& file)
{
    return isJson(file) || QFileInfo(file).suffix().toLower() == QLatin1String("csv");
}

bool writeRepairReport(const RepairReport& report, const QString& target, ep::CxSafeFile& file, ep::SxFileError& error)
{
    if (!file.create(error))
        return false;
    QFile temporary(file.temporaryName());
    if (temporary.open(QIODevice::WriteOnly) && writeSamples(report, isJson(target), temporary))
        return true;
    error = {ep::ExFileError::Unwritable, temporary.errorString()};
    return false;
}
