#include "support/index_model.h"

#include <algorithm>
#include <limits>
#include <map>
#include <stdexcept>
#include <unordered_map>

#include "support/bgzf_builder.h"
#include "support/reference_decoder.h"

namespace readkit {
namespace {

constexpr std::uint64_t kUnset = ~std::uint64_t{0};
constexpr std::int64_t kLimit = std::int64_t{1} << 29;
constexpr std::int64_t kWindow = 16384;
constexpr int kFirstBins[] = {0, 1, 9, 73, 585, 4681};

// The order of the bins in a file is that of a hash map whose hash is the number itself.
struct Identity {
  std::size_t operator()(std::uint32_t number) const noexcept { return number; }
};
using BinMap = std::unordered_map<std::uint32_t, std::vector<ModelChunk>, Identity>;

// ---- The file ------------------------------------------------------------------------------

class Numbers {
 public:
  explicit Numbers(std::string_view bytes) : bytes_(bytes) {}

  std::uint64_t take(std::size_t size) {
    if (bytes_.size() < size) throw std::runtime_error("the index ends early");
    std::uint64_t value = 0;
    for (std::size_t i = size; i-- > 0;) value = value << 8 | static_cast<std::uint8_t>(bytes_[i]);
    bytes_.remove_prefix(size);
    return value;
  }
  std::size_t left() const { return bytes_.size(); }

 private:
  std::string_view bytes_;
};

// ---- Building ------------------------------------------------------------------------------

// Neighbouring records of one reference (`same_bin`: and of one stored bin).
struct Run {
  std::size_t first;
  std::size_t last;
};

std::vector<Run> runs_of(const std::vector<ModelRecord>& records, bool same_bin) {
  std::vector<Run> runs;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const bool joins = i > 0 && records[i].ref == records[i - 1].ref &&
                       (!same_bin || records[i].bin == records[i - 1].bin);
    if (joins) {
      runs.back().last = i;
    } else {
      runs.push_back({i, i});
    }
  }
  return runs;
}

std::int64_t floor_div(std::int64_t a, std::int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

// The first fault, by the place of the record that has it.
std::string find_error(const std::vector<ModelRecord>& records) {
  bool unplaced_seen = false;
  std::int64_t kept_pos = -1;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const ModelRecord& r = records[i];
    if (r.ref < 0) {
      unplaced_seen = true;
      continue;
    }
    if (r.pos >= kLimit || r.pos + r.length >= kLimit) return "PositionTooBig " + r.name;
    const int before = i == 0 ? -1 : records[i - 1].ref;
    if (r.ref == before) {
      if (r.pos < kept_pos) return "BAMUnsorted";
    } else if (unplaced_seen || (r.ref != 0 && before > r.ref)) {
      return "BAMUnsorted";
    }
    const bool is_mapped = (r.flag & 4) == 0;
    kept_pos = is_mapped ? std::max(r.pos, 0) : r.pos;
  }
  return {};
}

struct LinearIndex {
  std::vector<std::uint64_t> entries;
  std::int64_t used = 0;

  void add(const ModelRecord& r) {
    const std::int64_t first = std::max<std::int64_t>(floor_div(r.pos, kWindow), 0);
    const std::int64_t last = floor_div(r.pos + r.length - 1, kWindow);
    const auto length = static_cast<std::int64_t>(entries.size());
    if (last >= length) {
      entries.resize(static_cast<std::size_t>(std::max(2 * length, last + 1)), kUnset);
      for (std::int64_t w = first; w <= last; ++w) {
        auto& entry = entries[static_cast<std::size_t>(w)];
        if (entry == kUnset) entry = r.beg_offset;
      }
    }
    used = std::max(used, last + 1);
  }

  std::vector<std::uint64_t> finished() const {
    std::vector<std::uint64_t> all = entries;
    all.resize(static_cast<std::size_t>(used), kUnset);
    std::replace(all.begin(), all.end(), kUnset, std::uint64_t{0});
    return all;
  }
};

bool by_begin(const ModelChunk& a, const ModelChunk& b) { return a.first < b.first; }

void fold(BinMap& bins) {
  for (int level = 5; level >= 1; --level) {
    std::vector<std::uint32_t> numbers;
    for (const auto& [number, chunks] : bins) numbers.push_back(number);
    for (const std::uint32_t number : numbers) {
      const bool examined =
          number != kModelPseudoBin && number >= static_cast<std::uint32_t>(kFirstBins[level]);
      if (!examined) continue;
      std::vector<ModelChunk> chunks = bins.at(number);
      if (level < 5) std::sort(chunks.begin(), chunks.end(), by_begin);
      const std::uint64_t span = (chunks.back().second >> 16) - (chunks.front().first >> 16);
      const std::uint32_t parent = (number - 1) / 8;
      if (span >= 65536 || bins.count(parent) == 0) continue;
      bins[parent].insert(bins[parent].end(), chunks.begin(), chunks.end());
      bins.erase(number);
    }
  }
  if (bins.count(0) != 0) std::sort(bins[0].begin(), bins[0].end(), by_begin);
}

struct Builder {
  std::vector<BinMap> bins;
  std::vector<LinearIndex> linear;

