// Real files and indexes: queries through the indexes of other writers and through our own, against
// samtools and against a scan by an independent decoder.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::gateway_real_index_test {
namespace {

using Lines = std::vector<std::string>;
using List = std::vector<std::uint32_t>;

// ---- Answers -----------------------------------------------------------------------------------

// A record as the features tell it. The end is one past the last base that the CIGAR covers,
// 1-based.
struct Record {
  std::string cigar;
  std::string end;
  std::string rest;  // name, flag, position, quality, mate's position, sequence, qualities
  bool operator==(const Record&) const = default;
};
void PrintTo(const Record& record, std::ostream* out) {
  *out << record.rest << record.cigar << '\t' << record.end;
}

std::string joined(const Lines& fields) {
  std::string text;
  for (const std::string& field : fields) text += field + '\t';
  return text;
}

long end_of(const std::string& cigar, long pos) {
  if (cigar == "*") return pos + 1;
  long length = 0;
  for (const char letter : cigar) {
    if (letter >= '0' && letter <= '9') {
      length = 10 * length + (letter - '0');
      continue;
    }
    if (std::string("MDN=X").find(letter) != std::string::npos) pos += length;
    length = 0;
  }
  return pos;
}

std::vector<Record> records_of(const Lines& sam_lines) {
  std::vector<Record> records;
  for (const std::string& line : sam_lines) {
    const Lines f = split_tabs(line);
    const std::string end = std::to_string(end_of(f.at(5), std::stol(f.at(3))));
    records.push_back({f[5], end, joined({f[0], f[1], f[3], f[4], f.at(7), f.at(9), f.at(10)})});
  }
  return records;
}

// Whether a CIGAR stands in for one that is too long and lies in a field CG: all bases clipped,
// then a gap. samtools shows the one in the field; the library shows what is stored.
bool is_stand_in(const std::string& cigar) {
  std::string letters;
  for (const char letter : cigar) {
    if (letter < '0' || letter > '9') letters += letter;
  }
  return letters == "SN";
}

void expect_same(std::vector<Record> ours, std::vector<Record> theirs) {
  ASSERT_EQ(ours.size(), theirs.size());
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (is_stand_in(ours[i].cigar)) {
      theirs[i].cigar = ours[i].cigar;
      theirs[i].end = ours[i].end;
    }
    ASSERT_EQ(ours[i], theirs[i]);
  }
}

// All records of a reference, through the gateways: the starts first, then every field.
std::vector<Record> query(const std::string& bam, const std::string& index, int ref) {
  const auto reference = [&] { return host::make_scalar(static_cast<double>(ref)); };
  const Outputs found =
      call_gateway("getStartsInReference", 3, inputs(text(bam), text(index), reference()));
  List starts = column_of<std::uint32_t>(found[0]);
  const List ends = column_of<std::uint32_t>(found[1]);
  const auto flags = column_of<std::uint16_t>(found[2]);
  List ordinals;
  for (std::uint32_t& start : starts) {
    --start;
    ordinals.push_back(static_cast<std::uint32_t>(ordinals.size()) + 1);
  }
  const Outputs fields = call_gateway(
      "getFeatures", 11,
      inputs(text(bam), text(index),
             host::make_cell_of_texts({"Header", "Flag", "Position", "MappingQuality", "Signature",
                                       "MatePosition", "Sequence", "Quality", "EndPosition",
                                       "QueryLength", "MateIndex"}),
             reference(), host::make_column(ordinals), host::make_column(starts)));
  const Lines names = texts_of(fields[0]);
  const auto flag = column_of<std::uint16_t>(fields[1]);
  const auto position = column_of<std::uint32_t>(fields[2]);
  const auto quality = column_of<std::uint8_t>(fields[3]);
  const Lines cigars = texts_of(fields[4]);
  const auto mate = column_of<std::uint32_t>(fields[5]);
  const Lines sequences = texts_of(fields[6]);
  const Lines qualities = texts_of(fields[7]);
  const auto end = column_of<std::uint32_t>(fields[8]);
  const auto length = column_of<std::uint16_t>(fields[9]);
  EXPECT_EQ(flag, flags);
  EXPECT_EQ(column_of<std::uint32_t>(fields[10]), mate);
  std::vector<Record> records;
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(position[i], starts[i] + 1);
    EXPECT_EQ(end[i], ends[i] + 1);
    EXPECT_EQ(length[i], sequences[i] == "*" ? 0 : sequences[i].size() & 0xffff);
    records.push_back({cigars[i], std::to_string(end[i]),
                       joined({names[i], std::to_string(flag[i]), std::to_string(position[i]),
                               std::to_string(quality[i]), std::to_string(mate[i]), sequences[i],
                               qualities[i]})});
  }
  return records;
}

