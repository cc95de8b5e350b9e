#include <orn/Protocol.h>

#include <benchmark/benchmark.h>

#include <QStringList>

#include <chrono>

namespace {

/** One message; vs_append is the time against appending the same text to a plain list in the same run. */
void addMessage(benchmark::State& state)
{
    constexpr int batch = 1000;
    const QString message = QStringLiteral("130 of 500 files checked.");
    const auto secondsOf = [](auto&& work) {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    double adding = 0;
    double appending = 0;
    for (auto _ : state) {
        orn::Protocol protocol;
        const double taken = secondsOf([&] {
            for (int i = 0; i < batch; ++i)
                protocol.addMessage(message);
        });
        adding += taken;
        QStringList list;
        appending += secondsOf([&] {
            for (int i = 0; i < batch; ++i)
                list.append(QString(message.constData(), message.size()));
            benchmark::DoNotOptimize(list);
        });
        state.SetIterationTime(taken);
    }
    state.counters["ns_per_message"] = adding / static_cast<double>(state.iterations()) / batch * 1e9;
    state.counters["vs_append"] = adding / appending;
}

/** Asking a protocol that another thread could be writing. */
void isEmpty(benchmark::State& state)
{
    const orn::Protocol protocol;
    for (auto _ : state)
        benchmark::DoNotOptimize(protocol.isEmpty());
}

}  // namespace

BENCHMARK(addMessage)->UseManualTime();
BENCHMARK(isEmpty);
