#include "PluginsCommand.h"

#include "CommonOptions.h"
#include "Json.h"
#include "Output.h"
#include "TextTable.h"

#include <ep/epcore.h>

#include <QJsonArray>
#include <QSet>

#include <memory>

namespace {

/** One registered class. */
struct Registration {
    QString interface;
    QString displayName;
    QString className;
    QString plugin;  // class of the plug-in module; empty: comes with a library
};

QVector<Registration> registrations()
{
    QVector<Registration> list;
    const ep::CxRtti& registry = *ep::CxRtti::instance();
    for (const QString& interface : registry.interfaces()) {
        for (const QMetaObject* type : registry.classes(interface)) {
            const ep::CxPlugin* plugin = registry.plugin(*type, interface);
            const char* pluginName = plugin ? plugin->metaObject()->className() : "";
            list.append({interface, ep::CxRtti::displayName(*type), QLatin1String(type->className()),
                         QLatin1String(pluginName)});
        }
    }
    return list;
}

/** Format plug-ins whose classes come into the registry when a file first needs them. */
QStringList pluginsNotLoaded(const QVector<Registration>& registered)
{
    QSet<QString> known;
    for (const Registration& entry : registered)
        known.insert(entry.displayName);
    QStringList files;
    for (const ep::SxFormatInfo& format : ep::CxImageFormatManager::instance()->formats())
        if (!known.contains(format.provider) && !files.contains(format.provider))
            files << format.provider;
    files.sort();
    return files;
}

void writeJson(const QVector<Registration>& registered, const QStringList& notLoaded, Output& output)
{
    QJsonArray classes;
    for (const Registration& entry : registered) {
        const QJsonValue plugin = entry.plugin.isEmpty() ? QJsonValue() : QJsonValue(entry.plugin);
        classes.append(QJsonObject{{QStringLiteral("interface"), entry.interface},
                                   {QStringLiteral("name"), entry.displayName},
                                   {QStringLiteral("class"), entry.className},
                                   {QStringLiteral("plugin"), plugin}});
    }
    QJsonObject answer = jsonAnswer(QStringLiteral("plugins"));
    answer[QStringLiteral("classes")] = classes;
    answer[QStringLiteral("notLoaded")] = QJsonArray::fromStringList(notLoaded);
    output.json(answer);
}

void writeText(const QVector<Registration>& registered, const QStringList& notLoaded, Output& output)
{
    TextTable table({QStringLiteral("interface"), QStringLiteral("name"), QStringLiteral("class")});
    for (const Registration& entry : registered)
        table.addRow({entry.interface, entry.displayName, entry.className});
    table.write(output);
    if (notLoaded.isEmpty())
        return;
    output.data(QLatin1Char('\n') + output.emphasised(QStringLiteral("format plug-ins, loaded when a file needs them"))
                + QLatin1Char('\n'));
    for (const QString& file : notLoaded)
        output.data(printable(file) + QLatin1Char('\n'));
}

}  // namespace

void addPluginsCommand(const Command& program)
{
    auto json = std::make_shared<bool>(false);
    const Command command = program.subcommand("plugins", "List the registered classes by interface",
                                               "  orn plugins\n"
                                               "  orn plugins --json");
    addJsonFlag(command, *json);
    command.setWork([json](Output& output) {
        const QVector<Registration> registered = registrations();
        const QStringList notLoaded = pluginsNotLoaded(registered);
        if (*json)
            writeJson(registered, notLoaded, output);
        else
            writeText(registered, notLoaded, output);
        return ExitCode::Done;
    });
}