class RealIndex : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    file_ = test_file(GetParam());
    const std::string bytes = read_file(file_);
    is_complete_ = has_end_marker(bytes);
    records_ = model_records(bytes);
    file_end_ = std::uint64_t{bytes.size()} << 16;
    names_ = texts_of(call_gateway("getHeader", 2, inputs(text(file_)))[1]);
  }

  // The references that have records.
  std::vector<int> references() const {
    std::vector<int> refs;
    for (const ModelRecord& record : records_) {
      if (record.ref >= 0) refs.push_back(record.ref);
    }
    std::sort(refs.begin(), refs.end());
    refs.erase(std::unique(refs.begin(), refs.end()), refs.end());
    return refs;
  }

  // Every record, as samtools reads it without an index.
  void read_all() {
    all_ = records_of(samtools({"view", "--no-PG", file_}));
    ASSERT_EQ(all_.size(), records_.size());
  }
  std::vector<Record> at(const std::vector<std::size_t>& places) const {
    std::vector<Record> records;
    for (const std::size_t place : places) records.push_back(all_.at(place));
    return records;
  }

  // What samtools finds through an index. It begins to read where the first window of the linear
  // index says, so records that lie before that (unmapped ones, which fill no window) are left out.
  std::vector<Record> query_samtools(const std::string& index, int ref) const {
    const std::string region = "{" + names_.at(static_cast<std::size_t>(ref)) + "}";
    return records_of(samtools({"view", "--no-PG", "-X", file_, index, region}));
  }
  std::vector<std::size_t> from_first_window(const ModelIndex& index, int ref) const {
    std::vector<std::size_t> places = scan(ref);
    const auto& linear = index.refs.at(static_cast<std::size_t>(ref)).linear;
    const std::uint64_t first = linear.empty() ? 0 : linear[0];
    std::erase_if(places, [&](std::size_t i) { return records_[i].beg_offset < first; });
    return places;
  }

  std::vector<std::size_t> scan(int ref) const { return model_scan(records_, ref, 0, kEnd); }
  std::vector<std::size_t> through(const ModelIndex& index, int ref) const {
    return model_query(records_, model_chunks(index, ref, 0, kEnd), ref, 0, kEnd);
  }

  static constexpr int kEnd = 536870912;

  std::string file_;
  bool is_complete_ = false;
  std::vector<ModelRecord> records_;
  std::uint64_t file_end_ = 0;
  Lines names_;
  std::vector<Record> all_;
};

// ---- Indexes of other writers ------------------------------------------------------------------

std::vector<std::string> bams_with_index() {
  std::vector<std::string> names = real_bams();
  std::erase_if(names, [](const std::string& name) {
    return !name.empty() && index_beside(test_file(name)).empty();
  });
  return names;
}

class OthersIndex : public RealIndex {};

