#include "check/bam_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "check/checked_blocks.h"
#include "check/header_checks.h"
#include "check/record_checks.h"
#include "check/record_search.h"
#include "core/bytes.h"

namespace readkit {
namespace {

using record_format::kLengthWord;

constexpr std::array<char, 4> kBamMagic = {'B', 'A', 'M', 1};
constexpr std::size_t kPiece = std::size_t{1}
                               << 20;  // of what is read of a length that a file states

// ---- Header ------------------------------------------------------------------------------------

// The header, read field by field until something is wrong with it.
class HeaderReader {
 public:
  HeaderReader(CheckedBlocks& blocks, Findings& findings) : blocks_(blocks), findings_(findings) {}

  bool is_bam() {
    std::array<char, 4> magic{};
    offset_ = blocks_.fill() ? blocks_.tell() : 0;
    if (blocks_.read(magic.data(), magic.size()) != magic.size()) cut();
    return is_whole_ && magic == kBamMagic;
  }
  /// What follows the magic; false when it could not be read whole.
  bool read() {
    header_.set_text(text(read_length("text", 0)));
    const std::int32_t references = read_length("dictionary", 0);
    for (std::int32_t i = 0; i < references && is_whole_; ++i) {
      std::string name = text(read_length("reference name", 0));
      const bool has_end = name.ends_with('\0');
      const std::int32_t length = read_length("reference", 0);
      if (!is_whole_) break;
      if (!has_end) {
        findings_.add(FindingKind::kReferenceName, offset_, 0, "no NUL ends the name of reference ",
                      i);
      }
      header_.add_reference(std::string_view(name).substr(0, name.size() - (has_end ? 1 : 0)),
                            static_cast<std::uint32_t>(length));
    }
    return is_whole_;
  }
  bool is_whole() const { return is_whole_; }
  /// The virtual offset of the header.
  std::uint64_t offset() const { return offset_; }
  const BamHeader& header() const { return header_; }

 private:
  std::int32_t read_length(std::string_view what, std::int32_t least) {
    std::array<std::uint8_t, 4> bytes{};
    if (!is_whole_) return 0;
    if (blocks_.read(bytes.data(), bytes.size()) != bytes.size()) return cut(), 0;
    const auto length = load<std::int32_t>(bytes.data());
    if (length >= least) return length;
    findings_.add(FindingKind::kHeaderLength, offset_, 0, "the length of a ", what, " is ", length);
    is_whole_ = false;
    return 0;
  }
  // Memory grows with what the file really holds.
  std::string text(std::int32_t length) {
    std::string text;
    const auto wanted = static_cast<std::size_t>(length);
    while (is_whole_ && text.size() < wanted) {
      const std::size_t done = text.size();
      text.resize(std::min(wanted, done + kPiece));
      if (blocks_.read(text.data() + done, text.size() - done) != text.size() - done) cut();
    }
    return text;
  }
  void cut() {
    findings_.add(FindingKind::kHeaderTruncated, offset_, 0, "the header is cut short");
    is_whole_ = false;
  }

  CheckedBlocks& blocks_;
  Findings& findings_;
  BamHeader header_;
  std::uint64_t offset_ = 0;
  bool is_whole_ = true;
};

// ---- Records -----------------------------------------------------------------------------------

class RecordWalk {
 public:
  RecordWalk(CheckedBlocks& blocks, const BamHeader* header, IndexChecks* index,
             CheckResult& result)
      : blocks_(blocks),
        references_(header == nullptr ? nullptr : &header->references()),
        index_(index),
        result_(result),
        checks_(references_, result.findings) {
    if (header == nullptr) lose(0);
    wants_order_ = header != nullptr && states_coordinate_order(header->text());
  }

  void run() {
    result_.sorted = true;
    while (next_record()) check_record();
  }
  /// Whether every byte belonged to a record.
  bool is_complete() const { return is_complete_; }

 private:
  // Reads the next record that can be made out; false at the end.
  bool next_record() {
    while (true) {
      if (is_lost_ && !find_again()) return false;
      if (!blocks_.fill()) {
        if (!blocks_.is_broken()) return false;
        lose(blocks_.broken_at());
        continue;
      }
      offset_ = blocks_.tell();
      if (take_in_block() || take_in_pieces()) return true;
    }
  }

  // The usual case: the whole record lies within the current block.
  bool take_in_block() {
    const std::uint8_t* const bytes = blocks_.bytes();
    if (blocks_.left() < kLayoutSize || !has_sound_layout(bytes)) return false;
    const auto size = load<std::int32_t>(bytes);
    const std::size_t whole = kLengthWord + static_cast<std::size_t>(size);
    if (whole > blocks_.left()) return false;
    std::memcpy(record_.resize(size), bytes + kLengthWord, static_cast<std::size_t>(size));
    blocks_.skip(whole);
    return true;
  }

  // The record as it comes, block by block; false when it is none, or is not whole.
  bool take_in_pieces() {
    pieces_.clear();
    const std::size_t in_block = blocks_.left();
    if (!take_up_to(kLengthWord)) return cut();
    const auto size = load<std::int32_t>(pieces_.data());
    const bool is_long_enough = size >= static_cast<std::int32_t>(record_format::kName);
    if (is_long_enough && !take_up_to(kLayoutSize)) return cut();
    if (!is_long_enough || !has_sound_layout(pieces_.data())) {
      pass_over(size, in_block);
      return false;
    }
    const std::size_t whole = kLengthWord + static_cast<std::size_t>(size);
    if (!take_up_to(whole)) return cut();
    std::memcpy(record_.resize(size), pieces_.data() + kLengthWord, static_cast<std::size_t>(size));
    return true;
  }

