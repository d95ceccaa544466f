// A BAM file: its stream, its header, its index, and, because the object is itself an Alignment,
// its current record.
//
//   BAM in(Path(u"reads.bam"));
//   while (in.next_alignment()) {
//     std::cout << in.to_sam(in.header()) << '\n';
//   }
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "bam/bai.h"
#include "bam/index_file.h"
#include "bam/runs.h"
#include "core/bgzf.h"
#include "core/path.h"
#include "header/bam_header.h"
#include "records/alignment.h"

namespace readkit {

/// Whether [a_beg, a_end) and [b_beg, b_end) overlap; intervals with the same begin always do.
inline bool overlap(int a_beg, int a_end, int b_beg, int b_end) {
  return a_beg == b_beg || (a_beg <= b_beg && b_beg < a_end) || (b_beg <= a_beg && a_beg < b_end);
}

/// Gives the seed of a random generator, another one each time.
using SeedSource = std::function<std::uint32_t()>;

/// Reader and writer of one BAM file; movable, closed by its destructor. Reading overwrites the
/// inherited record, so two open files compare by their current records. Every operation that reads
/// records raises InvalidBAMFormat with the file name for a record whose fields do not fit into it,
/// and the stream's errors (see BGZF).
class BAM : public Alignment {
 public:
  /// Opens for reading and reads the header. Raises FileNotFound and what BamHeader::read raises.
  explicit BAM(const Path& path) : BAM(path, "r") {}
  /// Opens with a mode of BGZF::open; a mode that contains an 'r' reads the header.
  BAM(const Path& path, std::string_view mode);

  /// Reads the next record; false at the end of the file, and for a last record cut short. In a
  /// file that was opened for strict reading (see StrictReading), one that is cut short, and one
  /// with a CIGAR behind a name of more than 222 characters, which would be read wrongly, is
  /// InvalidBAMFormat.
  bool next_alignment();
  /// Whether `next_alignment` (or another reader of records) has come to the end.
  bool at_end() const { return at_end_; }
  /// Seeks to the first record.
  void rewind() { stream_.seek(first_record_); }
  /// The virtual offset of the next record; seeks to one. Raise as BGZF does.
  std::uint64_t tell() const { return stream_.tell(); }
  void seek(std::uint64_t offset) { stream_.seek(offset); }

  /// Write the header, and then the records, unflushed; true when the stream took all.
  bool write(const BamHeader& header) { return header.write(stream_); }
  bool write(const Alignment& record) { return record.write(stream_); }
  /// Writes the records in order until one cannot be written; true when all were.
  bool write(const std::vector<Alignment>& records);
  /// Writes `size` bytes as they stand: records with their length words.
  bool write(const std::uint8_t* bytes, std::size_t size) {
    return stream_.write(bytes, 1, size) == size;
  }
  /// How well what is written from now on is compressed (see BGZF::set_packing).
  void set_packing(Packing packing) { stream_.set_packing(packing); }
  /// Closes the stream, with the end-of-file marker in write mode; 0, or -1 on failure.
  int close() { return stream_.close(); }

  /// Whether the records are in coordinate order; reads from the first record to the first that is
  /// not. The stream stays after the last record read.
  bool is_sorted();

  const BamHeader& header() const { return header_; }
  const Path& path() const { return path_; }
  /// The virtual offset of the first record.
  std::uint64_t first_record() const { return first_record_; }
  std::string get_ref_name(int id) const { return std::string(header_.get_ref(id).name()); }
  std::uint32_t get_ref_len(int id) const { return header_.get_ref(id).l_ref; }
  int get_num_refs() const { return header_.get_num_refs(); }
  /// One past the highest reference index up to which lists by reference may grow: the header's
  /// count, at least 2^20. A larger index is damage.
  int reference_limit() const { return std::max(get_num_refs(), 1 << 20); }
  int get_ref_id(std::string_view name) const { return header_.get_ref_id(name); }
  bool parse_region(const std::string& region, int* ref_id, int* beg, int* end) const {
    return header_.parse_region(region, ref_id, beg, end);
  }
  const std::string& sam_header() const { return header_.text(); }

