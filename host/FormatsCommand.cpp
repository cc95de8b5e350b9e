#include "FormatsCommand.h"

#include "Json.h"
#include "Output.h"
#include "TextTable.h"

#include <ep/epcore.h>

#include <CLI/CLI.hpp>

#include <QJsonArray>

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

/** The suffixes in lines that fit beside the other columns. */
QStringList suffixLines(const QStringList& suffixes)
{
    constexpr int longest = 32;
    QStringList lines{QString()};
    for (const QString& suffix : suffixes) {
        if (lines.last().size() + suffix.size() > longest)
            lines << QString();
        lines.last() += (lines.last().isEmpty() ? QStringLiteral(".") : QStringLiteral(" .")) + suffix;
    }
    return lines;
}

void writeText(const QList<ep::SxFormatInfo>& formats, Output& output)
{
    TextTable table({QStringLiteral("format"), QStringLiteral("reads"), QStringLiteral("writes"),
                     QStringLiteral("rank"), QStringLiteral("suffixes"), QStringLiteral("provider")});
    const auto yesOrNo = [](bool yes) { return yes ? QStringLiteral("yes") : QStringLiteral("no"); };
    for (const ep::SxFormatInfo& format : formats) {
        const QStringList suffixes = suffixLines(format.suffixes);
        table.addRow({nameOf(format), yesOrNo(format.reads), yesOrNo(format.writes), QString::number(format.rank),
                      suffixes.first(), format.provider});
        for (const QString& line : suffixes.mid(1))
            table.addRow({QString(), QString(), QString(), QString(), line, QString()});
    }
    table.write(output);
}

}  // namespace

void addFormatsCommand(CLI::App& program, Output& output, ExitCode&)
{
    auto json = std::make_shared<bool>(false);
    CLI::App* command = addCommand(program, "formats", "List the file formats that can be read and written",
                                   "  orn formats\n"
                                   "  orn formats --json\n"
                                   "\n"
                                   "Of several formats with one suffix, that of the highest rank is tried first.");
    addJsonFlag(*command, *json);
    command->callback([json, &output] {
        const QList<ep::SxFormatInfo> formats = ep::CxImageFormatManager::instance()->formats();
        if (*json)
            writeJson(formats, output);
        else
            writeText(formats, output);
    });
}