  // Makes `pieces_` so many bytes; memory grows with what the file really holds.
  bool take_up_to(std::size_t size) {
    while (pieces_.size() < size) {
      const std::size_t done = pieces_.size();
      pieces_.resize(std::min(size, done + kPiece));
      const std::size_t got = blocks_.read(pieces_.data() + done, pieces_.size() - done);
      if (got == pieces_.size() - done) continue;
      pieces_.resize(done + got);
      return false;
    }
    return true;
  }

  // The file ends, or bytes are lost, inside a record.
  bool cut() {
    if (blocks_.is_broken()) {
      lose(offset_);
    } else {
      is_complete_ = false;
      result_.findings.add(FindingKind::kRecordTruncated, offset_, result_.records + 1,
                           "the file ends inside a record, ", pieces_.size(),
                           " bytes behind its begin");
    }
    return false;
  }

  // A record that cannot be taken apart: goes on behind it when one seems to begin there, else
  // searches.
  void pass_over(std::int32_t size, std::size_t in_block) {
    result_.findings.add(FindingKind::kRecordLayout, offset_, ++result_.records,
                         "the parts of the record do not fit into its length, ", size);
    is_complete_ = false;
    const std::size_t taken = pieces_.size();
    const std::size_t whole = kLengthWord + static_cast<std::size_t>(std::max(size, 0));
    const std::span<const std::uint8_t> rest(blocks_.bytes(), blocks_.left());
    if (size > 0 && whole >= taken && whole - taken <= rest.size()) {
      const auto behind = rest.subspan(whole - taken);
      if (whole == in_block || find_record(behind, references_) == std::size_t{0}) {
        blocks_.skip(whole - taken);
        return;
      }
    }
    lose(offset_);
  }

  // Records are lost from a virtual offset on.
  void lose(std::uint64_t from) {
    is_lost_ = true;
    is_complete_ = false;
    lost_from_ = from;
  }

  // Searches for the next record, block by block; false at the end.
  bool find_again() {
    bool are_bytes_lost = false;
    while (blocks_.left() != 0 || blocks_.next()) {
      are_bytes_lost = are_bytes_lost || blocks_.is_broken() || blocks_.left() != 0;
      blocks_.mend();
      const auto at = find_record({blocks_.bytes(), blocks_.left()}, references_);
      blocks_.skip(at.value_or(blocks_.left()));
      if (!at) continue;
      result_.findings.add(FindingKind::kRecordsLost, lost_from_, 0,
                           "no record can be made out up to virtual offset ", blocks_.tell());
      is_lost_ = false;
      return true;
    }
    if (are_bytes_lost || blocks_.is_broken()) {
      result_.findings.add(FindingKind::kRecordsLost, lost_from_, 0,
                           "no record can be made out up to the end of the file");
    }
    blocks_.mend();
    is_lost_ = false;
    return false;
  }

  void check_record() {
    ++result_.records;
    checks_.check(record_, offset_, result_.records);
    if (!order_.add(record_.ref_id(), record_.pos())) {
      if (result_.sorted && (wants_order_ || index_ != nullptr)) {
        result_.findings.add(FindingKind::kSortOrder, offset_, result_.records,
                             wants_order_ ? "the header states coordinate order, the record is"
                                            " before the one that precedes it"
                                          : "an index needs coordinate order, the record is before"
                                            " the one that precedes it");
      }
      result_.sorted = false;
    }
    if (index_ != nullptr) index_->check(record_, offset_, result_.records);
  }

  CheckedBlocks& blocks_;
  const std::vector<Reference>* references_;
  IndexChecks* index_;
  CheckResult& result_;
  RecordChecks checks_;
  CoordinateOrder order_;
  Alignment record_;
  std::vector<std::uint8_t> pieces_;
  std::uint64_t offset_ = 0;  // of the current record
  std::uint64_t lost_from_ = 0;
  bool is_lost_ = false;
  bool is_complete_ = true;
  bool wants_order_ = false;
};

// The rest of the blocks.
void read_on(CheckedBlocks& blocks) {
  while (blocks.next()) blocks.mend();
}

}  // namespace

void check_bam(File& file, IndexChecks* index, CheckResult& result) {
  CheckedBlocks blocks(file, result.findings);
  HeaderReader reader(blocks, result.findings);
  const bool is_bam = reader.is_bam();
  if (!is_bam && reader.is_whole()) {
    result.kind = "BGZF";
    result.findings.add(FindingKind::kHeaderMagic, reader.offset(), 0,
                        "the uncompressed data does not begin as a BAM file does");
    read_on(blocks);
  } else {
    result.kind = "BAM";
    const bool has_header = is_bam && reader.read();
    if (has_header) check_header(reader.header(), reader.offset(), result.findings);
    RecordWalk walk(blocks, has_header ? &reader.header() : nullptr, index, result);
    walk.run();
    if (index != nullptr && has_header) {
      index->finish(static_cast<std::size_t>(reader.header().get_num_refs()), walk.is_complete());
    }
  }
  result.blocks = blocks.blocks();
  result.end_marker = blocks.ends_with_marker();
}

}  // namespace readkit