INSTANTIATE_TEST_SUITE_P(Files, OthersIndex, testing::ValuesIn(bams_with_index()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(OthersIndex, WholeReferenceIsWhatSamtoolsFindsAndWhatAScanFinds) {
  const std::string index = index_beside(file_);
  const ModelIndex content = decode_bai(read_file(index));
  ASSERT_NO_FATAL_FAILURE(read_all());
  for (const int ref : references()) {
    SCOPED_TRACE(names_.at(static_cast<std::size_t>(ref)));
    EXPECT_EQ(through(content, ref), scan(ref));
    expect_same(query(file_, index, ref), at(scan(ref)));
    expect_same(query_samtools(index, ref), at(from_first_window(content, ref)));
  }
}

// ---- Our own index -----------------------------------------------------------------------------

class OwnIndex : public RealIndex {
 protected:
  void SetUp() override {
    RealIndex::SetUp();
    if (IsSkipped()) return;
    model_ = model_index(records_, file_end_);
    std::filesystem::create_symlink(file_, folder_.native("a.bam"));
  }
  std::string index() const { return folder_.native("a.bam.bai"); }
  void build() const { call_gateway("bamIndex", 0, inputs(text(file_), text(index()))); }

  TempDir folder_;
  ModelOutcome model_;
};

INSTANTIATE_TEST_SUITE_P(Files, OwnIndex, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

// Files of which a query for a whole reference through our own index misses records, since records
// without bases touch no window: the first window that is set lies behind them, and chunks that end
// before it are not read.
const std::set<std::string> kMissing = {"bam/bins.bam"};

TEST_P(OwnIndex, IsTheModelsAndAnswersLikeIt) {
  if (!is_complete_) {
    EXPECT_CALL_FAILS(build(), "seqlab:readkit:InvalidBAMFormat", to_path(file_));
    return;
  }
  if (model_.error == "BAMUnsorted") {
    EXPECT_CALL_FAILS(build(), "seqlab:readkit:BAMUnsorted");
    return;
  }
  if (!model_.error.empty()) {
    const std::string name = model_.error.substr(model_.error.find(' ') + 1);
    EXPECT_CALL_FAILS(build(), "seqlab:readkit:PositionTooBig", to_ustring(name));
    return;
  }
  build();
  ASSERT_TRUE(read_file(index()) == encode_bai(model_.index));
  ASSERT_NO_FATAL_FAILURE(read_all());
  std::size_t missed = 0;
  for (const int ref : references()) {
    SCOPED_TRACE(names_.at(static_cast<std::size_t>(ref)));
    const std::vector<std::size_t> found = through(model_.index, ref);
    missed += scan(ref).size() - found.size();
    expect_same(query(file_, index(), ref), at(found));
    expect_same(query_samtools(index(), ref), at(from_first_window(model_.index, ref)));
  }
  EXPECT_EQ(missed > 0, kMissing.count(GetParam()) > 0) << missed << " records are missed";
}

// samtools counts by the pseudo-bins. It wants as many references as the header has, while an index
// ends with the last reference that has records; so the counts are asked of a completed copy.
TEST_P(OwnIndex, CountsAreThoseThatSamtoolsReads) {
  if (!is_complete_ || !model_.error.empty()) {
    EXPECT_ANY_THROW(build());
    EXPECT_FALSE(folder_.exists("a.bam.bai"));
    return;
  }
  build();
  ModelIndex completed = decode_bai(read_file(index()));
  completed.refs.resize(names_.size());
  write_file(index(), encode_bai(completed));
  const Lines stats = samtools({"idxstats", folder_.native("a.bam")});
  ASSERT_EQ(stats.size(), names_.size() + 1);
  std::map<int, std::pair<long, long>> counts;
  for (const ModelRecord& record : records_) {
    auto& [mapped, unmapped] = counts[record.ref];
    ++(record.ref >= 0 && (record.flag & 4) == 0 ? mapped : unmapped);
  }
  for (std::size_t i = 0; i < stats.size(); ++i) {
    const auto& [mapped, unmapped] = counts[i == names_.size() ? -1 : static_cast<int>(i)];
    const Lines fields = split_tabs(stats[i]);
    EXPECT_EQ(fields.at(2) + " " + fields.at(3),
              std::to_string(mapped) + " " + std::to_string(unmapped))
        << stats[i];
  }
}

// ---- Loading -----------------------------------------------------------------------------------

TEST(RealIndexes, EveryIndexOfAnotherWriterLoadsWithAllItHolds) {
  SKIP_WITHOUT_TEST_DATA();
  std::size_t loaded = 0;
  for (const std::string& file : bai_files()) {
    SCOPED_TRACE(file);
    const ModelIndex expected = decode_bai(read_file(file));
    BAI index;
    ASSERT_TRUE(index.load(to_path(file)));
    ++loaded;
    ASSERT_EQ(index.refs().size(), expected.refs.size());
    EXPECT_EQ(index.n_no_coor(), expected.n_no_coor.value_or(0));
    for (std::size_t i = 0; i < expected.refs.size(); ++i) {
      const RefIndex& ref = index.refs()[i];
      ASSERT_EQ(ref.linear, expected.refs[i].linear);
      ASSERT_EQ(ref.bins.size(), expected.refs[i].bins.size());
      for (const ModelBin& bin : expected.refs[i].bins) {
        std::vector<ModelChunk> chunks;
        for (const Chunk& chunk : ref.bins.at(bin.number).chunks) {
          chunks.emplace_back(chunk.beg, chunk.end);
        }
        ASSERT_EQ(chunks, bin.chunks);
      }
    }
  }
  EXPECT_GE(loaded, 10U);
}

}  // namespace
}  // namespace readkit::gateway_real_index_test
