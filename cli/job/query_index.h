// An index through which no query misses a record.
#pragma once

#include <optional>
#include <string>

#include "cli/files/private_folder.h"
#include "cli/job/input.h"

namespace readkit::cli {

class Job;

/// The index of a BAM file if it has one that can be relied on. Otherwise, and that is said on
/// standard error, one that is made for this run in a private folder; and where none can be made,
/// as of a file that is not sorted, one that has the library read the whole file for every query.
class QueryIndex {
 public:
  /// `named` is the index that the user named, if any. `references` is the number of them in the
  /// header.
  QueryIndex(Job& job, const Input& input, std::size_t references,
             const std::optional<std::string>& named);

  /// Ends with ".bai".
  const std::string& path() const { return path_; }
  /// The same without ".bai".
  std::string stem() const { return path_.substr(0, path_.size() - 4); }
  /// Whether every query reads the whole file, in its own order.
  bool reads_whole_file() const { return whole_; }

 private:
  bool is_reliable(Job& job, const Input& input, std::size_t references,
                   const std::string& index) const;
  void make(Job& job, const Input& input);

  std::string path_;
  std::optional<PrivateFolder> folder_;
  bool whole_ = false;
};

/// The index that lies beside a BAM file: FILE.bai, or the file's name with .bai instead of .bam.
std::optional<std::string> index_beside(const std::string& bam);

}  // namespace readkit::cli
