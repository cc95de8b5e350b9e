#include "InputList.h"

#include "Command.h"
#include "UsageError.h"

#include <QFile>

namespace {

struct Shard {
    int index = 1;  // counted from 1
    int count = 1;
};

/** "2/8" as a shard; a count of 0 when it is none. */
Shard shardFromText(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char('/'));
    bool isNumber[2] = {false, false};
    if (parts.size() != 2)
        return {0, 0};
    const Shard shard{parts[0].toInt(&isNumber[0]), parts[1].toInt(&isNumber[1])};
    const bool isSound = isNumber[0] && isNumber[1] && shard.index >= 1 && shard.index <= shard.count;
    return isSound ? shard : Shard{0, 0};
}

}  // namespace

QString refusedShard(const QString& shard)
{
    return shardFromText(shard).count > 0 ? QString() : QStringLiteral("'%1' is not I/N with I from 1 to N").arg(shard);
}

void addInputListOptions(const Command& command, InputListOptions& options, const char* needed)
{
    const Option list = command.value("--files-from", options.listFile, "FILE",
                                      "Read the names of files from FILE too, one a line; - is standard input");
    command.flag("--null", options.endWithNul, "The names in the list end with a NUL, as after find -print0")
        .needs("--files-from");
    const Option shard =
        command
            .value("--shard", options.shard, "I/N",
                   "Of all files, serve the I-th, the (I+N)-th and so on: 1/N to N/N are the whole list")
            .accepted(refusedShard);
    if (needed) {
        list.needs(needed);
        shard.needs(needed);
    }
}

bool readInputList(const QStringList& arguments, const InputListOptions& options, QStringList& files,
                   ep::SxFileError& error)
{
    if (arguments.isEmpty() && options.listFile.isEmpty())
        throw UsageError(QStringLiteral("FILE (or --files-from) is required"));
    files << arguments;
    if (options.listFile.isEmpty())
        return true;
    const bool isStandardInput = options.listFile == QLatin1String("-");
    QFile file(options.listFile);
    if (isStandardInput ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly)) {
        error = {ep::ExFileError::Unreadable, file.errorString()};
        return false;
    }
    const QByteArray names = file.readAll();
    if (file.error() != QFile::NoError) {
        error = {ep::ExFileError::Unreadable, file.errorString()};
        return false;
    }
    for (const QByteArray& name : names.split(options.endWithNul ? '\0' : '\n'))
        if (!name.isEmpty())
            files << QString::fromUtf8(name);
    return true;
}

QStringList shardOf(const QStringList& files, const InputListOptions& options)
{
    if (options.shard.isEmpty())
        return files;
    const Shard shard = shardFromText(options.shard);
    QStringList own;
    for (int i = shard.index - 1; i < files.size(); i += shard.count)
        own << files[i];
    return own;
}
