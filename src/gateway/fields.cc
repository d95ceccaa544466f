// Fields of the records of regions, in one pass: what getFeatures and getStartsInReference take two
// for, with texts as two blocks of memory instead of a host array each.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "bam/region_sweep.h"
#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/region_arguments.h"
#include "gateway/results.h"

namespace readkit {
namespace {

constexpr std::size_t kMaxFields = 14;
constexpr int kFirstField = 2;  // among the outputs
constexpr int kNeededInputs = 6;

// ---- Columns ------------------------------------------------------------------------------------

// An output that grows by a row for each record.
class Column {
 public:
  Column() = default;
  virtual ~Column() = default;
  Column(const Column&) = delete;
  Column& operator=(const Column&) = delete;

  virtual void add(const Alignment& record) = 0;
  virtual matrix::Owned take() = 0;
};

template <typename Value>
class NumberColumn : public Column {
 public:
  using Read = Value (*)(const Alignment&);
  explicit NumberColumn(Read read) : read_(read) {}

  void add(const Alignment& record) override { values_.push_back(read_(record)); }
  matrix::Owned take() override { return take_column(values_); }

 private:
  Read read_;
  HostValues<Value> values_;
};

class TextColumn : public Column {
 public:
  // Gives the text; `scratch` has room for it.
  using Read = std::string_view (*)(const Alignment&, std::string& scratch);
  explicit TextColumn(Read read) : read_(read) { offsets_.push_back(0); }

