// Every gateway function that reads files, called on one file with fixed arguments, and what comes
// of it in a word or two.
//
//   FileCalls calls;
//   calls.write("a.bam", bytes);
//   for (const FileCall& call : calls.on_bam()) EXPECT_EQ(result_of(call), expected[call.name]);
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/gateway_calls.h"
#include "support/temp_dir.h"

namespace readkit {

inline constexpr char kOk[] = "ok";

/// A gateway function, and how its inputs are made.
struct GatewayCall {
  std::string function;
  int nlhs;
  std::function<Inputs()> inputs;  ///< removes the output that they name, when it is there

  Outputs operator()() const { return call_gateway(function, nlhs, inputs()); }
};

struct FileCall {
  std::string name;
  GatewayCall run;
  /// Counts or the like of what the call gave; empty for nothing to tell.
  std::function<std::string(const Outputs&)> digest;
};

/// "ok", or the identifier of the error. Expects that the call leaves nothing behind.
std::string outcome_of(const FileCall& call);
/// The same, but "ok" is followed by a blank and the digest; of kxCheck the digest alone.
std::string result_of(const FileCall& call);

/// A folder for the file that is called on, with "none.bai", an index of so many references that it
/// belongs to no file. Calls live as long as this object.
class FileCalls {
 public:
  FileCalls();

  /// Makes a file anew. Some file systems take long to overwrite one.
  void write(std::string_view name, std::string_view bytes) const;
  const TempDir& folder() const { return folder_; }

  /// On "a.bam", without an index; those that read the header alone come first.
  std::vector<FileCall> on_bam() const;
  /// On "a.bam" with the index "a.bai"; the last ones are kxCheck of the index alone and of both.
  std::vector<FileCall> on_index() const;
  /// On "a.sam" and "a.fastq".
  std::vector<FileCall> on_sam() const;
  std::vector<FileCall> on_fastq() const;

 private:
  host::Owned output(std::string_view name) const;
  // Of regions of the first reference.
  FileCall fields(const std::string& name, const std::string& index,
                  const std::vector<double>& firsts, const std::vector<double>& lasts,
                  std::function<std::string(const Outputs&)> digest) const;
  std::vector<FileCall> region_calls(const std::string& index_base) const;
  std::vector<FileCall> conversions(const std::string& file, const std::string& format) const;
  FileCall scan(int type, const std::string& file) const;
  FileCall check(const std::string& name, const std::vector<std::string>& files) const;
  // Records of a BAM file, and lines of a text, of the folder.
  std::function<std::string(const Outputs&)> records_in(const std::string& name) const;
  std::function<std::string(const Outputs&)> lines_in(const std::string& name, int each) const;

  TempDir folder_;
};

}  // namespace readkit
