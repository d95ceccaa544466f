#include "support/fault_calls.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

#include "bam/bam.h"
#include "sam/sam.h"
#include "support/quality_scan_calls.h"

namespace readkit {
namespace {

FaultCall ready(std::string name, const std::string& gateway, int nlhs, Inputs list) {
  // A function object is copied, host arrays are not.
  const auto inputs = std::make_shared<const Inputs>(std::move(list));
  const auto function = std::make_shared<const host::Function>(gateway_library().function(gateway));
  return {std::move(name), [=] { return host::call(*function, nlhs, *inputs); }};
}

// What the library does without a gateway, with errors as a host gives them.
FaultCall direct(std::string name, const std::function<void()>& work) {
  return {std::move(name), [work] {
            try {
              work();
            } catch (...) {
              host::raise_as_host_error();
            }
            return Outputs();
          }};
}

}  // namespace

FaultFolder::FaultFolder(const BamBuilder& sorted, const Reads& unsorted) : place_(sorted) {
  const TempDir& files = folder();
  bam_of(unsorted).write(files, "u.bam");
  files.write("a.sam", sam_of(unsorted));
  write_small_reads(files, "q");
  sources_ = files.names();
}

std::vector<FaultCall> FaultFolder::calls() const {
  const TempDir& files = folder();
  std::vector<FaultCall> calls;
  const auto add_all = [&](const std::vector<FileCall>& list, const std::string& what) {
    for (const FileCall& call : list) {
      const auto& [function, nlhs, inputs] = call.run;
      if (function == "scanQualities") continue;  // wants reads that all have qualities
      const std::string variant = call.name == function ? "" : ", " + call.name;
      calls.push_back(ready(function + variant + what, function, nlhs, inputs()));
      calls.back().reads_text = what == ", SAM";
    }
  };
  add_all(place_.files().on_bam(), "");
  add_all(place_.files().on_index(), ", index");
  add_all(place_.files().on_sam(), ", SAM");

  const auto file = [&](const char* name) { return text(files, name); };
  const auto add = [&](const std::string& name, int nlhs, Inputs list) -> FaultCall& {
    return calls.emplace_back(ready(name, name.substr(0, name.find(',')), nlhs, std::move(list)));
  };
  add("bamSort, unsorted", 0, inputs(file("u.bam"), file("t")));
  add("kxBamShuffle", 0, inputs(file("a.bam"), file("t"))).is_random = true;
  const auto numbers = [](double value) { return host::make_column<double>({value, value}); };
  add("kxSamWriteRegions", 0,
      inputs(file("a.bam"), file("a.bai"), file("out.sam"), numbers(0), numbers(1), numbers(1000),
             host::make_scalar(true)));
  add("kxVerified", 2, inputs(text("bamInfo"), file("a.bam")));
  add("kxCheck, q.fastq", 1, inputs(file("q.fastq"))).reads_text = true;
  ScanOptions scan;
  for (const auto& [type, source] : {std::pair(1, "q.fastq"), {2, "q.sam"}, {3, "q.bam"}}) {
    scan.type = type;
    scan.source = source;
    add(std::string("scanQualities, ") + source, 6, scan.inputs(files)).reads_text = type != 3;
  }
  scan.type = 4;
  Inputs memory = scan.inputs(files);
  memory[1] = small_struct();
  add("scanQualities, memory", 6, std::move(memory));

  const RunLimits runs = limit_of_records(4);
  calls.push_back(direct("BAM::sort, runs",
                         [&files, runs] { BAM(files.path("u.bam")).sort(files.text("t"), runs); }));
  calls.push_back(direct("SAM::sort, runs", [&files, runs] {
    SAM(files.path("a.sam"), "r").sort(files.text("t"), runs);
  }));
  calls.back().reads_text = true;
  calls.push_back(direct("BAM::shuffle, runs", [&files, runs] {
    BAM(files.path("a.bam"))
        .shuffle(
            files.text("t"), [seed = std::uint32_t{1}]() mutable { return seed++; }, runs);
  }));
  return calls;
}

std::map<std::string, std::string> FaultFolder::files(bool of_calls) const {
  std::map<std::string, std::string> all;
  for (const std::string& name : folder().names()) {
    const bool is_source = std::find(sources_.begin(), sources_.end(), name) != sources_.end();
    if (is_source != of_calls) all[name] = folder().read(name);
  }
  return all;
}

std::map<std::string, std::string> FaultFolder::outputs() const { return files(true); }
std::map<std::string, std::string> FaultFolder::sources() const { return files(false); }

void FaultFolder::remove_outputs() const {
  for (const std::string& name : folder().names()) {
    const bool is_source = std::find(sources_.begin(), sources_.end(), name) != sources_.end();
    if (!is_source) std::filesystem::remove(folder().native(name));
  }
}

}  // namespace readkit
