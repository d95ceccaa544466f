// The keys of a run, sorted.
#include <random>

#include <benchmark/benchmark.h>

#include "bam/runs.h"
#include "reads.h"

namespace readkit::kernels {
namespace {

void sort_run(benchmark::State& state) {
  constexpr std::size_t kRecords = 100000;
  RunLimits limits;
  limits.bytes = std::uint64_t{1} << 30;
  RunBuffer run(limits);
  for (const Alignment& record : alignments(kRecords)) run.add(record);
  std::mt19937 random(7);
  for (auto _ : state) {
    state.PauseTiming();
    run.shuffle(random);
    state.ResumeTiming();
    run.sort();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRecords));
}
BENCHMARK(sort_run);

}  // namespace
}  // namespace readkit::kernels
