// Records: walking along those of a block, a SAM line in and out, bases unpacked.
#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "bam/bam.h"
#include "reads.h"
#include "records/bases.h"
#include "records/sam_format.h"

namespace readkit::kernels {
namespace {

constexpr std::size_t kLines = 256;

// A BAM file that is removed in the end.
class TemporaryBam {
 public:
  TemporaryBam() {
    std::array<char, 32> name{"/tmp/readkit-kernels-XXXXXX"};
    const int file = mkstemp(name.data());
    if (file < 0) throw std::runtime_error("no temporary file");
    close(file);
    name_ = name.data();
    BAM out(path(), "w");
    out.write(header());
    out.write(alignments(kLines));
    out.close();
  }
  ~TemporaryBam() { std::remove(name_.c_str()); }
  TemporaryBam(const TemporaryBam&) = delete;
  TemporaryBam& operator=(const TemporaryBam&) = delete;

  Path path() const { return Path(UString(name_.begin(), name_.end())); }

 private:
  std::string name_;
};

// Going back within a block reads nothing, so that nothing is inflated again.
void record_walk(benchmark::State& state) {
  const TemporaryBam file;
  BGZF in(file.path());
  BamHeader read;
  const std::uint64_t first = read.read(in);
  constexpr int kWalked = 200;
  Alignment record;
  for (auto _ : state) {
    in.seek(first);
    for (int i = 0; i < kWalked; ++i) {
      if (!record.next(in) || !record.is_well_formed()) state.SkipWithError("no record");
    }
  }
  state.SetItemsProcessed(state.iterations() * kWalked);
}
BENCHMARK(record_walk);

void parse_sam_line(benchmark::State& state) {
  const std::vector<std::string> lines = sam_lines(kLines);
  const ReferenceMap refs = {{"chr1", 0}};
  Alignment record;
  for (auto _ : state) {
    for (const std::string& line : lines) record.parse(line, refs);
    benchmark::DoNotOptimize(record.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kLines));
}
BENCHMARK(parse_sam_line);

void format_sam_line(benchmark::State& state) {
  const std::vector<Alignment> records = alignments(kLines);
  std::string out;
  for (const Alignment& record : records) {
    out.resize(std::max(out.size(), max_sam_line(record, header(), true)));
  }
  for (auto _ : state) {
    for (const Alignment& record : records) {
      benchmark::DoNotOptimize(write_sam_line(record, header(), true, out.data()));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kLines));
}
BENCHMARK(format_sam_line);

void unpack_sequence(benchmark::State& state) {
  const std::vector<Alignment> records = alignments(kLines);
  std::array<char, kBases> out{};
  for (auto _ : state) {
    for (const Alignment& record : records) {
      unpack_bases(record.seq_bytes(), out.size(), out.data());
      benchmark::DoNotOptimize(out);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kLines));
}
BENCHMARK(unpack_sequence);

}  // namespace
}  // namespace readkit::kernels
