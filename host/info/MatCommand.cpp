#include "MatCommand.h"

#include "CommonOptions.h"
#include "Json.h"
#include "Output.h"
#include "TextTable.h"

#include <orn/orn_core.h>

#include <QJsonArray>

#include <memory>

namespace {

using orn::matlab::MatVariable;

struct ListOptions {
    QString file;
    bool json = false;
};

QString sizeText(const MatVariable& variable)
{
    QStringList sizes;
    for (quint64 size : variable.dimensions)
        sizes << QString::number(size);
    return sizes.join(QStringLiteral(" x "));
}

void writeJson(const QString& file, const QVector<MatVariable>& variables, Output& output)
{
    QJsonArray list;
    for (const MatVariable& variable : variables) {
        QJsonArray dimensions;
        for (quint64 size : variable.dimensions)
            dimensions.append(static_cast<double>(size));
        list.append(QJsonObject{{QStringLiteral("name"), variable.name},
                                {QStringLiteral("class"), variable.className},
                                {QStringLiteral("dimensions"), dimensions},
                                {QStringLiteral("complex"), variable.isComplex},
                                {QStringLiteral("role"), variable.role.isEmpty() ? QJsonValue() : variable.role}});
    }
    QJsonObject answer = jsonAnswer(QStringLiteral("mat list"));
    answer[QStringLiteral("file")] = file;
    answer[QStringLiteral("variables")] = list;
    output.json(answer);
}

void writeText(const QVector<MatVariable>& variables, Output& output)
{
    TextTable table(
        {QStringLiteral("name"), QStringLiteral("class"), QStringLiteral("size"), QStringLiteral("read as")});
    for (const MatVariable& variable : variables) {
        const QString className =
            variable.isComplex ? variable.className + QStringLiteral(" (complex)") : variable.className;
        table.addRow({variable.name, className, sizeText(variable),
                      variable.role.isEmpty() ? QStringLiteral("-") : variable.role});
    }
    table.write(output);
}

ExitCode list(const ListOptions& options, Output& output)
{
    const QString& file = options.file;
    output.setSubject(file);
    QVector<MatVariable> variables;
    ep::SxFileError error;
    if (!orn::matlab::ListMatVariables(file, variables, error)) {
        output.problem(file, error.reason);
        if (options.json) {
            QJsonObject answer = jsonAnswer(QStringLiteral("mat list"));
            answer[QStringLiteral("file")] = file;
            answer[QStringLiteral("error")] = jsonError(error);
            output.json(answer);
        }
        return exitCodeOfInput(error.kind);
    }
    if (options.json)
        writeJson(file, variables, output);
    else
        writeText(variables, output);
    return ExitCode::Done;
}

}  // namespace

void addMatCommand(const Command& program)
{
    const Command mat = program.subcommand("mat", "Look into MAT files", "  orn mat list image.mat");

    auto options = std::make_shared<ListOptions>();
    const Command command = mat.subcommand("list", "List the variables of a MAT file and what each would be read as",
                                           "  orn mat list image.mat\n"
                                           "  orn mat list --json image.mat");
    command.positional("FILE", options->file, "The MAT file").required();
    addJsonFlag(command, options->json);
    command.setWork([options](Output& output) { return list(*options, output); });
}
