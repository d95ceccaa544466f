// Every gateway function that reads BAM files, called on a file that may be damaged.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"
#include "support/temp_dir.h"

namespace readkit {

// Outcomes of a call: a result, or the identifier of its error.
inline constexpr char kOk[] = "ok";
inline constexpr char kNotBam[] = "seqlab:readkit:InvalidBAMFormat";
inline constexpr char kCutShort[] = "seqlab:readkit:BAMRead";
inline constexpr char kDamaged[] = "seqlab:readkit:ZLIBInflate";
inline constexpr char kNotBai[] = "seqlab:readkit:InvalidBAIFormat";
inline constexpr char kIndexCutShort[] = "seqlab:readkit:BAIRead";

/// All outcomes that a damaged file may lead to.
const std::set<std::string>& documented_outcomes();

struct HostileCall {
  std::string name;
  std::string gateway;
  int nlhs;
  std::function<Inputs()> inputs;  ///< removes the output that they name, when it is there
  bool reads_records = false;      ///< more than the header
  bool reads_all = false;          ///< every block of the file
  bool uses_index = false;

  /// Returns the outcome, and expects that nothing is left over.
  std::string run() const;
};

/// A folder with a file "a.bam", at first a sound one, its index "a.bai", and "none.bai", an index
/// of so many references that it belongs to no file here.
class HostileFolder {
 public:
  explicit HostileFolder(const BamBuilder& sound);

  /// Makes a file anew. Some file systems take long to overwrite one.
  void write(const std::string& name, const std::string& bytes) const;
  /// The sound index.
  const std::string& index() const { return index_; }
  const TempDir& folder() const { return folder_; }
  /// The calls on "a.bam" as it stands; they live as long as this object.
  std::vector<HostileCall> calls() const;

 private:
  TempDir folder_;
  std::string index_;
};

/// Two records of one reference in one block.
BamBuilder plain_file();
/// Several references, fields of all types, mates that are not mapped, and several blocks.
BamBuilder rich_file();

/// How many files this process has open.
std::size_t open_files();

}  // namespace readkit
