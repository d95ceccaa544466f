// A quality scan's counting, without the reading.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "quality/distribution.h"
#include "reads.h"

namespace readkit::kernels {
namespace {

void tally_reads(benchmark::State& state) {
  std::vector<std::string> bases;
  std::vector<std::string> qualities;
  for (const Alignment& record : alignments(1024)) {
    bases.push_back(record.seq_string());
    qualities.emplace_back(reinterpret_cast<const char*>(record.qual_bytes()), kBases);
  }
  encoding_t encoding;
  encoding.max_quality = 60;
  encoding.ignore_value = -1;
  distribution_t distribution;
  getEmptyDistribution(&distribution, &encoding);
  for (auto _ : state) {
    for (std::size_t i = 0; i < bases.size(); ++i) {
      updateDistribution(bases[i].data(), qualities[i].data(), kBases, &encoding, &distribution);
    }
  }
  settle(&distribution);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(bases.size()));
}
BENCHMARK(tally_reads);

}  // namespace
}  // namespace readkit::kernels
