// Every gateway function that reads BAM files, called on a file that may be damaged.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/bam_builder.h"
#include "support/file_calls.h"
#include "support/resident_memory.h"

namespace readkit {

// Outcomes of a call: a result (kOk), or the identifier of its error.
inline constexpr char kNotBam[] = "seqlab:readkit:InvalidBAMFormat";
inline constexpr char kCutShort[] = "seqlab:readkit:BAMRead";
inline constexpr char kDamaged[] = "seqlab:readkit:ZLIBInflate";
inline constexpr char kNotBai[] = "seqlab:readkit:InvalidBAIFormat";
inline constexpr char kIndexCutShort[] = "seqlab:readkit:BAIRead";

/// All outcomes that a damaged file may lead to.
const std::set<std::string>& documented_outcomes();

/// Whether a call of this name, without an index, stops at the first record behind its regions.
bool ends_behind_regions(std::string_view name);

/// A sweep takes every one of the places at which it can damage a file, and under sanitizers, which
/// are slow, every fifth.
inline constexpr std::size_t kStride = kMemoryIsKept ? 5 : 1;

struct HostileCall {
  std::string name;
  std::function<std::string()> run;  ///< returns the outcome, and expects that nothing is left over
  std::function<std::string()> result;  ///< the same with its digest
  bool reads_records = false;           ///< more than the header
  bool reads_all = false;               ///< every block of the file, so no damage escapes it
  bool uses_index = false;              ///< and so reads no more than the index tells
};

/// A folder with a file "a.bam", at first a sound one, and its indexes "a.bai", by bamIndex, and
/// "complete.bai".
class HostileFolder {
 public:
  explicit HostileFolder(const BamBuilder& sound);

  void write(std::string_view name, std::string_view bytes) const { files_.write(name, bytes); }
  /// The sound indexes.
  const std::string& index() const { return index_; }
  const std::string& complete_index() const { return complete_index_; }
  const FileCalls& files() const { return files_; }
  /// The calls on "a.bam" as it stands, but for kxCheck; they live as long as this object.
  std::vector<HostileCall> calls() const;
  /// The findings of kxCheck in "a.bam".
  std::string check() const;

 private:
  FileCalls files_;
  std::string index_;
  std::string complete_index_;
};

/// Two records of one reference in one block.
BamBuilder plain_file();
/// Several references, fields of all types, mates that are not mapped, and several blocks.
BamBuilder rich_file();

/// How many files this process has open.
std::size_t open_files();

}  // namespace readkit