  void reach(int ref) {
    const auto wanted = static_cast<std::size_t>(ref) + 1;
    if (bins.size() >= wanted) return;
    bins.resize(wanted);
    linear.resize(wanted);
  }

  // All records of one visit to a reference: its runs become chunks, then comes its metadata.
  void add_visit(const std::vector<ModelRecord>& records) {
    const int ref = records.front().ref;
    if (ref < 0) return;
    reach(ref);
    BinMap& map = bins[static_cast<std::size_t>(ref)];
    for (const Run& run : runs_of(records, true)) {
      map[records[run.first].bin].emplace_back(records[run.first].beg_offset,
                                               records[run.last].end_offset);
    }
    std::uint64_t mapped = 0;
    for (const ModelRecord& r : records) {
      if ((r.flag & 4) != 0) continue;
      ++mapped;
      linear[static_cast<std::size_t>(ref)].add(r);
    }
    map[kModelPseudoBin].emplace_back(records.front().beg_offset, records.back().end_offset);
    map[kModelPseudoBin].emplace_back(mapped, records.size() - mapped);
  }
};

// ---- Looking up ------------------------------------------------------------------------------

// Whether the positions of a bin meet [beg, end), all of whose positions lie below the limit.
bool is_candidate(std::uint32_t number, std::int64_t beg, std::int64_t end) {
  if (number == 0) return true;
  for (int level = 5; level >= 1; --level) {
    const auto first = static_cast<std::uint32_t>(kFirstBins[level]);
    if (number < first) continue;
    const std::int64_t size = kLimit >> (3 * level);
    const std::int64_t low = (number - first) * size;
    return low <= std::min(end, kLimit) - 1 && beg < low + size && low < kLimit;
  }
  return false;
}

std::vector<ModelChunk> merged(std::vector<ModelChunk> chunks) {
  std::sort(chunks.begin(), chunks.end());
  std::vector<ModelChunk> all;
  for (const ModelChunk& chunk : chunks) {
    if (!all.empty() && all.back().second >> 16 >= chunk.first >> 16) {
      all.back().second = std::max(all.back().second, chunk.second);
    } else {
      all.push_back(chunk);
    }
  }
  return all;
}

bool meets(const ModelRecord& r, int ref, int beg, int end) {
  if (r.ref != ref) return false;
  return r.pos == beg || (beg <= r.pos && r.pos < end) || (r.pos < beg && beg < r.end);
}

// ---- The records of a file -------------------------------------------------------------------

// What a reader tells that goes through the data of a file's blocks.
class Places {
 public:
  explicit Places(const std::vector<DecodedBlock>& blocks) : blocks_(blocks) {}

  // When it has taken all before `place`, which never goes back.
  std::uint64_t told_at(std::size_t place) {
    while (place > begin_ + blocks_.at(block_).data.size()) {
      begin_ += blocks_[block_].data.size();
      ++block_;
    }
    const DecodedBlock& block = blocks_[block_];
    if (place < begin_ + block.data.size()) return virtual_offset(block.offset, place - begin_);
    return virtual_offset(block.offset + block.bytes.size(), 0);
  }

 private:
  const std::vector<DecodedBlock>& blocks_;
  std::size_t block_ = 0;
  std::size_t begin_ = 0;  // of the block's data
};

std::size_t number_at(std::string_view data, std::size_t place, std::size_t size) {
  return Numbers(data.substr(place)).take(size);
}
int int_at(std::string_view data, std::size_t place) {
  return static_cast<int>(number_at(data, place, 4));
}

std::size_t records_begin(std::string_view data) {
  std::size_t place = 8 + number_at(data, 4, 4);
  std::size_t references = number_at(data, place, 4);
  for (place += 4; references > 0; --references) place += 8 + number_at(data, place, 4);
  return place;
}

// A record from its length word on.
ModelRecord fixed_fields(std::string_view bytes) {
  ModelRecord r;
  r.ref = int_at(bytes, 4);
  r.pos = int_at(bytes, 8);
  r.bin = static_cast<std::uint32_t>(number_at(bytes, 14, 2));
  r.flag = static_cast<int>(number_at(bytes, 18, 2));
  r.length = int_at(bytes, 20);
  const std::size_t name_size = number_at(bytes, 12, 1);
  r.name = bytes.substr(36, name_size - 1);
  const std::size_t ops = number_at(bytes, 16, 2);
  std::int64_t end = std::int64_t{r.pos} + (ops == 0 ? 1 : 0);
  for (std::size_t i = 0; i < ops; ++i) {
    const std::size_t op = number_at(bytes, 36 + name_size + 4 * i, 4);
    const std::size_t code = op & 15;
    const bool consumes = code == 0 || code == 2 || code == 3 || code == 7 || code == 8;
    if (consumes) end += static_cast<std::int64_t>(op >> 4);
  }
  r.end = static_cast<int>(std::min<std::int64_t>(end, std::numeric_limits<int>::max()));
  return r;
}

}  // namespace