  /// Order by current records; a file at its end comes after every file that still has one.
  bool operator<(const BAM& other) const;
  bool operator<=(const BAM& other) const;

  // The binning scheme (see records/bins.h).
  static int reg2bin(int beg, int end) { return readkit::reg2bin(beg, end); }
  static std::vector<std::uint32_t> reg2bins(int beg, int end) {
    return readkit::reg2bins(beg, end);
  }
  static int first_bin(int level) { return readkit::first_bin(level); }
  static int parent_bin(int bin) { return readkit::parent_bin(bin); }

  // ---- Index ----------------------------------------------------------------------------------

  /// Builds the index from all records; true. Raises PositionTooBig, BAMUnsorted, and
  /// ReferenceIDNotFound for a reference index beyond both the dictionary and 2^20.
  bool build_index();
  /// Builds an index through which no query misses a record (see complete_index.cc); true. Raises
  /// as `build_index`, but ReferenceIDNotFound for every reference index beyond the dictionary.
  bool build_complete_index();
  /// Writes the index; false when there is none. Raises as BAI::dump.
  bool save_index(const Path& path) const;
  /// Loads an index; false, and no index, when it is of another number of references than the
  /// header. Raises as BAI::load.
  bool load_index(const Path& path);
  /// The same for region queries alone: of the index only the parts that they ask for are read, so
  /// that a query of a small region costs little even with a large index. `index` stays empty, and
  /// there is nothing to save.
  bool open_index(const Path& path);
  bool has_index() const { return has_index_; }
  const BAI& index() const { return index_; }

  // ---- Region queries: one at a time per object; regions are 0-based, [beg, end) ----------------

  using Predicate = std::function<bool(const Alignment&)>;

  /// The chunks of the region, from the index. REQUIRES: there is one.
  std::vector<Chunk> find_chunks(int ref, int beg, int end) {
    return index_file_ ? index_file_->find_chunks(ref, beg, end)
                       : index_.find_chunks(ref, beg, end);
  }
  /// The same without what lies before the region's window (see `trim_chunks`).
  std::vector<Chunk> find_trimmed_chunks(int ref, int beg, int end) {
    return index_file_ ? index_file_->find_trimmed_chunks(ref, beg, end)
                       : index_.find_trimmed_chunks(ref, beg, end);
  }
  /// Takes the chunks of the region from the index; does not seek.
  void index_find_init(int ref, int beg, int end);
  /// Reads the next record of those chunks, overlapping or not; false when there is none left.
  bool index_next_alignment();
  /// Ends the query.
  void index_find_destroy();
  /// Advances to the next record that overlaps the region, through the chunks when there is an
  /// index, else from where the stream stands to the end of the file. Kept: an empty region [x, x)
  /// yields the records that start at x.
  bool find_next(int ref, int beg, int end);
  /// Starts a query: sets up the chunks when there is an index, else seeks to the first record.
  void find_init(int ref, int beg, int end);

  /// Copies of the overlapping records in file order. Raises ReferenceIDNotFound with `ref` in
  /// decimal when `ref` is greater than the number of references (kept: equal passes).
  std::vector<Alignment> filter_overlapping(int ref, int beg, int end);
  /// The same for records that `keep` accepts, without a check of `ref`. An empty `keep` raises
  /// std::bad_function_call.
  std::vector<Alignment> filter_overlapping(int ref, int beg, int end, const Predicate& keep);
  /// Copies of all records of the file that `keep` accepts.
  std::vector<Alignment> filter_all(const Predicate& keep);
  /// The default mapping of a record to its start.
  static int map_ref_start(const Alignment& record) { return record.pos(); }

  // ---- Sort and shuffle: the records from the current one on, into base + ".bam" ----------------

