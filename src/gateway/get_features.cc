#include "gateway/get_features.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "bam/bam.h"
#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/results.h"

namespace readkit {
namespace {

constexpr std::size_t kMaxOutputs = 11;

struct FeatureType {
  const char16_t* name;
  txClassID class_id;  // of the output column
};

// By feature code.
constexpr std::array<FeatureType, kFeatureCount> kFeatures = {{
    {u"Flag", txUINT16_CLASS},
    {u"Position", txUINT32_CLASS},
    {u"MappingQuality", txUINT8_CLASS},
    {u"MatePosition", txUINT32_CLASS},
    {u"MateIndex", txUINT32_CLASS},
    {u"QueryLength", txUINT16_CLASS},
    {u"EndPosition", txUINT32_CLASS},
    {u"Signature", txCELL_CLASS},
    {u"Sequence", txCELL_CLASS},
    {u"Header", txCELL_CLASS},
    {u"Quality", txCELL_CLASS},
}};

// A 0-based position as users count it; 0 for a record without one (`pos` negative).
std::uint32_t one_based_or_zero(int pos, int position) {
  return pos >= 0 ? static_cast<std::uint32_t>(position) + 1 : 0;
}

void set_text_row(void* cells, std::uint32_t row, const char* text) {
  txSetCell(static_cast<txArray*>(cells), row, txCreateString(text));
}

template <typename T>
void set_row(void* column, std::uint32_t row, T value) {
  static_cast<T*>(column)[row] = value;
}

void write_feature(const Alignment& a, std::uint32_t feature, void* output, std::uint32_t row) {
  switch (feature) {
    case kFlag:
      return set_row(output, row, static_cast<std::uint16_t>(a.flag()));
    case kPosition:
      return set_row(output, row, one_based_or_zero(a.pos(), a.pos()));
    case kMappingQuality:
      return set_row(output, row, static_cast<std::uint8_t>(a.mapq()));
    case kMatePosition:
    case kMateIndex:  // Kept: one would expect the mate's reference index; it is its position.
      return set_row(output, row, one_based_or_zero(a.next_pos(), a.next_pos()));
    case kQueryLength:
      return set_row(output, row, static_cast<std::uint16_t>(a.l_seq()));
    case kEndPosition:
      return set_row(output, row, one_based_or_zero(a.pos(), a.cigar_endpos()));
    case kSignature:
      return set_text_row(output, row, a.cigar_string().c_str());
    case kSequence:
      return set_text_row(output, row, a.seq_string().c_str());
    case kHeader:
      return set_text_row(output, row, std::string(a.read_name_text()).c_str());
    case kQuality:
      return set_text_row(output, row, a.qual_string().c_str());
    default:
      return;
  }
}

std::uint32_t feature_code(const UString& name) {
  const auto* const found =
      std::find_if(kFeatures.begin(), kFeatures.end(),
                   [&name](const FeatureType& type) { return name == type.name; });
  if (found == kFeatures.end()) {
    gwErrMsgIdAndTxt("seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType",
                     "getfeaturesinrefbyindex:Unknown feature type.");
  }
  return static_cast<std::uint32_t>(found - kFeatures.begin());
}

std::vector<std::uint32_t> feature_codes(const std::vector<UString>& names) {
  std::vector<std::uint32_t> codes;
  codes.reserve(names.size());
  for (const UString& name : names) codes.push_back(feature_code(name));
  return codes;
}

// Makes the output of one feature with `rows` rows and stores it in `slot`; returns what the
// per-record step writes to.
void* make_output(std::uint32_t feature, std::size_t rows, txArray** slot) {
  const txClassID class_id = kFeatures[feature].class_id;
  if (class_id == txCELL_CLASS) {
    set_output(slot, make_cells(rows));
    return *slot;
  }
  set_output(slot, matrix::Owned(txCreateNumericMatrix(rows, 1, class_id, txREAL)));
  return txGetData(*slot);
}

// The wanted records of a reference and the part of it that they span.
struct Span {
  std::uint32_t first = 0;  // ordinals
  std::uint32_t last = 0;
  std::int32_t from = 0;  // 0-based starts
  std::int32_t to = 0;
  std::int32_t skip = 0;  // records with the first one's start that come before it
};

Span find_span(std::span<const std::uint32_t> ordinals, std::span<const std::uint32_t> starts) {
  Span span;
  span.first = ordinals.front();
  span.last = ordinals.back();
  const auto is_outside = [&starts](std::uint32_t i) { return i == 0 || i > starts.size(); };
  if (is_outside(span.first) || is_outside(span.last)) throw BadIndex();
  span.from = static_cast<std::int32_t>(starts[span.first - 1]);
  span.to = static_cast<std::int32_t>(starts[span.last - 1]);
  for (std::uint32_t i = span.first - 1; i > 0 && starts[i - 1] == starts[span.first - 1]; --i) {
    ++span.skip;
  }
  return span;
}

int one_more(int n) { return n == std::numeric_limits<int>::max() ? n : n + 1; }

}  // namespace

void get_features(const Alignment& a, GetFeatures_T& s) {
  if (a.pos() < s.start) return;  // it merely reaches into the span
  if (s.skip >= 1) {
    --s.skip;
    return;
  }
  if (s.index > s.last_index) return;
  if (*s.next_index != s.index) {
    ++s.index;
    return;
  }
  for (std::size_t k = 0; k < s.features.size(); ++k) {
    write_feature(a, s.features[k], s.outputs[k], s.row);
  }
  ++s.next_index;
  ++s.index;
  ++s.row;
}

// [field, ...] = getFeatures(bam, index, names, reference, ordinals, starts)
void getFeatures(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getFeatures", nrhs, 6, 6, nlhs, static_cast<int>(kMaxOutputs));
  const Path index_path = index_path_argument(prhs[1]);
  BAM bam(path_argument(prhs[0]));
  bam.open_index(index_path);
  const std::vector<UString> names = matrix::get_string_array(prhs[2]);
  const std::int32_t reference = int32_argument(prhs[3], "reference");
  const auto ordinals = uint32_list_argument(prhs[4], "ordinals");
  const auto starts = uint32_list_argument(prhs[5], "starts");
  if (names.size() > kMaxOutputs) throw TooManyOutputs();
  const Span span = ordinals.empty() ? Span{} : find_span(ordinals, starts);

  GetFeatures_T state;
  state.features = feature_codes(names);
  std::array<void*, kMaxOutputs> outputs{};
  for (std::size_t k = 0; k < state.features.size(); ++k) {
    outputs[k] = make_output(state.features[k], ordinals.size(), &plhs[k]);
  }
  if (ordinals.empty()) return;
  state.skip = span.skip;
  state.index = span.first;
  state.last_index = span.last;
  state.next_index = ordinals.data();
  state.start = span.from;
  state.outputs = outputs.data();
  const int end = one_more(span.to);
  bam.find_init(reference, span.from, end);
  while (bam.find_next(reference, span.from, end)) get_features(bam, state);
}

}  // namespace readkit
