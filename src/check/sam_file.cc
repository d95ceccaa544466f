#include "check/sam_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "check/characters.h"
#include "check/header_checks.h"
#include "check/sam_tags.h"
#include "check/text_lines.h"
#include "records/alignment.h"
#include "records/reference_map.h"

namespace readkit {
namespace {

constexpr std::string_view kMissing = "*";
constexpr std::size_t kFields = 11;
constexpr std::size_t kLongestName = 254;
constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();

enum Field : std::size_t {
  kQname,
  kFlag,
  kRname,
  kPos,
  kMapq,
  kCigar,
  kRnext,
  kPnext,
  kTlen,
  kSeq,
  kQual
};

constexpr std::array<std::string_view, kFields> kFieldNames = {
    "QNAME", "FLAG", "RNAME", "POS", "MAPQ", "CIGAR", "RNEXT", "PNEXT", "TLEN", "SEQ", "QUAL"};

bool is_sam_base(char c) { return is_letter(c) || c == '=' || c == '.'; }

// What a CIGAR says; `is_known` is false for a text that is none.
struct CigarTextSpans {
  std::int64_t reference = 0;
  std::int64_t sequence = 0;
  bool is_known = true;
};

CigarTextSpans spans_of(std::string_view cigar) {
  CigarTextSpans spans;
  if (cigar == kMissing) return spans;
  const std::string_view letters = Alignment::cigar_key;
  spans.is_known = !cigar.empty();
  while (spans.is_known && !cigar.empty()) {
    std::uint32_t length = 0;
    const auto [end, error] = std::from_chars(cigar.data(), cigar.data() + cigar.size(), length);
    cigar.remove_prefix(static_cast<std::size_t>(end - cigar.data()));
    const std::size_t code = cigar.empty() ? std::string_view::npos : letters.find(cigar[0]);
    spans.is_known = error == std::errc() && length >> 28 == 0 && code != std::string_view::npos;
    if (!spans.is_known) break;
    cigar.remove_prefix(1);
    if ((record_format::kReferenceOps >> code & 1) != 0) spans.reference += length;
    if ((record_format::kSequenceOps >> code & 1) != 0) spans.sequence += length;
  }
  return spans;
}

class SamCheck {
 public:
  SamCheck(File& file, CheckResult& result) : lines_(file), file_(file), result_(result) {}

  void run() {
    result_.kind = "SAM";
    result_.sorted = true;
    result_.end_marker = true;
    std::string_view line;
    while (lines_.next(line)) {
      result_.end_marker = lines_.is_ended();
      if (line.starts_with('@') && result_.records == 0) {
        check_header(line);
      } else {
        check_record(line);
      }
    }
    if (file_.read_failed()) {
      add(FindingKind::kReadFailed, "the file cannot be read on");
    } else if (!result_.end_marker) {
      add(FindingKind::kLastLine, "the last line has no newline at its end");
    }
  }

 private:
  template <typename... Parts>
  void add(FindingKind kind, const Parts&... parts) {
    result_.findings.add(kind, lines_.number(), ordinal_, parts...);
  }

  void check_header(std::string_view line) {
    if (lines_.number() == 1) wants_order_ = states_coordinate_order(line);
    SequenceLine sequence;
    if (!check_header_line(line, lines_.number(), result_.findings, &sequence)) return;
    const int index = static_cast<int>(lengths_.size());
    if (!indexes_.insert(sequence.name, index)) {
      add(FindingKind::kReferenceName, "the name ", excerpt(sequence.name), " comes again");
    } else if (!sequence.name.empty() && !is_reference_name(sequence.name)) {
      add(FindingKind::kReferenceName, "a reference may not have the name ",
          excerpt(sequence.name));
    }
    lengths_.push_back(sequence.length);
    has_dictionary_ = true;
  }

  void check_record(std::string_view line) {
    if (line.starts_with('@')) {
      add(FindingKind::kHeaderLine, "a header line behind records: ", excerpt(line));
      return;
    }
    ordinal_ = ++result_.records;
    if (take_fields(line)) {
      check_fields();
      if (has_rest_) check_sam_tags(rest_, lines_.number(), ordinal_, names_, result_.findings);
    }
    ordinal_ = 0;
  }

  bool take_fields(std::string_view line) {
    for (std::size_t i = 0; i < kFields; ++i) {
      const std::size_t tab = line.find('\t');
      const bool is_last = tab == std::string_view::npos;
      if (is_last && i + 1 < kFields) {
        add(FindingKind::kFieldCount, "the line has ", i + 1, " fields instead of 11 or more");
        return false;
      }
      fields_[i] = line.substr(0, tab);
      line.remove_prefix(is_last ? line.size() : tab + 1);
      has_rest_ = !is_last;
    }
    rest_ = line;
    return true;
  }

  // A number field; `otherwise` when it is none, or out of range.
  std::int64_t number(Field field, std::int64_t least, std::int64_t most, std::int64_t otherwise) {
    std::int64_t value = 0;
    const std::string_view text = fields_[field];
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error == std::errc() && end == last && value >= least && value <= most) return value;
    add(FindingKind::kFieldNumber, kFieldNames[field], " is ", excerpt(text),
        ", not a number from ", least, " to ", most);
    return otherwise;
  }