  void add(const Alignment& record) override {
    const std::string_view text = read_(record, scratch_);
    bytes_.append({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    offsets_.push_back(static_cast<std::int64_t>(bytes_.size()));
  }
  matrix::Owned take() override {
    constexpr std::array<const char*, 2> kFields = {"bytes", "offsets"};
    matrix::Owned texts = make_structure(kFields);
    set_field(texts, "bytes", take_column(bytes_));
    set_field(texts, "offsets", take_column(offsets_));
    return texts;
  }

 private:
  Read read_;
  std::string scratch_;
  HostValues<std::uint8_t> bytes_;
  HostValues<std::int64_t> offsets_;
};

using Columns = std::vector<std::unique_ptr<Column>>;

template <typename Read>
std::unique_ptr<Column> number_column(Read read) {
  using Value = std::invoke_result_t<Read, const Alignment&>;
  return std::make_unique<NumberColumn<Value>>(read);
}

std::unique_ptr<Column> text_column(TextColumn::Read read) {
  return std::make_unique<TextColumn>(read);
}

// 1-based; 0 for none.
std::uint32_t position_of(int pos) { return pos < 0 ? 0 : static_cast<std::uint32_t>(pos) + 1; }

// The column of a field; null for a name that is none.
std::unique_ptr<Column> make_field(const UString& name) {
  if (name == u"Flag") {
    return number_column([](const Alignment& a) { return static_cast<std::uint16_t>(a.flag()); });
  }
  if (name == u"Position") {
    return number_column([](const Alignment& a) { return position_of(a.pos()); });
  }
  if (name == u"EndPosition") {
    // The base before the one past the end, both counted from where they are counted.
    return number_column([](const Alignment& a) {
      return a.pos() < 0 ? 0U : static_cast<std::uint32_t>(a.cigar_endpos());
    });
  }
  if (name == u"MappingQuality") {
    return number_column([](const Alignment& a) { return static_cast<std::uint8_t>(a.mapq()); });
  }
  if (name == u"MatePosition") {
    return number_column([](const Alignment& a) { return position_of(a.next_pos()); });
  }
  if (name == u"QueryLength") {
    return number_column([](const Alignment& a) { return static_cast<std::uint32_t>(a.l_seq()); });
  }
  if (name == u"Header") {
    return text_column([](const Alignment& a, std::string&) { return a.read_name_text(); });
  }
  if (name == u"Signature") {
    return text_column([](const Alignment& a, std::string& text) -> std::string_view {
      return text = a.cigar_string();
    });
  }
  if (name == u"Sequence") {
    return text_column([](const Alignment& a, std::string& text) -> std::string_view {
      a.seq_string(text);
      return text;
    });
  }
  if (name == u"Quality") {
    return text_column([](const Alignment& a, std::string& text) -> std::string_view {
      a.qual_string(text);
      return text;
    });
  }
  return nullptr;
}

Columns make_fields(const std::vector<UString>& names) {
  if (names.size() > kMaxFields) throw TooManyOutputs();
  Columns columns;
  for (const UString& name : names) {
    columns.push_back(make_field(name));
    if (!columns.back()) {
      gwErrMsgIdAndTxt("seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType",
                       "getfeaturesinrefbyindex:Unknown feature type.");
    }
  }
  return columns;
}

// ---- Rows ------------------------------------------------------------------------------------

// Which of the records found are taken: all, or those of ascending ordinals.
class Selection {
 public:
  Selection() = default;
  explicit Selection(std::span<const std::uint32_t> ordinals) : is_part_(true), rest_(ordinals) {
    const auto descends = [](std::uint32_t a, std::uint32_t b) { return a >= b; };
    if (std::ranges::adjacent_find(ordinals, descends) != ordinals.end() ||
        (!ordinals.empty() && ordinals.front() == 0)) {
      throw BadIndex();
    }
  }

  // Whether the next record is taken.
  bool take() {
    if (!is_part_) return true;
    if (rest_.empty() || ++seen_ != rest_.front()) return false;
    rest_ = rest_.subspan(1);
    return true;
  }
  // Whether no further record will be.
  bool is_done() const { return is_part_ && rest_.empty(); }
  void require_done() const {
    if (!rest_.empty()) throw BadIndex();
  }

 private:
  bool is_part_ = false;
  std::span<const std::uint32_t> rest_;
  std::uint32_t seen_ = 0;
};

// The rows of the regions' records, region by region.
class RegionRows {
 public:
  explicit RegionRows(std::size_t regions) : counts_(regions, 0) {}

  void add(std::uint32_t region, std::uint32_t row) {
    found_.push_back(std::uint64_t{region} << 32 | row);
    ++counts_[region];
  }

  matrix::Owned counts() const { return make_column(std::span<const std::uint32_t>(counts_)); }
  // 1-based.
  matrix::Owned rows() {
    // Rows ascend, so that most lists are in order already.
    if (!std::ranges::is_sorted(found_)) std::ranges::sort(found_);
    matrix::Owned column = make_column<std::uint32_t>(found_.size());
    std::ranges::transform(found_, column_data<std::uint32_t>(column),
                           [](std::uint64_t one) { return static_cast<std::uint32_t>(one) + 1U; });
    return column;
  }

 private:
  std::vector<std::uint32_t> counts_;
  std::vector<std::uint64_t> found_;  // region and row
};

}  // namespace

// [counts, rows, field, ...] = kxFields(bam, index, names, references, firsts, lasts)
// [counts, rows, field, ...] = kxFields(bam, index, names, reference, first, last, ordinals)
void kxFields(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"kxFields", nrhs, kNeededInputs, kNeededInputs + 1, nlhs,
                    kFirstField + static_cast<int>(kMaxFields));
  const Path index_path = index_path_argument(prhs[1]);
  BAM bam(path_argument(prhs[0]));
  Columns columns = make_fields(matrix::get_string_array(prhs[2]));
  const std::vector<RefRegion> regions = regions_argument(bam, prhs[3], prhs[4], prhs[5]);
  Selection selection;
  if (nrhs > kNeededInputs) {
    if (regions.size() != 1) throw BadIndex();
    selection = Selection(uint32_list_argument(prhs[kNeededInputs], "ordinals"));
  }
  open_index_for(regions.size(), bam, index_path);

  RegionRows rows(regions.size());
  std::uint32_t row = 0;
  RegionSweep sweep(bam, regions);
  while (!selection.is_done() && sweep.next()) {
    if (!selection.take()) continue;
    for (const std::uint32_t region : sweep.hits()) rows.add(region, row);
    for (const std::unique_ptr<Column>& column : columns) column->add(bam);
    ++row;
  }
  selection.require_done();
  set_output(&plhs[0], rows.counts());
  if (nlhs > 1) set_output(&plhs[1], rows.rows());
  for (std::size_t i = 0; i < columns.size() && kFirstField + static_cast<int>(i) < nlhs; ++i) {
    set_output(&plhs[kFirstField + i], columns[i]->take());
  }
}

}  // namespace readkit
