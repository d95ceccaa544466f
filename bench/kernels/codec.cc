// Blocks: inflating, deflating in both flavours, the checksum.
#include <benchmark/benchmark.h>

#include "core/deflate.h"
#include "reads.h"

namespace readkit::kernels {
namespace {

constexpr std::size_t kRoom = std::size_t{1} << 17;

void count_bytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void inflate_block(benchmark::State& state) {
  const std::vector<std::uint8_t> block = block_of_records();
  std::vector<std::uint8_t> deflated(kRoom);
  deflated.resize(deflate_raw(block, deflated).value());
  std::vector<std::uint8_t> out(kRoom);
  for (auto _ : state) {
    if (inflate_raw(deflated, out, block.size()) != block.size()) state.SkipWithError("not whole");
  }
  count_bytes(state, block.size());
}
BENCHMARK(inflate_block);

template <auto Deflate>
void deflate_block(benchmark::State& state) {
  const std::vector<std::uint8_t> block = block_of_records();
  std::vector<std::uint8_t> out(kRoom);
  for (auto _ : state) {
    if (!Deflate(block, out)) state.SkipWithError("no room");
  }
  count_bytes(state, block.size());
}
BENCHMARK(deflate_block<deflate_raw>)->Name("deflate_block_fast");
BENCHMARK(deflate_block<deflate_raw_zlib>)->Name("deflate_block_exact");
BENCHMARK(deflate_block<deflate_raw_temporary>)->Name("deflate_block_temporary");

void crc32_of_block(benchmark::State& state) {
  const std::vector<std::uint8_t> block = block_of_records();
  for (auto _ : state) benchmark::DoNotOptimize(crc32_of(block));
  count_bytes(state, block.size());
}
BENCHMARK(crc32_of_block);

}  // namespace
}  // namespace readkit::kernels
