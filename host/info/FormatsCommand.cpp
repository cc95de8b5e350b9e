#include "FormatsCommand.h"

#include "CommonOptions.h"
#include "Json.h"
#include "Output.h"
#include "TextTable.h"

#include <ep/epcore.h>

#include <QJsonArray>

#include <memory>

namespace {

void writeJson(const QList<ep::SxFormatInfo>& formats, Output& output)
{
    QJsonArray list;
    for (const ep::SxFormatInfo& format : formats) {
        list.append(QJsonObject{{QStringLiteral("filter"), format.filter},
                                {QStringLiteral("suffixes"), QJsonArray::fromStringList(format.suffixes)},
                                {QStringLiteral("reads"), format.reads},
                                {QStringLiteral("writes"), format.writes},
                                {QStringLiteral("rank"), format.rank},
                                {QStringLiteral("types"), format.types},
                                {QStringLiteral("channels"), format.channels},
                                {QStringLiteral("mosaic"), format.mosaic},
                                {QStringLiteral("metadata"), format.metadata},
                                {QStringLiteral("provider"), format.provider}});
    }
    QJsonObject answer = jsonAnswer(QStringLiteral("formats"));
    answer[QStringLiteral("formats")] = list;
    output.json(answer);
}

/** "Camera RAW image" of "Camera RAW image (*.dng *.cr2)". */
QString nameOf(const ep::SxFormatInfo& format)
{
    return format.filter.section(QStringLiteral(" ("), 0, 0);
}

/** The plug-in or class that serves a format, in short. */
QString providerOf(const ep::SxFormatInfo& format)
{
    const QString prefix = QStringLiteral("epformat_");
    return format.provider.startsWith(prefix) ? format.provider.mid(prefix.size()) : format.provider;
}

void writeText(const QList<ep::SxFormatInfo>& formats, Output& output)
{
    constexpr int longestCell = 12;
    TextTable table({QStringLiteral("format"), QStringLiteral("use"), QStringLiteral("types"),
                     QStringLiteral("channels"), QStringLiteral("mosaic"), QStringLiteral("metadata"),
                     QStringLiteral("plug-in"), QStringLiteral("suffixes")});
    const auto yesOrNo = [](bool yes) { return yes ? QStringLiteral("yes") : QStringLiteral("no"); };
    for (const ep::SxFormatInfo& format : formats) {
        const QString use = QLatin1String(format.reads ? "r" : "") + QLatin1String(format.writes ? "w" : "");
        const QString suffixes = QLatin1Char('.') + format.suffixes.join(QStringLiteral(" ."));
        table.addWrappedRow({nameOf(format), use, format.types, format.channels, yesOrNo(format.mosaic),
                             yesOrNo(format.metadata), providerOf(format), suffixes},
                            longestCell);
    }
    table.write(output);
}

}  // namespace

void addFormatsCommand(const Command& program)
{
    auto json = std::make_shared<bool>(false);
    const Command command =
        program.subcommand("formats", "List the file formats that can be read and written",
                           "  orn formats\n"
                           "  orn formats --json\n"
                           "\n"
                           "use: r reads, w writes; types, channels, mosaic and metadata: what a file of this\n"
                           "format keeps. Of several formats with one suffix, that of the highest rank\n"
                           "(see --json) is tried first.");
    addJsonFlag(command, *json);
    command.setWork([json](Output& output) {
        const QList<ep::SxFormatInfo> formats = ep::CxImageFormatManager::instance()->formats();
        if (*json)
            writeJson(formats, output);
        else
            writeText(formats, output);
        return ExitCode::Done;
    });
}
