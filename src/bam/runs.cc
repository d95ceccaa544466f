#include "bam/runs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <numeric>

#include "bam/bam.h"
#include "core/errors.h"
#include "core/file.h"
#include "core/memory.h"
#include "core/monitor.h"

namespace readkit {
namespace {

constexpr std::uint64_t kLeastBytes = std::uint64_t{256} << 20;

constexpr int kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;

// Records come in an order that memory does not know: ask for one while others are written.
constexpr std::size_t kPrefetchDistance = 8;
constexpr std::size_t kPrefetchBytes = 384;
constexpr std::size_t kCacheLine = 64;

void prefetch(const std::uint8_t* record) {
  for (std::size_t at = 0; at < kPrefetchBytes; at += kCacheLine) __builtin_prefetch(record + at);
}

// Fills an empty run; false when the source ends with it. `carried` tells whether the current
// record did not fit into this run and begins the next one.
bool fill(RunBuffer& run, const RunSource& source, bool& carried) {
  if (carried) run.add(source.current);
  carried = false;
  while (!run.full()) {
    if (!source.next()) return false;
    carried = !run.add(source.current);
    if (carried) return true;
  }
  return true;
}

}  // namespace

RunLimits RunLimits::for_this_machine() {
  RunLimits limits;
  // A power of two changes seldom with what else the machine does, and so do the runs.
  limits.bytes = std::max(std::bit_floor(available_memory() / 2), kLeastBytes);
  return limits;
}

RunLimits RunLimits::for_any_machine() {
  RunLimits limits;
  limits.bytes = kLeastBytes;
  return limits;
}

std::uint64_t RunBuffer::bytes_with(std::size_t size) const {
  const bool has_room = !pieces_.empty() && pieces_.back().size - used_ >= size;
  const std::uint64_t more = has_room ? 0 : std::max(size, kPieceSize);
  return piece_bytes_ + more + (handles_.size() + 1) * kHandleBytes;
}

std::uint8_t* RunBuffer::room_for(std::size_t size) {
  if (pieces_.empty() || pieces_.back().size - used_ < size) {
    const std::size_t piece_size = std::max(size, kPieceSize);
    pieces_.push_back({make_large_memory(piece_size), piece_size});
    piece_bytes_ += piece_size;
    used_ = 0;
  }
  std::uint8_t* const room = pieces_.back().bytes.get() + used_;
  used_ += size;
  return room;
}

bool RunBuffer::add(const Alignment& record) {
  const std::int32_t block_size = record.block_size();
  const std::size_t size = sizeof block_size + static_cast<std::size_t>(block_size);
  if (!handles_.empty() && bytes_with(size) > limits_.bytes) return false;
  std::uint8_t* const stored = room_for(size);
  store(stored, block_size);
  std::memcpy(stored + sizeof block_size, record.data(), size - sizeof block_size);
  handles_.push_back({record.order_key(), stored});
  return true;
}

void RunBuffer::clear() {
  handles_.clear();
  pieces_.clear();
  piece_bytes_ = used_ = 0;
}

// A radix sort from the lowest digit of the key to the highest: stable, and a digit that all keys
// share costs no pass. When it may not go on, what comes next is a write that fails.
void RunBuffer::sort() {
  const auto by_key = [](const Handle& a, const Handle& b) { return a.key < b.key; };
  if (std::is_sorted(handles_.begin(), handles_.end(), by_key)) return;
  std::vector<Handle> sorted(handles_.size());
  for (int shift = 0; shift < 64; shift += kDigitBits) {
    if (!Transfers::allow_work()) return;
    const auto digit = [shift](const Handle& h) { return h.key >> shift & (kDigits - 1); };
    std::array<std::size_t, kDigits> places{};
    for (const Handle& handle : handles_) ++places[digit(handle)];
    if (places[digit(handles_.front())] == handles_.size()) continue;
    std::exclusive_scan(places.begin(), places.end(), places.begin(), std::size_t{0});
    for (const Handle& handle : handles_) sorted[places[digit(handle)]++] = handle;
    handles_.swap(sorted);
  }
}

void RunBuffer::shuffle(std::mt19937& random) {
  std::shuffle(handles_.begin(), handles_.end(), random);
}

template <typename Take>
bool RunBuffer::for_each(const Take& take) const {
  for (std::size_t i = 0; i < handles_.size(); ++i) {
    if (i + kPrefetchDistance < handles_.size()) prefetch(handles_[i + kPrefetchDistance].record);
    const std::uint8_t* const record = handles_[i].record;
    if (!take(record, static_cast<std::size_t>(load<std::int32_t>(record)))) return false;
  }
  return true;
}

bool RunBuffer::visit(const std::function<bool(const Alignment&)>& take) const {
  Alignment scratch;
  return for_each([&](const std::uint8_t* record, std::size_t size) {
    std::memcpy(scratch.resize(static_cast<int>(size)), record + sizeof(std::int32_t), size);
    return take(scratch);
  });
}

bool RunBuffer::write(BAM& out) const {
  return for_each([&out](const std::uint8_t* record, std::size_t size) {
    return out.write(record, sizeof(std::int32_t) + size);
  });
}

UString tmp_bamname(const UString& base, int n) { return base + u"." + to_ustring(n) + u".bam"; }

UString sorted_base(const UString& name) {
  constexpr std::u16string_view kSuffix = u".bam";
  const bool named_bam = name.ends_with(kSuffix);
  return name.substr(0, name.size() - (named_bam ? kSuffix.size() : 0)) + u".sorted";
}

void refuse_to_overwrite(const std::vector<UString>& files, const UString& out) {
  const auto is_out = [&](const UString& file) { return is_same_file(Path(file), Path(out)); };
  if (std::any_of(files.begin(), files.end(), is_out)) throw CannotOpenOutFile(out);
}

void write_bam(const UString& name, const BamHeader& header, const RunBuffer& run,
               Packing packing) {
  BAM out(Path(name), "w");
  out.set_packing(packing);
  if (!out.write(header) || !run.write(out) || out.close() != 0) throw FileWrite(name);
}

void process_runs(const RunSource& source, const UString& base, const RunLimits& limits,
                  const RunSteps& steps) {
  std::vector<UString> names;
  {
    bool carried = false;
    RunBuffer run(limits);
    for (bool more = true; more;) {
      more = fill(run, source, carried);
      steps.arrange(run);
      if (!more && names.empty()) return steps.write_whole(run);
      UString name = tmp_bamname(base, static_cast<int>(names.size()));
      refuse_to_overwrite({source.path.text()}, name);
      refuse_to_overwrite(names, name);
      write_bam(name, source.header, run, steps.temporaries);
      names.push_back(std::move(name));
      run.clear();
    }
  }
  steps.join(names);
  for (const UString& name : names) remove_file(Path(name));
}

}  // namespace readkit
