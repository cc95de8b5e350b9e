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

void writeText(const QList<ep::SxFormatInfo>& formats, Output& output)
{
    TextTable table({QStringLiteral("format"), QStringLiteral("reads"), QStringLiteral("writes"),
                     QStringLiteral("rank"), QStringLiteral("provider")});
    const auto yesOrNo = [](bool yes) { return yes ? QStringLiteral("yes") : QStringLiteral("no"); };
    for (const ep::SxFormatInfo& format : formats)
        table.addRow({format.filter, yesOrNo(format.reads), yesOrNo(format.writes), QString::number(format.rank),
                      format.provider});
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
