// Gateways that append SAM lines of a BAM file's records to a text file.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "bam/bam.h"
#include "core/errors.h"
#include "core/file.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/region_arguments.h"
#include "records/sam_format.h"

namespace readkit {
namespace {

// A text file that lines are appended to.
class LineFile {
 public:
  // Raises CannotOpenOutFile.
  explicit LineFile(Path path) : path_(std::move(path)), file_(path_, "ab") {
    if (!file_.is_open()) throw CannotOpenOutFile(path_.text());
  }

  void append(const Alignment& record, const BamHeader& header, bool with_tags) {
    line_.resize(std::max(line_.size(), max_sam_line(record, header, with_tags)));
    char* const end = write_sam_line(record, header, with_tags, line_.data());
    // Kept: one would expect the whole line; it is printed as a C string, and so up to a NUL.
    const std::string_view line(line_.data(), static_cast<std::size_t>(end - 1 - line_.data()));
    const std::size_t length = std::min(line.find('\0'), line.size());
    line_[length] = '\n';
    check(file_.write(line_.data(), length + 1));
  }

  // Brings out all lines.
  void close() { check(file_.close()); }

 private:
  void check(bool written) const {
    if (!written) throw FileWrite(path_.text());
  }

  Path path_;
  File file_;
  std::string line_;
};

// An output must be none of the inputs: appending to one would spoil it.
Path output_argument(const txArray* a, const Path& bam, const Path& index) {
  Path path = path_argument(a);
  if (is_same_file(path, bam) || is_same_file(path, index)) throw CannotOpenOutFile(path.text());
  return path;
}

// The same positions in regions of which none overlaps or touches another.
std::vector<RefRegion> joined(std::vector<RefRegion> regions) {
  std::ranges::sort(regions, {},
                    [](const RefRegion& region) { return std::tie(region.ref, region.beg); });
  std::vector<RefRegion> result;
  for (const RefRegion& region : regions) {
    if (!result.empty() && result.back().ref == region.ref && region.beg <= result.back().end) {
      result.back().end = std::max(result.back().end, region.end);
    } else {
      result.push_back(region);
    }
  }
  return result;
}

bool flag_argument(const txArray* a, const char* option) { return scalar_argument(a, option) != 0; }

}  // namespace

// samWrite(bam, index, out, region, withTags, contained)
void samWrite(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"samWrite", nrhs, 6, 6, nlhs, 0);
  const Path bam_path = path_argument(prhs[0]);
  // Kept: one would expect an ending of the name's own to count; it is always appended.
  const Path index_path(path_argument(prhs[1]).text() + u".bai");
  BAM bam(bam_path);
  bam.open_index(index_path);
  LineFile out(output_argument(prhs[2], bam_path, index_path));
  int ref = 0;
  int beg = 0;
  int end = 0;
  bam.parse_region(text_argument(prhs[3]), &ref, &beg, &end);
  const bool with_tags = flag_argument(prhs[4], "withTags");
  const bool contained = flag_argument(prhs[5], "contained");
  bam.find_init(ref, beg, end);
  while (bam.find_next(ref, beg, end)) {
    // Kept: one would expect the aligned part to count; the number of bases does.
    const bool inside = bam.pos() >= beg && std::int64_t{bam.pos()} + bam.l_seq() <= end;
    if (!contained || inside) out.append(bam, bam.header(), with_tags);
  }
  out.close();
}

// kxSamWriteRegions(bam, index, out, references, firsts, lasts, withTags)
void kxSamWriteRegions(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"kxSamWriteRegions", nrhs, 7, 7, nlhs, 0);
  const Path bam_path = path_argument(prhs[0]);
  const Path index_path = index_path_argument(prhs[1]);
  BAM bam(bam_path);
  const std::vector<RefRegion> regions = joined(regions_argument(bam, prhs[3], prhs[4], prhs[5]));
  const bool with_tags = flag_argument(prhs[6], "withTags");
  open_index_for(regions.size(), bam, index_path);
  LineFile out(output_argument(prhs[2], bam_path, index_path));
  std::uint64_t written = 0;  // ends here in the file
  RegionSweep sweep(bam, regions);
  while (sweep.next()) {
    // A record of regions that were read in different parts comes again.
    if (bam.tell() <= written) continue;
    written = bam.tell();
    out.append(bam, bam.header(), with_tags);
  }
  out.close();
}

// samWriteUnaligned(bam, out, withTags)
void samWriteUnaligned(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"samWriteUnaligned", nrhs, 3, 3, nlhs, 0);
  const Path bam_path = path_argument(prhs[0]);
  BAM bam(bam_path);
  LineFile out(output_argument(prhs[1], bam_path, Path()));
  const bool with_tags = flag_argument(prhs[2], "withTags");
  bam.rewind();
  while (bam.next_alignment()) {
    if (bam.ref_id() < 0) out.append(bam, bam.header(), with_tags);
  }
  out.close();
}

}  // namespace readkit
