// The lines of an input are the values of --low, --high, --low-percent, --high-percent, --valid and --shard.
#include "Fuzzing.h"

#include "InputList.h"
#include "RepairLevels.h"

#include "TestImages.h"

#include <sstream>

namespace {

QStringList planeNames(int count)
{
    QStringList names;
    for (int i = 1; i <= count; ++i)
        names << QString::number(i);
    return names;
}

/** Repairs a small image of @p channels channels by the levels of @p options. */
void repair(const RepairLevelOptions& options, ep::ExImageDataType type, int channels)
{
    QVector<orn::SxInvalidLevels> levels;
    const QString refusal = levelsOfPlanes(options, planeNames(channels), levels);
    fuzzing::outcome().add(refusal);
    if (!refusal.isEmpty())
        return;
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(type, 7, 5, channels));
    QVector<orn::SxRepairedSample> repaired;
    qint32 planeWithoutSource = -1;
    const unsigned int status =
        orn::RepairPlanes(image.image(), ep::emptyImage(), {levels, {}}, repaired, planeWithoutSource);
    fuzzing::outcome().add(static_cast<qint32>(status));
    // Which sources are drawn is a matter of chance, how many are needed is not.
    fuzzing::outcome().add(repaired.size());
    fuzzing::outcome().setAccepted();
}

void chooseShard(const QString& shard)
{
    const QString refusal = refusedShard(shard);
    fuzzing::outcome().add(refusal);
    if (!refusal.isEmpty())
        return;
    InputListOptions options;
    options.shard = shard;
    fuzzing::outcome().add(shardOf(planeNames(20), options).join(QLatin1Char(',')));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
    RepairLevelOptions options;
    QString shard;
    for (QString* value :
         {&options.low, &options.high, &options.lowPercent, &options.highPercent, &options.valid, &shard}) {
        std::string line;
        std::getline(lines, line);
        *value = QString::fromStdString(line);
    }
    chooseShard(shard);
    const QString refusal = refusedLevels(options);
    fuzzing::outcome().add(refusal);
    if (!refusal.isEmpty())
        return 0;
    repair(options, ep::DataTypeUInt8, 1);
    repair(options, ep::DataTypeInt16, 3);
    return 0;
}