  void check_fields() {
    const std::string_view name = fields_[kQname];
    if (name.empty() || name.size() > kLongestName ||
        !std::all_of(name.begin(), name.end(), is_of_name)) {
      add(FindingKind::kReadName, "QNAME is empty, too long, has an @, or cannot be printed");
    }
    const std::int64_t flag = number(kFlag, 0, 0xFFFF, 0);
    const std::int64_t pos = number(kPos, 0, kHighest, 0) - 1;
    number(kMapq, 0, 0xFF, 0);
    const std::int64_t mate_pos = number(kPnext, 0, kHighest, 0) - 1;
    number(kTlen, -kHighest, kHighest, 0);
    const int ref = reference(FindingKind::kReference, fields_[kRname]);
    const int mate =
        fields_[kRnext] == "=" ? ref : reference(FindingKind::kMateReference, fields_[kRnext]);
    check_position(FindingKind::kPosition, ref, pos);
    check_position(FindingKind::kMatePosition, mate, mate_pos);
    check_sequence();
    check_cigar(ref, pos, (flag & record_format::kUnmapped) == 0);
    if (!order_.add(ref, static_cast<std::int32_t>(pos))) {
      if (result_.sorted && wants_order_) {
        add(FindingKind::kSortOrder,
            "the header states coordinate order, the record is before the one that precedes it");
      }
      result_.sorted = false;
    }
  }

  // The index of a name, -1 for none. Without a dictionary references are numbered as they come.
  int reference(FindingKind kind, std::string_view name) {
    if (name == kMissing) return -1;
    const int found = indexes_.find(name);
    const bool is_known = found != ReferenceMap::kNone &&
                          (!has_dictionary_ || static_cast<std::size_t>(found) < lengths_.size());
    if (has_dictionary_ && !is_known) add(kind, "there is no reference ", excerpt(name));
    if (found != ReferenceMap::kNone) return found;
    const int index = static_cast<int>(indexes_.size());
    indexes_.insert(name, index);
    return index;
  }

  std::int64_t length_of(int ref) const {
    const bool has_length = ref >= 0 && static_cast<std::size_t>(ref) < lengths_.size();
    return has_length ? lengths_[static_cast<std::size_t>(ref)] : kHighest;
  }

  void check_position(FindingKind kind, int ref, std::int64_t pos) {
    if (pos < length_of(ref)) return;
    add(kind, "position ", pos + 1, " lies outside of a reference of length ", length_of(ref));
  }

  void check_cigar(int ref, std::int64_t pos, bool is_mapped) {
    const CigarTextSpans spans = spans_of(fields_[kCigar]);
    if (!spans.is_known) {
      add(FindingKind::kCigarOp, "CIGAR is ", excerpt(fields_[kCigar]), ", which is none");
      return;
    }
    const std::string_view bases = fields_[kSeq];
    const auto length = static_cast<std::int64_t>(bases.size());
    if (fields_[kCigar] != kMissing && bases != kMissing && spans.sequence != length) {
      add(FindingKind::kCigarLength, "CIGAR covers ", spans.sequence, " bases of a sequence of ",
          length);
    }
    const std::int64_t end = pos + spans.reference;
    if (is_mapped && pos >= 0 && pos < length_of(ref) && end > length_of(ref)) {
      add(FindingKind::kPosition, "the alignment ends at ", end,
          ", behind the end of a reference of length ", length_of(ref));
    }
  }

  void check_sequence() {
    const std::string_view bases = fields_[kSeq];
    const std::string_view qualities = fields_[kQual];
    const bool has_bases = bases != kMissing;
    if (has_bases && (bases.empty() || !std::all_of(bases.begin(), bases.end(), is_sam_base))) {
      add(FindingKind::kSequence, "SEQ has other characters than letters, = and .");
    }
    if (!std::all_of(qualities.begin(), qualities.end(), is_printable)) {
      add(FindingKind::kQuality, "QUAL has characters outside of ! to ~");
    }
    // One quality of 9 looks like a missing one.
    if (qualities != kMissing && (!has_bases || qualities.size() != bases.size())) {
      add(FindingKind::kQualityLength, "QUAL has ", qualities.size(), " characters and SEQ ",
          has_bases ? bases.size() : 0);
    }
  }

  TextLines lines_;
  File& file_;
  CheckResult& result_;
  ReferenceMap indexes_;
  std::vector<std::uint32_t> lengths_;  // of the dictionary
  CoordinateOrder order_;
  TagNames names_;
  std::array<std::string_view, kFields> fields_;
  std::string_view rest_;  // the optional fields
  std::uint64_t ordinal_ = 0;
  bool has_rest_ = false;
  bool has_dictionary_ = false;
  bool wants_order_ = false;
};

}  // namespace

void check_sam(File& file, CheckResult& result) { SamCheck(file, result).run(); }

}  // namespace readkit
