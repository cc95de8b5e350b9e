#include "Mutants.h"

#include "Fuzzing.h"

#include "Damage.h"
#include "Files.h"

#include <QDir>

namespace {

/** What the mutant of the moment is damaged by. */
testing::Damage& damage()
{
    static testing::Damage current(0);
    return current;
}

}  // namespace

size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t mostBytes)
{
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    damage().spoil(bytes);
    bytes.truncate(static_cast<int>(mostBytes));
    std::copy(bytes.begin(), bytes.end(), data);
    return static_cast<size_t>(bytes.size());
}

namespace fuzzing {

QVector<QByteArray> readCorpus(const QString& folder)
{
    QVector<QByteArray> corpus;
    const QStringList names = QDir(folder).entryList(QDir::Files, QDir::Name);
    for (const QString& name : names)
        corpus.append(testing::readFile(folder + QLatin1Char('/') + name));
    return corpus;
}

QByteArray mutant(const QVector<QByteArray>& corpus, int number)
{
    constexpr int room = 4096;
    const auto seed = static_cast<quint32>(number);
    damage() = testing::Damage(seed);
    QByteArray bytes = corpus[number % corpus.size()];
    const int size = bytes.size();
    bytes.resize(2 * size + room);
    auto* data = reinterpret_cast<uint8_t*>(bytes.data());
    const size_t changed = LLVMFuzzerCustomMutator
                               ? LLVMFuzzerCustomMutator(data, size_t(size), size_t(bytes.size()), seed)
                               : LLVMFuzzerMutate(data, size_t(size), size_t(bytes.size()));
    bytes.truncate(static_cast<int>(changed));
    return bytes;
}

}  // namespace fuzzing
