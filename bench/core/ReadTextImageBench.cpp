#include <orn/FileImageLoader.h>

#include "PlainFile.h"

#include <QFileInfo>
#include <QTemporaryDir>

namespace {

/** A text image of a million numbers of @p digits digits; the counter is the time against a plain read of its bytes. */
void readTextImage(benchmark::State& state)
{
    constexpr int width = 1000;
    constexpr int height = 1000;
    const auto digits = static_cast<int>(state.range(0));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.txt"));
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    quint32 random = 1;
    for (int i = 1; i <= width * height; ++i) {
        random = random * 1664525 + 1013904223;
        file.write(QByteArray::number(random / 65536.0, 'g', digits) + (i % width == 0 ? '\n' : ','));
    }
    file.close();
    const auto read = [&path] {
        ep::CxScopedBuffer image;
        orn::FileImageLoader loader;
        return loader.loadImage({{QStringLiteral("filename"), path}}, image.image(), nullptr);
    };
    const auto readPlainly = [&path] {
        QFile plain(path);
        const bool isOpen = plain.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        benchmark::DoNotOptimize(plain.readAll().size());
        return isOpen;
    };
    benching::againstPlain(state, "vs_plain_read", read, readPlainly);
    state.counters["numbers"] = benchmark::Counter(width * height, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["MB"] = static_cast<double>(QFileInfo(path).size()) / 1e6;
}

}  // namespace

BENCHMARK(readTextImage)->ArgName("digits")->Arg(4)->Arg(17)->UseManualTime()->Unit(benchmark::kMillisecond);
