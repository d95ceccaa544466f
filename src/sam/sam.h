// A SAM file: a text stream, its header, and its current record.
//
//   SAM in(Path(u"reads.sam"), "r");
//   while (in.next_alignment()) {
//     std::cout << in.alignment().read_name() << '\n';
//   }
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/file_stream.h"
#include "core/path.h"
#include "header/bam_header.h"
#include "records/alignment.h"
#include "records/reference_map.h"

namespace readkit {

struct RunLimits;

/// Reader and writer of one SAM file. It is a file stream itself, so stream operations, state bits
/// and positions apply to it directly; movable, closed by its destructor.
class SAM : public FileStream {
 public:
  /// Opens for writing (the file is created or emptied) when `mode` is exactly "w", else for
  /// reading, and then reads the header. Raises FileNotFound with the path in either case, and
  /// SAMRead for a file that cannot be positioned, such as a pipe.
  SAM(const Path& path, std::string_view mode);
  // Not defaulted: the virtual base of a stream has no move constructor.
  SAM(SAM&& other) noexcept : SAM() { *this = std::move(other); }
  SAM& operator=(SAM&& other) noexcept = default;

  /// Reads the next record line, skipping empty ones (a '\r' before the line's end is removed
  /// first); false at the end of the file. Raises SAMRead for a hard read error, InvalidSAMFormat
  /// with the path for a line that cannot be parsed, and the number errors of the parser; the
  /// current record then stays.
  bool next_alignment();
  const Alignment& alignment() const { return alignment_; }
  Alignment& alignment() { return alignment_; }
  /// Seeks to the first record line, also after the end of the file. When the file cannot be
  /// positioned, and after a hard read error, the stream is bad, and reading a record raises
  /// SAMRead.
  void rewind();

  const BamHeader& header() const { return header_; }
  const Path& path() const { return path_; }
  int get_num_refs() const { return header_.get_num_refs(); }
  std::string get_ref_name(int id) const { return std::string(header_.get_ref(id).name()); }
  /// Reference indexes by name; the later one of a name that occurs twice.
  const ReferenceMap& refs() const { return refs_; }

  /// Writes the header text; true unless the stream is bad afterwards.
  bool write(const BamHeader& header) { return header.write(*this); }
  /// Writes one record line with its optional fields; true unless the stream is bad afterwards.
  /// Raises as Alignment::to_sam_chr.
  bool write(const Alignment& record, const BamHeader& header);
  /// Writes the records in order until the stream is bad; returns how many were written before
  /// the one after which it was.
  std::size_t write(const std::vector<Alignment>& records, const BamHeader& header);

  /// Sorts the records from the current one on into coordinate order, into base + ".sam" (see
  /// BAM::sort). Raises FileNotFound and FileWrite for the output and the temporaries, and the
  /// errors of reading.
  void sort(const UString& base);
  void sort(const UString& base, const RunLimits& limits);

  /// Scans the record lines without parsing them whole. `names` receives the reference names in
  /// the order of first appearance, "*" first, and `counts` the record lines naming each; `sorted`
  /// tells whether the lines are in coordinate order. With `requested` of 1 or less the scan stops
  /// at the first line out of order. Raises SAMRead.
  void kxsaminfo(bool& sorted, std::vector<std::uint32_t>& counts, std::vector<std::string>& names,
                 int requested);

  /// Conversions, as those of BAM; all records for the form without ordinals. They raise the errors
  /// of reading besides.
  void to_bam(Path output);
  void to_bam(const Path& output, const unsigned* ordinals, std::size_t n,
              std::set<std::string> refs, bool unused = false);
  void to_sam(const Path& output, const unsigned* ordinals, std::size_t n, bool with_header);
  void to_fastq(const Path& output, const unsigned* ordinals, std::size_t n);
  void to_fasta(const Path& output, const unsigned* ordinals, std::size_t n);

 private:
  SAM() = default;

  BamHeader header_;
  Alignment alignment_;
  Alignment parsed_;  // the record being parsed, so that a failure leaves the current one
  pos_type records_start_ = 0;
  ReferenceMap refs_;
  Path path_;
  std::string line_;  // the formatted line of `write`
};

}  // namespace readkit
