// An index: bins of regions, and the chunks that hold them.
#include <vector>

#include <benchmark/benchmark.h>

#include "bam/bai.h"
#include "reads.h"

namespace readkit::kernels {
namespace {

constexpr int kRegion = 10000;
// Regions start here and there, within the part of the reference that has records.
constexpr int kStep = 7919;
constexpr int kLast = 9000000;

void bins_of_region(benchmark::State& state) {
  int begin = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(reg2bins(begin, begin + kRegion));
    begin = (begin + kStep) % kLast;
  }
}
BENCHMARK(bins_of_region);

void find_chunks(benchmark::State& state) {
  BAI index;
  std::uint64_t offset = 0;
  index.init(offset);
  // As if every block had a hundred records.
  std::uint64_t number = 0;
  for (const Alignment& record : alignments(100000)) {
    ++number;
    offset = (number / 100 * 20000) << 16U | (number % 100 * 300);
    index.add(record, offset);
  }
  index.finish(offset);
  int begin = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(index.find_chunks(0, begin, begin + kRegion));
    begin = (begin + kStep) % kLast;
  }
}
BENCHMARK(find_chunks);

}  // namespace
}  // namespace readkit::kernels