  /// Sorts into coordinate order; the base without an argument is the file's own name without
  /// ".bam", and ".sorted". Equal records of one run keep their order. Raises FileNotFound,
  /// CannotOpenOutFile and FileWrite for the output and the temporaries (see `process_runs`), and
  /// the errors of reading.
  void sort() { sort(sorted_base(path_.text())); }
  void sort(const UString& base) { sort(base, RunLimits::for_this_machine()); }
  void sort(const UString& base, const RunLimits& limits);
  /// Writes the records in random order. The runs and their interleaving have a generator each,
  /// seeded by the system or with what `seeds` gives. Raises as `sort`.
  void shuffle(const UString& base);
  /// The same from one seed: the same records in the same order on every machine and whatever
  /// memory it has.
  void shuffle(const UString& base, std::uint32_t seed);
  void shuffle(const UString& base, const SeedSource& seeds, const RunLimits& limits);

  static UString tmp_bamname(const UString& base, int n) { return readkit::tmp_bamname(base, n); }
  /// Merges sorted BAM files into `out`: SAM text or BAM, by its extension. Raises
  /// InvalidInputFormat for another extension, CannotOpenOutFile for an output that is one of the
  /// inputs, FileNotFound, FileWrite, the errors of reading, and std::out_of_range for no input and
  /// for a single one that has a record.
  static void merge_bams(const std::vector<UString>& inputs, const UString& out);

  // ---- Conversions into a new file: the records whose ordinals are given (1-based, in file order,
  // ---- ascending), all when `n` is 0. All raise CannotOpenOutFile for an output that is the file
  // ---- itself, FileWrite, and the errors of reading. For one that cannot be created `to_bam` and
  // ---- `to_sam` raise FileNotFound, the others CannotOpenOutFile. ------------------------------

  /// With `refs` not empty only these references and those of their mates stay in the dictionary,
  /// and every selected record must lie on one of them. The last argument is not used.
  void to_bam(const Path& out, const unsigned* ordinals, std::size_t n, std::set<std::string> refs,
              bool unused = false);
  void to_sam(const Path& out, const unsigned* ordinals, std::size_t n, bool with_header);
  using Alignment::to_sam;  // the line of the current record
  /// Sequences and qualities as they stand in the record, on one line each.
  void to_fastq(const Path& out, const unsigned* ordinals, std::size_t n);
  void to_fasta(const Path& out, const unsigned* ordinals, std::size_t n);

  /// The SAM line of a record against this file's header, with or without its optional fields.
  /// Raises as Alignment::to_sam_chr.
  std::string alignment_to_sam(const Alignment& record, bool with_tags) const;
  std::string alignment_to_sam(const Alignment& record) const { return record.to_sam(header_); }
  /// `counts` with the record counted at its reference index plus 1, grown to that if need be.
  /// Raises ReferenceIDNotFound for an index at or beyond `reference_limit`.
  std::vector<int> reduce_ref_count(const Alignment& record, std::vector<int> counts) const;

 private:
  std::uint64_t index_records(bool (BAI::*add)(const Alignment&, std::uint64_t), int limit);

  BGZF stream_;
  BamHeader header_;
  Path path_;
  std::uint64_t first_record_ = 0;
  bool at_end_ = false;
  bool is_strict_ = StrictReading::is_on();
  BAI index_;
  std::optional<IndexFile> index_file_;  // in place of `index_`
  bool has_index_ = false;
  std::vector<Chunk> chunks_;  // of the current query
  std::int32_t cur_chunk_ = -1;
};

/// Interleaves BAM files at random into the BAM file `out`, each record from an input chosen evenly
/// among those that still have one. Seeded by the system or by the caller. Raises as
/// BAM::merge_bams; std::out_of_range for no input.
void merge_shuffled_bams(const std::vector<UString>& inputs, const UString& out);
void merge_shuffled_bams(const std::vector<UString>& inputs, const UString& out,
                         std::uint32_t seed);

}  // namespace readkit