std::vector<ModelChunk> ModelReference::chunks(std::uint32_t number) const {
  for (const ModelBin& bin : bins) {
    if (bin.number == number) return bin.chunks;
  }
  return {};
}

std::vector<std::uint32_t> ModelReference::numbers() const {
  std::vector<std::uint32_t> all;
  for (const ModelBin& bin : bins) all.push_back(bin.number);
  std::sort(all.begin(), all.end());
  return all;
}

std::string encode_bai(const ModelIndex& index) {
  std::string bytes = "BAI\1" + little_endian(index.refs.size(), 4);
  for (const ModelReference& ref : index.refs) {
    bytes += little_endian(ref.bins.size(), 4);
    for (const ModelBin& bin : ref.bins) {
      bytes += little_endian(bin.number, 4) + little_endian(bin.chunks.size(), 4);
      for (const auto& [beg, end] : bin.chunks) {
        bytes += little_endian(beg, 8) + little_endian(end, 8);
      }
    }
    bytes += little_endian(ref.linear.size(), 4);
    for (const std::uint64_t entry : ref.linear) bytes += little_endian(entry, 8);
  }
  if (index.n_no_coor) bytes += little_endian(*index.n_no_coor, 8);
  return bytes;
}

ModelIndex decode_bai(std::string_view file) {
  if (file.substr(0, 4) != "BAI\1") throw std::runtime_error("not an index");
  Numbers in(file.substr(4));
  ModelIndex index;
  index.refs.resize(in.take(4));
  for (ModelReference& ref : index.refs) {
    ref.bins.resize(in.take(4));
    for (ModelBin& bin : ref.bins) {
      bin.number = static_cast<std::uint32_t>(in.take(4));
      bin.chunks.resize(in.take(4));
      for (auto& [beg, end] : bin.chunks) {
        beg = in.take(8);
        end = in.take(8);
      }
    }
    ref.linear.resize(in.take(4));
    for (std::uint64_t& entry : ref.linear) entry = in.take(8);
  }
  index.n_no_coor.reset();
  if (in.left() >= 8) index.n_no_coor = in.take(8);
  return index;
}

std::vector<ModelRecord> model_records(std::string_view file) {
  const std::vector<DecodedBlock> blocks = decode_blocks(file);
  std::string data;
  for (const DecodedBlock& block : blocks) data += block.data;
  Places places(blocks);
  std::size_t place = records_begin(data);
  std::vector<ModelRecord> records;
  while (place < data.size()) {
    const std::size_t size = 4 + number_at(data, place, 4);
    ModelRecord record = fixed_fields(std::string_view(data).substr(place, size));
    record.beg_offset = places.told_at(place);
    place += size;
    record.end_offset = places.told_at(place);
    records.push_back(record);
  }
  return records;
}

ModelOutcome model_index(const std::vector<ModelRecord>& given, std::uint64_t end_offset) {
  std::vector<ModelRecord> records = given;
  if (!records.empty()) records.back().end_offset = end_offset;
  ModelOutcome outcome;
  outcome.error = find_error(records);
  if (!outcome.error.empty()) return outcome;
  Builder builder;
  std::uint64_t unplaced = 0;
  for (const Run& run : runs_of(records, false)) {
    const std::vector<ModelRecord> visit(
        records.begin() + static_cast<std::ptrdiff_t>(run.first),
        records.begin() + static_cast<std::ptrdiff_t>(run.last) + 1);
    if (visit.front().ref < 0) unplaced += visit.size();
    builder.add_visit(visit);
  }
  outcome.index.n_no_coor = unplaced;
  for (std::size_t ref = 0; ref < builder.bins.size(); ++ref) {
    fold(builder.bins[ref]);
    ModelReference out;
    for (const auto& [number, chunks] : builder.bins[ref]) out.bins.push_back({number, chunks});
    out.linear = builder.linear[ref].finished();
    outcome.index.refs.push_back(out);
  }
  return outcome;
}

