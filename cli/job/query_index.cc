#include "cli/job/query_index.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "cli/files/gunzip.h"
#include "cli/files/index_file.h"
#include "cli/job/job.h"
#include "cli/terminal/failure.h"

namespace readkit::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kIndexEnding = ".bai";

// Whether a block begins at each of these places.
bool have_blocks(const std::string& bam, const std::vector<std::uint64_t>& places) {
  std::ifstream file(bam, std::ios::binary);
  return std::all_of(places.begin(), places.end(), [&file](std::uint64_t place) {
    std::array<std::uint8_t, 18> start = {};
    file.seekg(static_cast<std::streamoff>(place));
    file.read(reinterpret_cast<char*>(start.data()), start.size());
    return file.good() && Gunzip::is_bgzf(start);
  });
}

bool is_older(const std::string& index, const std::string& bam) {
  std::error_code error;
  const auto index_time = fs::last_write_time(index, error);
  if (error) return false;
  const auto bam_time = fs::last_write_time(bam, error);
  return !error && index_time < bam_time;
}

}  // namespace

std::optional<std::string> index_beside(const std::string& bam) {
  std::vector<std::string> names = {bam + ".bai"};
  if (bam.ends_with(".bam")) names.push_back(bam.substr(0, bam.size() - 4) + ".bai");
  for (const std::string& name : names) {
    std::error_code error;
    if (fs::exists(name, error)) return name;
  }
  return std::nullopt;
}

QueryIndex::QueryIndex(Job& job, const Input& input, std::size_t references,
                       const std::optional<std::string>& named) {
  const std::optional<std::string> index =
      named || input.is_spooled() ? named : index_beside(input.path());
  if (!index) {
    job.messages().note(
        input.name(), "has no index; one is made for this run, which reads the whole file",
        input.is_spooled() ? "" : "make one to keep: readkit index " + input.name());
  }
  if (!index || !is_reliable(job, input, references, *index)) {
    make(job, input);
    return;
  }
  path_ = *index;
  if (path_.ends_with(kIndexEnding)) return;
  // The library wants this ending.
  folder_ = PrivateFolder::temporary();
  path_ = folder_->file("index.bai");
  fs::create_symlink(fs::absolute(*index), path_);
  job.show_as(path_, *index);
}

bool QueryIndex::is_reliable(Job& job, const Input& input, std::size_t references,
                             const std::string& index) const {
  std::error_code error;
  if (!fs::exists(index, error)) {
    throw Failure(index, "cannot be opened: there is no such file", {},
                  "make it: readkit index " + input.name());
  }
  const IndexFacts facts = look_at_index(index);
  const std::string make_anew = "make it anew: readkit index " + input.name();
  std::string reason;
  if (!facts.sound) {
    reason = "is no sound BAI index";
  } else if (facts.sparse) {
    reason = "is a sparse index, through which queries can miss records";
  } else if (facts.references != references) {
    reason = "does not belong to " + input.name() + ": it has " + std::to_string(facts.references) +
             " references, and the file " + std::to_string(references);
  } else if (!have_blocks(input.path(), facts.blocks)) {
    reason = "does not belong to " + input.name() + ": it leads to places where no block begins";
  }
  if (!reason.empty()) {
    job.messages().warn(index,
                        reason +
                            "; one is made for this run instead, which reads the whole "
                            "file",
                        make_anew);
    return false;
  }
  if (is_older(index, input.path())) {
    job.messages().warn(index, "is older than " + input.name() + " and may not belong to it",
                        make_anew);
  }
  return true;
}

void QueryIndex::make(Job& job, const Input& input) {
  folder_ = PrivateFolder::temporary();
  path_ = folder_->file("index.bai");
  job.show_as(path_, "the index of " + input.name());
  try {
    job.call("kxBamIndexComplete", 0, input.path(), path_);
  } catch (const Failure& e) {
    if (e.identifier() != "seqlab:readkit:BAMUnsorted" &&
        e.identifier() != "seqlab:readkit:PositionTooBig") {
      throw;
    }
    // An index of another number of references than the header is passed over by the library,
    // which then reads the file from start to end.
    constexpr std::string_view kNoReferences("BAI\1\0\0\0\0", 8);
    std::ofstream(path_, std::ios::binary) << kNoReferences;
    whole_ = true;
  }
}

}  // namespace readkit::cli