ModelIndex model_complete_index(const std::vector<ModelRecord>& given, std::size_t n_ref,
                                std::uint64_t end_offset) {
  std::vector<ModelRecord> records = given;
  if (!records.empty()) records.back().end_offset = end_offset;
  ModelIndex index = {.refs = std::vector<ModelReference>(n_ref), .n_no_coor = 0};
  std::vector<std::vector<ModelRecord>> by_ref(n_ref);
  for (const ModelRecord& r : records) {
    if (r.ref >= 0) by_ref.at(static_cast<std::size_t>(r.ref)).push_back(r);
  }
  for (std::size_t ref = 0; ref < n_ref; ++ref) {
    ModelReference& out = index.refs[ref];
    std::map<std::uint32_t, std::vector<ModelChunk>> bins;
    std::map<std::int64_t, std::uint64_t> windows;  // the first record of each
    ModelChunk counts;
    for (const ModelRecord& r : by_ref[ref]) {
      // Positions before 0 count to the first window.
      const std::int64_t last_position = std::max<std::int64_t>(r.end - 1, r.pos);
      const std::int64_t first = std::max<std::int64_t>(r.pos, 0) / kWindow;
      const std::int64_t last = std::clamp<std::int64_t>(last_position, 0, kLimit - 1) / kWindow;
      for (std::int64_t w = first; w <= last; ++w) windows.emplace(w, r.beg_offset);
      const int number = slow_bin(r.pos, r.end);
      const int bin = number >= 0 && number < 37449 ? number : 0;  // else none that exists
      bins[static_cast<std::uint32_t>(bin)].emplace_back(r.beg_offset, r.end_offset);
      if (bins[kModelPseudoBin].empty()) bins[kModelPseudoBin] = {{r.beg_offset, 0}};
      bins[kModelPseudoBin].front().second = r.end_offset;
      ++((r.flag & 4) == 0 ? counts.first : counts.second);
    }
    for (const auto& [number, chunks] : bins) {
      const bool is_bin = number != kModelPseudoBin;
      out.bins.push_back({number, is_bin ? merged(chunks) : chunks});
    }
    if (!out.bins.empty()) out.bins.back().chunks.push_back(counts);
    for (const auto& [window, offset] : windows) {
      const std::uint64_t before = out.linear.empty() ? 0 : out.linear.back();
      out.linear.resize(static_cast<std::size_t>(window), before);
      out.linear.push_back(offset);
    }
  }
  for (const ModelRecord& r : records) *index.n_no_coor += r.ref < 0 ? 1 : 0;
  return index;
}

ModelOutcome model_index_of(std::string_view file) {
  return model_index(model_records(file), std::uint64_t{file.size()} << 16);
}

std::vector<ModelChunk> model_chunks(const ModelIndex& index, int ref, int beg, int end) {
  if (ref < 0 || static_cast<std::size_t>(ref) >= index.refs.size()) return {};
  const ModelReference& reference = index.refs[static_cast<std::size_t>(ref)];
  std::uint64_t lowest = 0;
  for (std::int64_t w = beg / kWindow; w <= floor_div(std::int64_t{end} - 1, kWindow); ++w) {
    if (w >= static_cast<std::int64_t>(reference.linear.size())) break;
    lowest = reference.linear[static_cast<std::size_t>(w)];
    if (lowest != 0) break;
  }
  std::vector<ModelChunk> found;
  for (const ModelBin& bin : reference.bins) {
    if (bin.number == kModelPseudoBin || !is_candidate(bin.number, beg, end)) continue;
    for (const ModelChunk& chunk : bin.chunks) {
      if (chunk.second >= lowest) found.push_back(chunk);
    }
  }
  return merged(found);
}

std::vector<std::size_t> model_query(const std::vector<ModelRecord>& records,
                                     const std::vector<ModelChunk>& chunks, int ref, int beg,
                                     int end) {
  std::vector<std::size_t> found;
  for (const auto& [from, to] : chunks) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      const bool inside = records[i].beg_offset >= from && records[i].beg_offset < to;
      if (inside && meets(records[i], ref, beg, end)) found.push_back(i);
    }
  }
  return found;
}

std::vector<std::size_t> model_scan(const std::vector<ModelRecord>& records, int ref, int beg,
                                    int end) {
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (meets(records[i], ref, beg, end)) found.push_back(i);
  }
  return found;
}

}  // namespace readkit
